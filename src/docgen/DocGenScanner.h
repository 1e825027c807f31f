#pragma once

#include "DocGenProject.h"
#include "DocGenSteps.h"

#include <QList>
#include <QString>

#include <vector>

// Finds references to database objects in source text. A reference is one of
// six forms of an object's name (Name, [Name], Owner.Name, Owner.[Name],
// [Owner].Name, [Owner].[Name]), found ignoring case, with a delimiter or the
// end of the text on both sides. All forms of all objects are looked for in one
// pass over the text (Aho-Corasick), and the hits are recorded in the order a
// search object by object, form by form, would have found them.
class DocGenMatcher
{
public:
    explicit DocGenMatcher(const QList<DocGenObjectPtr> &objects);

    struct Hit {
        int Object; // index into the objects given
        int Form; // 0..5
        int Position; // 1-based character of the reference
    };
    // Every reference in the text, sorted by object, form and position.
    // Throws DocGenError for an occurrence at the first character, which has no
    // character before it.
    std::vector<Hit> Find(const QString &text, const QString &fileName) const;
    // Records the hits into the file's found lists.
    void Record(const QString &text, const std::vector<Hit> &hits, DocGenFile &file) const;

    const QString &FormText(int object, int form) const { return mForms[size_t(object) * 6 + size_t(form)]; }

    static bool IsDelimiter(QChar c);

private:
    struct Node {
        int fail = 0;
        int output = -1; // pattern ending here
        int dictLink = -1; // nearest suffix node with an output
    };
    int Class(QChar c) const { return mClassOf[c.unicode()]; }

    QList<DocGenObjectPtr> mObjects;
    std::vector<QString> mForms; // 6 per object
    std::vector<int> mPatternLength;
    std::vector<std::vector<int>> mPatternUses; // pattern -> object * 6 + form
    std::vector<quint16> mClassOf; // character -> class of its folded form, 0 for none
    int mClasses = 1;
    std::vector<Node> mNodes;
    std::vector<int> mNext; // node * mClasses + class -> node
};

// Text of a source file: UTF-8, or byte for byte where it is not valid UTF-8.
// A missing file gives the empty text; one that exists but cannot be read
// throws DocGenError.
QString ReadSourceFile(const QString &path);

// The module scan: the files' found lists and, per object type, the distinct
// objects found in the module in collection order. Each file is read once.
void ScanModule(const QList<DocGenCollection> &collections, DocGenModule &module, DocGenSteps &steps,
    QList<QList<DocGenObjectPtr>> &foundObjects);
