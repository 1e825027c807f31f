#include "KORVOIconImages.h"

#include "KORVOIconGlyphs.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QIconEngine>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QStandardPaths>

#include <algorithm>
#include <functional>

using namespace KORVOGlyphs;

namespace
{

// A picture paints itself into any rectangle of device pixels.
using Picture = std::function<void(QPainter &, const QRectF &)>;

// Renders a picture at exactly the size asked for, so that it is sharp at every size and device
// pixel ratio, and keeps what it rendered.
class PaintedIconEngine : public QIconEngine
{
public:
    PaintedIconEngine(const QString &name, Picture picture) : mName(name), mPicture(std::move(picture)) {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        const qreal ratio = painter->device() ? painter->device()->devicePixelRatioF() : 1.0;
        QPixmap image = pixmap((QSizeF(rect.size()) * ratio).toSize(), mode, state);
        image.setDevicePixelRatio(ratio);
        painter->drawPixmap(rect, image);
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State) override
    {
        if (size.isEmpty())
            return {};
        const quint64 key = (quint64(size.width()) << 32) | (quint64(size.height()) << 8) | quint64(mode);
        if (const auto found = mCache.constFind(key); found != mCache.cend())
            return *found;
        QImage image(size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        {
            QPainter painter(&image);
            painter.setRenderHint(QPainter::Antialiasing);
            mPicture(painter, QRectF(QPointF(0, 0), QSizeF(size)));
        }
        if (mode == QIcon::Disabled)
            image = Greyed(image);
        const QPixmap result = QPixmap::fromImage(image);
        mCache.insert(key, result);
        return result;
    }

    QPixmap scaledPixmap(const QSize &size, QIcon::Mode mode, QIcon::State state, qreal) override
    {
        return pixmap(size, mode, state);
    }

    QIconEngine *clone() const override { return new PaintedIconEngine(mName, mPicture); }
    QString key() const override { return QStringLiteral("KORVOPainted"); }
    QString iconName() override { return mName; }
    bool isNull() override { return false; }

private:
    // A disabled picture: grey, pale and half transparent.
    static QImage Greyed(const QImage &image)
    {
        QImage grey = image.convertToFormat(QImage::Format_ARGB32);
        for (int y = 0; y < grey.height(); ++y) {
            auto *line = reinterpret_cast<QRgb *>(grey.scanLine(y));
            for (int x = 0; x < grey.width(); ++x) {
                const int g = 96 + qGray(line[x]) * 5 / 8;
                line[x] = qRgba(g, g, g, qAlpha(line[x]) * 3 / 5);
            }
        }
        return grey;
    }

    QString mName;
    Picture mPicture;
    QHash<quint64, QPixmap> mCache;
};

// A picture of the 16-unit glyph space, centred in the largest square that fits.
Picture Square(std::function<void(QPainter &)> draw)
{
    return [draw = std::move(draw)](QPainter &painter, const QRectF &rect) {
        const qreal side = qMin(rect.width(), rect.height());
        painter.save();
        // On whole pixels, so that lines on half units stay crisp.
        painter.translate(qRound(rect.center().x() - side / 2), qRound(rect.center().y() - side / 2));
        painter.scale(side / 16.0, side / 16.0);
        draw(painter);
        painter.restore();
    };
}

Picture WithBadge(Draw glyph, Mark mark, bool ghost = false)
{
    return Square([=](QPainter &p) { Composed(p, glyph, mark, ghost); });
}

struct ObjectType
{
    const char *base;    // the icon prefix without its colon
    const char *folder;  // the collection's folder
    Draw glyph;
};

const ObjectType kObjectTypes[] = {
    { "STOREDPROCEDURE", "STOREDPROCEDURES", Procedure },
    { "VIEW", "VIEWS", View },
    { "USERDEFINEDFUNCTION", "USERDEFINEDFUNCTIONS", Function },
    { "TRIGGER", "TRIGGERS", Trigger },
    { "TABLE", "TABLES", Table },
};

struct ObjectState
{
    const char *word;
    Mark mark;
    bool ghost;  // not in the database
};

// The states of a versioned object, in the order of the icon list, then deleted.
const ObjectState kStates[] = {
    { "NEW", Mark::Star, false },
    { "VSSBROKEN", Mark::Question, false },
    { "SQLBROKEN", Mark::Warning, true },
    { "CHECKEDIN", Mark::Check, false },
    { "CHECKEDINOUT", Mark::Padlock, false },
    { "CHECKEDOUT", Mark::Pencil, false },
    { "DELETED", Mark::Cross, true },
};

// The events a trigger fires on.
const ObjectState kTriggerEvents[] = {
    { "INSERT", Mark::Plus, false },
    { "UPDATE", Mark::Cycle, false },
    { "DELETE", Mark::Minus, false },
};

// Pictures with a name of their own, in the order of the contact sheet.
const QList<std::pair<QString, Picture>> &FixedPictures()
{
    static const QList<std::pair<QString, Picture>> pictures = [] {
        QList<std::pair<QString, Picture>> list;
        auto add = [&list](const char *name, Picture picture) {
            list.append({ QString::fromLatin1(name), std::move(picture) });
        };
        add("NEW", WithBadge(Page, Mark::Star));
        add("FIELD", Square(Field));
        add("FIELDDATA", Square(FieldData));
        add("SYNC:ADDVSS", WithBadge(Safe, Mark::Plus));
        add("SYNC:REMOVEVSS", WithBadge(Safe, Mark::Minus));
        add("SYNC:ADDSQL", WithBadge(Database, Mark::Plus));
        add("SYNC:REMOVESQL", WithBadge(Database, Mark::Minus));
        add("SYNC", Square(SyncArrows));
        add("SYNC:NONE", Square([](QPainter &p) { Composed(p, SyncArrows, Mark::None, true); }));
        add("SYNC:SQL", WithBadge(Database, Mark::None));
        add("SYNC:VSS", WithBadge(Safe, Mark::None));
        add("DIFFERENCE", Square(Difference));
        add("PERMISSIONS", Square(Shield));
        add("REFRESH", Square(Refresh));
        add("VSS:GETLATESTVERSION", WithBadge(Page, Mark::Down));
        add("VSS:CHECKOUT", WithBadge(Page, Mark::Pencil));
        add("VSS:CHECKIN", WithBadge(Page, Mark::Check));
        add("VSS:UNDOCHECKOUT", WithBadge(Page, Mark::Back));
        add("EDIT:OPENFILE", Square(OpenFolder));
        add("EDIT:SAVEFILE", Square(Floppy));
        add("DESCRIPTION", Square(Note));
        add("SEACH:FIND", Square(Magnifier));
        add("EDIT:UNDO", Square(Undo));
        add("EDIT:REDO", Square(Redo));
        add("EDIT:CUT", Square(Scissors));
        add("EDIT:COPY", Square(Copy));
        add("EDIT:PASTE", Square(Clipboard));
        add("EDIT:TEST", Square(Flask));
        add("OWNER", WithBadge(Person, Mark::Key));
        add("CHECKEDOUTBY", WithBadge(Person, Mark::Pencil));
        add("PERMISSION:USER", Square(Person));
        add("PERMISSION:ROLE", Square(People));
        add("PERMISSION:NONE", Square(EmptyDisc));
        add("PERMISSION:GRANT", Square([](QPainter &p) { Disc(p, Mark::Check); }));
        add("PERMISSION:DENY", Square([](QPainter &p) { Disc(p, Mark::Cross); }));
        add("PERMISSION:OWNER", Square([](QPainter &p) { Disc(p, Mark::Key); }));
        // The information panel, the history and the query window.
        add("EDIT", Square(Pencil));
        add("RENAME", Square(RenameField));
        add("DELETE", Square(TrashCan));
        add("HISTORY", Square(Clock));
        add("LABEL", Square(Tag));
        add("ROLLBACK", WithBadge(Clock, Mark::Back));
        add("CLOSE", Square(Cross));
        add("SQLQUERY", WithBadge(Database, Mark::Prompt));
        add("SQLQUERY:PARSE", WithBadge(Page, Mark::Verify));
        add("SQLQUERY:EXECUTE", Square(Play));
        add("SQLQUERY:PANEL", Square(ResultPanel));
        add("HELP", Square([](QPainter &p) { Disc(p, Mark::Help); }));
        return list;
    }();
    return pictures;
}

// The synchronisation results: "NRM", or action and side ("ADD:L"), each also with a bracket
// colour and edge ("ADD:L:R:LTR").
const char *const kSyncActions[] = { "ADD", "CNG", "DEL" };
const char *const kSyncEdges[] = { "LTR", "LR", "LBR" };

QStringList SyncNames()
{
    QStringList singles = { QStringLiteral("NRM") };
    for (const char *action : kSyncActions)
        for (const char *side : { "L", "R" })
            singles << QStringLiteral("%1:%2").arg(QLatin1String(action), QLatin1String(side));
    QStringList names = singles;
    // The order of the results' image list: NRM, then DEL, CNG and ADD with R before L.
    const QStringList grouped = { QStringLiteral("NRM"),   QStringLiteral("DEL:R"), QStringLiteral("DEL:L"),
                                  QStringLiteral("CNG:R"), QStringLiteral("CNG:L"), QStringLiteral("ADD:R"),
                                  QStringLiteral("ADD:L") };
    for (const char *colour : { "G", "R" })
        for (const QString &key : grouped)
            for (const char *edge : kSyncEdges)
                names << QStringLiteral("%1:%2:%3").arg(key, QLatin1String(colour), QLatin1String(edge));
    return names;
}

// The picture of a synchronisation key, or nothing when the name is no such key.
Picture SyncPictureFor(const QString &name)
{
    const QStringList parts = name.split(QLatin1Char(':'));
    const QString &word = parts.first();
    SyncAction action;
    if (word == QLatin1String("NRM"))
        action = SyncAction::None;
    else if (word == QLatin1String("ADD"))
        action = SyncAction::Add;
    else if (word == QLatin1String("CNG"))
        action = SyncAction::Change;
    else if (word == QLatin1String("DEL"))
        action = SyncAction::Delete;
    else
        return {};
    int side = 0;
    qsizetype next = 1;
    if (action != SyncAction::None) {
        if (parts.size() < 2 || (parts[1] != QLatin1String("L") && parts[1] != QLatin1String("R")))
            return {};
        side = parts[1] == QLatin1String("L") ? 1 : 2;
        next = 2;
    }
    if (parts.size() == next)
        return [=](QPainter &p, const QRectF &r) { SyncPicture(p, r, action, side, {}, 0); };
    if (parts.size() != next + 2)
        return {};
    const QString &colourWord = parts[next];
    if (colourWord != QLatin1String("G") && colourWord != QLatin1String("R"))
        return {};
    const int edge = parts[next + 1] == QLatin1String("LTR")  ? 1
                     : parts[next + 1] == QLatin1String("LR")  ? 2
                     : parts[next + 1] == QLatin1String("LBR") ? 3
                                                               : 0;
    if (edge == 0)
        return {};
    const QColor colour = colourWord == QLatin1String("G") ? QColor(30, 170, 50) : QColor(214, 30, 30);
    return [=](QPainter &p, const QRectF &r) { SyncPicture(p, r, action, side, colour, edge); };
}

// The picture of a composed name: a folder, an object type, or a type with its state.
Picture ObjectPictureFor(const QString &name)
{
    const qsizetype colon = name.indexOf(QLatin1Char(':'));
    const QString base = colon < 0 ? name : name.left(colon);
    const QString state = colon < 0 ? QString() : name.mid(colon + 1);
    for (const ObjectType &type : kObjectTypes) {
        if (colon < 0 && base == QLatin1String(type.folder)) {
            const Draw glyph = type.glyph;
            return Square([glyph](QPainter &p) { Folder(p, glyph); });
        }
        if (base != QLatin1String(type.base))
            continue;
        if (colon < 0)
            return WithBadge(type.glyph, Mark::None);
        for (const ObjectState &s : kStates) {
            if (state == QLatin1String(s.word))
                return WithBadge(type.glyph, s.mark, s.ghost);
        }
        if (base == QLatin1String("TRIGGER")) {
            for (const ObjectState &s : kTriggerEvents) {
                if (state == QLatin1String(s.word))
                    return WithBadge(type.glyph, s.mark, s.ghost);
            }
        }
        return {};
    }
    return {};
}

QIcon MakeIcon(const QString &name, Picture picture)
{
    return QIcon(new PaintedIconEngine(name, std::move(picture)));
}

const QIcon &UnknownIcon()
{
    static const QIcon icon = MakeIcon(QStringLiteral("-"), Square(Unknown));
    return icon;
}

// The action words, the desktop theme's name for each where the freedesktop naming has one, and
// KORVO's own picture.
struct Action
{
    const char *word;
    const char *themeName;
    const char *iconName;
};

const Action kActions[] = {
    { "new", "document-new", "NEW" },
    { "open", "document-open", "EDIT:OPENFILE" },
    { "save", "document-save", "EDIT:SAVEFILE" },
    { "cut", "edit-cut", "EDIT:CUT" },
    { "copy", "edit-copy", "EDIT:COPY" },
    { "paste", "edit-paste", "EDIT:PASTE" },
    { "undo", "edit-undo", "EDIT:UNDO" },
    { "redo", "edit-redo", "EDIT:REDO" },
    { "find", "edit-find", "SEACH:FIND" },
    { "refresh", "view-refresh", "REFRESH" },
    { "help", "help-contents", "HELP" },
    // KORVO's own actions: the theme has nothing that means them.
    { "sync", nullptr, "SYNC" },
    { "test", nullptr, "EDIT:TEST" },
    { "getlatest", nullptr, "VSS:GETLATESTVERSION" },
    { "checkin", nullptr, "VSS:CHECKIN" },
    { "checkout", nullptr, "VSS:CHECKOUT" },
    { "undocheckout", nullptr, "VSS:UNDOCHECKOUT" },
    { "history", nullptr, "HISTORY" },
    { "permissions", nullptr, "PERMISSIONS" },
    { "description", nullptr, "DESCRIPTION" },
};

QHash<QString, QIcon> &ActionCache()
{
    static QHash<QString, QIcon> cache;
    return cache;
}

bool gThemeChosen = false;

} // namespace

QIcon KORVOIconImage(const QString &iconName)
{
    static QHash<QString, QIcon> cache;
    const QString name = iconName.trimmed().toUpper();
    if (const auto found = cache.constFind(name); found != cache.cend())
        return *found;
    Picture picture;
    for (const auto &[fixed, fixedPicture] : FixedPictures()) {
        if (fixed == name) {
            picture = fixedPicture;
            break;
        }
    }
    if (!picture)
        picture = ObjectPictureFor(name);
    if (!picture)
        picture = SyncPictureFor(name);
    const QIcon icon = picture ? MakeIcon(name, std::move(picture)) : UnknownIcon();
    cache.insert(name, icon);
    return icon;
}

QIcon KORVOActionIcon(const QString &action)
{
    if (!gThemeChosen)
        KORVOInitIconTheme();
    const QString word = action.trimmed().toLower();
    QHash<QString, QIcon> &cache = ActionCache();
    if (const auto found = cache.constFind(word); found != cache.cend())
        return *found;
    QIcon icon;
    for (const Action &entry : kActions) {
        if (word != QLatin1String(entry.word))
            continue;
        const QIcon own = KORVOIconImage(QLatin1String(entry.iconName));
        const QString themeName = entry.themeName ? QString::fromLatin1(entry.themeName) : QString();
        icon = !themeName.isEmpty() && QIcon::hasThemeIcon(themeName) ? QIcon::fromTheme(themeName, own) : own;
        break;
    }
    if (icon.isNull())
        icon = KORVOIconImage(action);
    cache.insert(word, icon);
    return icon;
}

void KORVOInitIconTheme()
{
    gThemeChosen = true;
    const QString current = QIcon::themeName();
    if (current.isEmpty() || current == QLatin1String("hicolor")) {
        // Without a platform theme Qt looks only in its resources; the desktop's themes live in
        // the XDG data folders.
        QStringList paths = QIcon::themeSearchPaths();
        QStringList folders = { QDir::homePath() + QStringLiteral("/.icons") };
        for (const QString &data : QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation))
            folders << data + QStringLiteral("/icons");
        for (const QString &folder : std::as_const(folders)) {
            if (!paths.contains(folder) && QFileInfo(folder).isDir())
                paths << folder;
        }
        QIcon::setThemeSearchPaths(paths);
        for (const char *candidate : { "breeze", "Adwaita" }) {
            const QString theme = QString::fromLatin1(candidate);
            const bool installed = std::any_of(paths.cbegin(), paths.cend(), [&theme](const QString &path) {
                return QFileInfo::exists(QDir(path).filePath(theme + QStringLiteral("/index.theme")));
            });
            if (installed) {
                QIcon::setThemeName(theme);
                break;
            }
        }
    }
    ActionCache().clear();
}

QStringList KORVOIconNames()
{
    QStringList names = { QStringLiteral("-") };
    for (const ObjectType &type : kObjectTypes)
        names << QLatin1String(type.folder);
    for (const ObjectType &type : kObjectTypes) {
        const QString base = QLatin1String(type.base);
        names << base;
        if (base == QLatin1String("TABLE"))
            continue;
        for (const ObjectState &state : kStates)
            names << base + QLatin1Char(':') + QLatin1String(state.word);
        if (base == QLatin1String("TRIGGER")) {
            for (const ObjectState &event : kTriggerEvents)
                names << base + QLatin1Char(':') + QLatin1String(event.word);
        }
    }
    for (const auto &[name, picture] : FixedPictures())
        names << name;
    names << SyncNames();
    return names;
}

QStringList KORVOActionNames()
{
    QStringList words;
    for (const Action &entry : kActions)
        words << QLatin1String(entry.word);
    return words;
}
