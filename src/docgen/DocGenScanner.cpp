#include "DocGenScanner.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QStringDecoder>

#include <algorithm>
#include <deque>

namespace
{

QString Fold(const QString &text)
{
    // One unit for one unit, so that positions in folded and plain text agree.
    QString folded(text.size(), Qt::Uninitialized);
    for (qsizetype i = 0; i < text.size(); ++i)
        folded[i] = text.at(i).toCaseFolded();
    return folded;
}

} // namespace

bool DocGenMatcher::IsDelimiter(QChar c)
{
    switch (c.unicode()) {
    case 9:
    case 10:
    case 13:
    case 32:
    case 34:
    case 39:
    case 44:
    case 59:
    case 123:
    case 125:
        return true;
    default:
        return false;
    }
}

DocGenMatcher::DocGenMatcher(const QList<DocGenObjectPtr> &objects)
    : mObjects(objects)
{
    const QString dot = QStringLiteral("."), open = QStringLiteral("["), close = QStringLiteral("]");
    QHash<QString, int> patternOf;
    std::vector<QString> patterns;
    mForms.reserve(size_t(objects.size()) * 6);
    for (int i = 0; i < objects.size(); ++i) {
        const QString n = objects[i]->Name(), o = objects[i]->Owner();
        const QString forms[6] = { n, open + n + close, o + dot + n, o + dot + open + n + close,
            open + o + close + dot + n, open + o + close + dot + open + n + close };
        for (int f = 0; f < 6; ++f) {
            mForms.push_back(forms[f]);
            if (n.isEmpty())
                continue; // an object without a name is never found
            const QString key = Fold(forms[f]);
            auto it = patternOf.find(key);
            if (it == patternOf.end()) {
                it = patternOf.insert(key, int(patterns.size()));
                patterns.push_back(key);
                mPatternUses.emplace_back();
                mPatternLength.push_back(int(key.size()));
            }
            mPatternUses[size_t(*it)].push_back(i * 6 + f);
        }
    }

    // Characters of the patterns get classes from 1; every other character is class 0.
    std::vector<quint16> classOfFolded(0x10000, 0);
    for (const QString &p : patterns)
        for (QChar c : p)
            if (!classOfFolded[c.unicode()])
                classOfFolded[c.unicode()] = quint16(mClasses++);
    mClassOf.resize(0x10000);
    for (int c = 0; c < 0x10000; ++c)
        mClassOf[size_t(c)] = classOfFolded[QChar(char16_t(c)).toCaseFolded().unicode()];

    // The trie.
    mNodes.emplace_back();
    mNext.assign(size_t(mClasses), -1);
    for (size_t p = 0; p < patterns.size(); ++p) {
        int node = 0;
        for (QChar c : patterns[p]) {
            int &next = mNext[size_t(node) * size_t(mClasses) + classOfFolded[c.unicode()]];
            if (next < 0) {
                next = int(mNodes.size());
                mNodes.emplace_back();
                mNext.resize(mNext.size() + size_t(mClasses), -1);
            }
            node = mNext[size_t(node) * size_t(mClasses) + classOfFolded[c.unicode()]];
        }
        mNodes[size_t(node)].output = int(p);
    }

    // Failure links breadth first, and the missing moves filled in from them.
    std::deque<int> queue;
    for (int c = 0; c < mClasses; ++c) {
        int &next = mNext[size_t(c)];
        if (next < 0)
            next = 0;
        else
            queue.push_back(next);
    }
    while (!queue.empty()) {
        const int node = queue.front();
        queue.pop_front();
        const Node &n = mNodes[size_t(node)];
        for (int c = 0; c < mClasses; ++c) {
            int &next = mNext[size_t(node) * size_t(mClasses) + size_t(c)];
            const int viaFail = mNext[size_t(n.fail) * size_t(mClasses) + size_t(c)];
            if (next < 0) {
                next = viaFail;
                continue;
            }
            Node &child = mNodes[size_t(next)];
            child.fail = viaFail;
            const Node &fail = mNodes[size_t(viaFail)];
            child.dictLink = fail.output >= 0 ? viaFail : fail.dictLink;
            queue.push_back(next);
        }
    }
}

std::vector<DocGenMatcher::Hit> DocGenMatcher::Find(const QString &text, const QString &fileName) const
{
    std::vector<Hit> hits;
    const qsizetype length = text.size();
    const QChar *t = text.constData();
    const size_t classes = size_t(mClasses);
    int state = 0;
    for (qsizetype i = 0; i < length; ++i) {
        state = mNext[size_t(state) * classes + mClassOf[t[i].unicode()]];
        const Node &s = mNodes[size_t(state)];
        for (int v = s.output >= 0 ? state : s.dictLink; v >= 0; v = mNodes[size_t(v)].dictLink) {
            const int pattern = mNodes[size_t(v)].output;
            const qsizetype start = i - mPatternLength[size_t(pattern)] + 1;
            if (start == 0) {
                const int use = mPatternUses[size_t(pattern)].front();
                throw DocGenError { QStringLiteral("Invalid procedure call or argument: \"%1\" stands at the first "
                                                   "character of %2, which has no character before it")
                                        .arg(mForms[size_t(use)], fileName) };
            }
            if (!IsDelimiter(t[start - 1]) || (i + 1 < length && !IsDelimiter(t[i + 1])))
                continue;
            for (int use : mPatternUses[size_t(pattern)])
                hits.push_back({ use / 6, use % 6, int(start + 1) });
        }
    }
    std::sort(hits.begin(), hits.end(), [](const Hit &a, const Hit &b) {
        return std::tie(a.Object, a.Form, a.Position) < std::tie(b.Object, b.Form, b.Position);
    });
    return hits;
}

