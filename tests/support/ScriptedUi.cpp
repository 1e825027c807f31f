#include "ScriptedUi.h"

#include <QTest>

const char *iconName(UiServices::Icon icon)
{
    static const char *const names[] = { "none", "information", "question", "warning", "critical" };
    return names[int(icon)];
}

ScriptedUi::~ScriptedUi() = default;

ScriptedUi &ScriptedUi::answer(Answer a)
{
    mAnswers.enqueue(a);
    return *this;
}

ScriptedUi &ScriptedUi::pick(const QString &path)
{
    mPicks.enqueue(path);
    return *this;
}

ScriptedUi &ScriptedUi::password(bool confirmed, const QString &userName, const QString &pwd)
{
    mPasswords.enqueue({ confirmed, userName, pwd });
    return *this;
}

QStringList ScriptedUi::boxTexts() const
{
    QStringList out;
    for (const Box &b : boxes)
        out << QStringLiteral("%1|%2|%3").arg(QLatin1String(iconName(b.icon)), b.title, b.text);
    return out;
}

void ScriptedUi::clear()
{
    boxes.clear();
    prompts.clear();
    pickerTitles.clear();
    mAnswers.clear();
    mPicks.clear();
    mPasswords.clear();
}

UiServices::Answer ScriptedUi::messageBox(Icon icon, const QString &title, const QString &text, Buttons buttons)
{
    boxes.append({ icon, title, text, buttons });
    if (!mAnswers.isEmpty())
        return mAnswers.dequeue();
    const Answer fallback = (buttons == Buttons::YesNo || buttons == Buttons::YesNoCancel) ? Answer::Yes : Answer::Ok;
    if (!mLenient) {
        const QByteArray msg
            = QStringLiteral("unexpected %1 box \"%2\": %3").arg(QLatin1String(iconName(icon)), title, text).toUtf8();
        QTest::qFail(msg.constData(), __FILE__, __LINE__);
    }
    return fallback;
}

QString ScriptedUi::nextPick(const QString &title)
{
    pickerTitles.append(title);
    if (!mPicks.isEmpty())
        return mPicks.dequeue();
    if (!mLenient) {
        const QByteArray msg = QStringLiteral("unexpected picker \"%1\"").arg(title).toUtf8();
        QTest::qFail(msg.constData(), __FILE__, __LINE__);
    }
    return {};
}

QString ScriptedUi::openFileName(const QString &title, const QString &, const QString &)
{
    return nextPick(title);
}

QString ScriptedUi::saveFileName(const QString &title, const QString &, const QString &)
{
    return nextPick(title);
}

QString ScriptedUi::folderName(const QString &title, const QString &)
{
    return nextPick(title);
}

bool ScriptedUi::nextPassword(QString &userName, QString &pwd, const QString &what)
{
    if (mPasswords.isEmpty()) {
        if (!mLenient) {
            const QByteArray msg = QStringLiteral("unexpected %1 password prompt").arg(what).toUtf8();
            QTest::qFail(msg.constData(), __FILE__, __LINE__);
        }
        return false;
    }
    const PasswordAnswer a = mPasswords.dequeue();
    if (a.confirmed) {
        if (!a.userName.isEmpty())
            userName = a.userName;
        pwd = a.password;
    }
    return a.confirmed;
}

bool ScriptedUi::sqlPassword(const QString &server, const QString &database, QString &userName, QString &pwd)
{
    prompts.append({ QStringLiteral("SQL"), server, database, {}, userName });
    return nextPassword(userName, pwd, QStringLiteral("SQL"));
}

bool ScriptedUi::vssPassword(const QString &iniFile, QString &userName, QString &pwd)
{
    prompts.append({ QStringLiteral("VSS"), {}, {}, iniFile, userName });
    return nextPassword(userName, pwd, QStringLiteral("VSS"));
}

void ScriptedUi::beginWait()
{
    ++waitDepth;
    ++waitCalls;
}

void ScriptedUi::endWait()
{
    --waitDepth;
}
