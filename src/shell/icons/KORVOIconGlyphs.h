#pragma once

#include <QPainter>

// The drawing behind KORVO's pictures. Every glyph draws into a square of 16 x 16 units at the
// origin, lines on half units so that one unit is one crisp pixel at 16 px; the caller scales the
// painter to the size wanted.
namespace KORVOGlyphs
{

using Draw = void (*)(QPainter &);

// Object types and tree leaves.
void Procedure(QPainter &p);
void View(QPainter &p);
void Trigger(QPainter &p);
void Function(QPainter &p);
void Table(QPainter &p);
void Field(QPainter &p);
void FieldData(QPainter &p);
void Person(QPainter &p);
void People(QPainter &p);
void Shield(QPainter &p);
// The two sides: the SQL database and the VSS safe.
void Database(QPainter &p);
void Safe(QPainter &p);
// Documents and tools.
void Page(QPainter &p);
void Note(QPainter &p);
void OpenFolder(QPainter &p);
void Floppy(QPainter &p);
void Magnifier(QPainter &p);
void Undo(QPainter &p);
void Redo(QPainter &p);
void Scissors(QPainter &p);
void Copy(QPainter &p);
void Clipboard(QPainter &p);
void Flask(QPainter &p);
void Refresh(QPainter &p);
void SyncArrows(QPainter &p);
void Difference(QPainter &p);
void Pencil(QPainter &p);
void RenameField(QPainter &p);
void TrashCan(QPainter &p);
void Cross(QPainter &p);
void Clock(QPainter &p);
void Tag(QPainter &p);
void Play(QPainter &p);
void ResultPanel(QPainter &p);
void Unknown(QPainter &p);

// The marks inside a badge.
enum class Mark
{
    None,
    Star,      // new: a gold star, no disc
    Check,     // checked in, granted
    Verify,    // a text's syntax checked
    Pencil,    // checked out by me
    Padlock,   // checked out by another
    Question,  // only in SQL: not under version control
    Warning,   // only in VSS: missing from the database (a triangle, no disc)
    Cross,     // deleted, denied
    Plus,      // insert, add
    Minus,     // delete, remove
    Cycle,     // update
    Down,      // get latest version
    Back,      // undo check-out, rollback
    Key,       // owner
    Prompt,    // SQL query
    Help,      // help
};

// A badge in the bottom right corner of the 16-unit square, with a white halo that parts it from
// the glyph beneath.
void Badge(QPainter &p, Mark mark);
// A badge's disc and mark filling the whole square, as the permission grid shows them.
void Disc(QPainter &p, Mark mark);
// An empty disc: a permission that is not set.
void EmptyDisc(QPainter &p);

// A glyph with a state badge; a ghost glyph is drawn faint, for an object that is not in the
// database.
void Composed(QPainter &p, Draw glyph, Mark mark, bool ghost);
// A folder with the glyph of its contents as emblem.
void Folder(QPainter &p, Draw emblem);

// A synchronisation picture in any rectangle: an arrow towards the altered side (side 1 the SQL
// side on the left, 2 the VSS side on the right, 0 none) and the edges of a bracket that joins
// neighbouring rows (edge 0 none, 1 left-top-right, 2 left-right, 3 left-bottom-right).
enum class SyncAction
{
    None,
    Add,
    Change,
    Delete
};
void SyncPicture(QPainter &p, const QRectF &rect, SyncAction action, int side, const QColor &bracket, int edge);

} // namespace KORVOGlyphs