void DocGenMatcher::Record(const QString &text, const std::vector<Hit> &hits, DocGenFile &file) const
{
    if (hits.empty())
        return;
    std::vector<qsizetype> lineFeeds;
    for (qsizetype i = 0; i < text.size(); ++i)
        if (text.at(i) == QLatin1Char('\n'))
            lineFeeds.push_back(i);
    const QString ellipsis = QStringLiteral("...");
    for (const Hit &hit : hits) {
        const QString &form = FormText(hit.Object, hit.Form);
        const int p = hit.Position;
        const auto found = file.AddFoundDetails();
        // Line feeds among the first p characters, plus one.
        found->FoundAt
            = int(std::lower_bound(lineFeeds.begin(), lineFeeds.end(), qsizetype(p)) - lineFeeds.begin()) + 1;
        found->CharPosiInContent = p;

        // The context: from 20 characters before the reference, after "...", when
        // it lies beyond character 23; cut 20 characters behind it, before "...",
        // when more than 23 follow.
        const bool shifted = p > 23;
        const QString prefix = shifted ? ellipsis : QString();
        const qsizetype from = shifted ? p - 21 : 0;
        const int offset = shifted ? 23 : p;
        const qsizetype e = offset + form.size();
        if (prefix.size() + (text.size() - from) > e + 23)
            found->FoundString = prefix + text.mid(from, e + 20 - prefix.size()) + ellipsis;
        else
            found->FoundString = prefix + text.mid(from);

        // A fresh search: an earlier occurrence within the context wins.
        const int q = int(Fold(found->FoundString).indexOf(Fold(form))) + 1;
        found->PositionStart = q - 1;
        found->PositionEnd = q + int(form.size());
        found->ObjectFound = mObjects[hit.Object];
        file.AddFoundUnique(found->ObjectFound);
    }
}

QString ReadSourceFile(const QString &path)
{
    QFile file(path);
    if (!file.exists())
        return {};
    const auto fail = [&path](const QString &why) {
        return DocGenError { QStringLiteral("The file %1 could not be read: %2").arg(path, why) };
    };
    if (QFileInfo(path).isDir())
        throw fail(QStringLiteral("it is a folder"));
    if (!file.open(QIODevice::ReadOnly))
        throw fail(file.errorString());
    // Decoded piece by piece, so that a large file is not held twice.
    QString text;
    text.reserve(qsizetype(file.size()));
    QStringDecoder utf8(QStringConverter::Utf8, QStringConverter::Flag::ConvertInitialBom);
    bool latin1 = false;
    while (!file.atEnd()) {
        const QByteArray chunk = file.read(4 << 20);
        if (file.error() != QFileDevice::NoError)
            throw fail(file.errorString());
        if (latin1) {
            text += QString::fromLatin1(chunk);
            continue;
        }
        text += utf8.decode(chunk);
        if (utf8.hasError()) {
            // Not UTF-8 (an older 8-bit file, or binary): every byte is one character.
            latin1 = true;
            file.seek(0);
            text.clear();
        }
    }
    if (!latin1)
        text += utf8.decode(QByteArrayView());
    if (!latin1 && utf8.hasError()) {
        file.seek(0);
        text = QString::fromLatin1(file.readAll());
    }
    // A byte order mark is no part of the text.
    if (!latin1 && text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    return text;
}

void ScanModule(const QList<DocGenCollection> &collections, DocGenModule &module, DocGenSteps &steps,
    QList<QList<DocGenObjectPtr>> &foundObjects)
{
    QList<DocGenObjectPtr> all;
    QList<int> firstOfType;
    for (const auto &collection : collections) {
        firstOfType.append(int(all.size()));
        all.append(collection.Objects);
    }
    for (const auto &file : module.Files())
        file->FoundClear();
    foundObjects = QList<QList<DocGenObjectPtr>>(collections.size());

    const DocGenMatcher matcher(all);
    std::vector<bool> found(size_t(all.size()), false);
    const int files = module.Files().Count();
    bool scanned = false;
    for (int type = 0; type < collections.size(); ++type) {
        steps.NextStep();
        const int count = collections[type].Count();
        if (count == 0) {
            steps.SetProgressMax(1);
            steps.SetProgress(1, QString());
            continue;
        }
        steps.SetProgressMax(files * count);
        steps.SetProgress(0, QString());
        // All types are searched for at once, file by file, in the first step
        // that has objects; the later steps only collect.
        if (!scanned) {
            scanned = true;
            int position = 0;
            for (const auto &file : module.Files()) {
                const QString text = ReadSourceFile(file->FileName());
                const auto hits = matcher.Find(text, file->FileName());
                matcher.Record(text, hits, *file);
                for (const auto &hit : hits)
                    found[size_t(hit.Object)] = true;
                position += count;
                steps.SetProgress(position, QString());
            }
        }
        for (int i = 0; i < count; ++i)
            if (found[size_t(firstOfType[type] + i)])
                foundObjects[type].append(all[firstOfType[type] + i]);
        steps.SetProgress(files * count, QString());
    }
}
