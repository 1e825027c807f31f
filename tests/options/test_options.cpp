// The options dialog offscreen: every control saved and read back, the crossed
// values of the editing default, default texts held per type, tag drops, the
// closing question and the help topic of each page.
#include "FullDisk.h"
#include "HelpIntegration.h"
#include "KORVODBTItem.h"
#include "KORVODatabase.h"
#include "SQLTextEditor.h"
#include "ScriptedUi.h"
#include "StubCollections.h"
#include "UserDataFolder.h"
#include "frmOptions.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QDropEvent>
#include <QGroupBox>
#include <QListWidget>
#include <QMimeData>
#include <QPushButton>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

#include <optional>

namespace
{

// A check box, its setting, and whether the box shows the setting inverted.
struct CheckCase {
    const char *box;
    bool (KORVOSettings::*get)() const;
    bool inverted;
};

const CheckCase Checks[] = {
    { "chkShowProjectBrowser", &KORVOSettings::OpenMostRecent, true },
    { "chkMainToolbar", &KORVOSettings::ShowMainStatusBar, false },
    { "chkShowDescription", &KORVOSettings::ShowDescriptionInDBT, false },
    { "chkShowInName", &KORVOSettings::ShowOwnerNameInName, false },
    { "chkShowInProperty", &KORVOSettings::ShowOwnerNameInProp, false },
    { "chkPromptDescription", &KORVOSettings::ShowDescriptionPrompt, false },
    { "chkShowPermissionOnNew", &KORVOSettings::ShowPermissionsOnNewObjectCreate, false },
    { "chkShowComment", &KORVOSettings::ShowCommentPrompt, false },
    { "chkUseDefaultNew", &KORVOSettings::ShowSaveChangesNew, true },
    { "chkUseDefaultEdit", &KORVOSettings::ShowSaveChangesEdit, true },
};

// An option group of buttons "{group}_{n}" and its setting.
struct GroupCase {
    const char *group;
    int (KORVOSettings::*get)() const;
    void (KORVOSettings::*set)(int);
};

const GroupCase Groups[] = {
    { "optNew", &KORVOSettings::SaveChangesNewDefault, &KORVOSettings::SetSaveChangesNewDefault },
    { "optEdit", &KORVOSettings::SaveChangesEditDefault, &KORVOSettings::SetSaveChangesEditDefault },
    { "optPermission", &KORVOSettings::ShowSaveChangesPermission, &KORVOSettings::SetShowSaveChangesPermission },
    { "optDBTPermission", &KORVOSettings::ShowPermissionsInDBT, &KORVOSettings::SetShowPermissionsInDBT },
    { "optEditorPermission", &KORVOSettings::ShowPermissionsInEditor, &KORVOSettings::SetShowPermissionsInEditor },
};

template <typename T> T *Find(QWidget &w, const QString &name)
{
    auto *child = w.findChild<T *>(name);
    if (!child)
        qFatal("no control %s", qPrintable(name));
    return child;
}

QTreeWidgetItem *Node(QTreeWidget *tree, const QString &key)
{
    for (QTreeWidgetItemIterator it(tree); *it; ++it)
        if ((*it)->data(0, Qt::UserRole).toString() == key)
            return *it;
    return nullptr;
}

// The editable types as the session lists them once a database is open.
std::shared_ptr<KORVODBTItems> Types()
{
    auto items = std::make_shared<KORVODBTItems>();
    for (const auto &[type, text] :
        { std::pair { "STOREDPROCEDURES", "Stored Procedures" }, std::pair { "VIEWS", "Views" } }) {
        auto item = items->Add(QLatin1String(type));
        item->Tag = QLatin1String(type);
        item->Text = QLatin1String(text);
    }
    return items;
}

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT

    QTemporaryDir mDir;
    ScriptedUi mUi;
    std::unique_ptr<KORVODatabase> mSession;

private Q_SLOTS:
    void init()
    {
        QVERIFY(mDir.isValid());
        qputenv("KORVO_DATA_DIR", mDir.filePath(QStringLiteral("data")).toUtf8());
        QFile::remove(mDir.filePath(QStringLiteral("settings.conf")));
        mSession = std::make_unique<KORVODatabase>(mUi, std::make_shared<StubCollectionFactory>(),
            KORVODatabase::MainWindowFactory {}, mDir.filePath(QStringLiteral("settings.conf")));
    }
    void cleanup()
    {
        QCOMPARE(mUi.pending(), 0);
        mUi.clear();
        mSession.reset();
        QDir(mDir.filePath(QStringLiteral("data"))).removeRecursively();
    }

    void checkBoxesSaveAndReload_data()
    {
        QTest::addColumn<int>("row");
        for (int i = 0; i < int(std::size(Checks)); ++i)
            QTest::newRow(Checks[i].box) << i;
    }
    void checkBoxesSaveAndReload()
    {
        QFETCH(int, row);
        const CheckCase &c = Checks[row];
        const bool before = (*mSession.*c.get)();
        QList<bool> others;
        for (const CheckCase &other : Checks)
            others.append((*mSession.*other.get)());
        int refreshed = 0;
        {
            frmOptions dialog(
                *mSession, nullptr, [&] { ++refreshed; }, nullptr, Types());
            auto *box = Find<QCheckBox>(dialog, c.box);
            QCOMPARE(box->isChecked(), before != c.inverted);
            auto *apply = Find<QPushButton>(dialog, "cmdApply");
            QVERIFY(!apply->isEnabled());
            box->click();
            QVERIFY(dialog.IsDirty());
            QVERIFY(apply->isEnabled());
            apply->click();
            QVERIFY(!apply->isEnabled());
        }
        QCOMPARE(refreshed, 1);
        QCOMPARE((*mSession.*c.get)(), !before);
        // Only this setting moved.
        for (int i = 0; i < int(std::size(Checks)); ++i)
            if (i != row)
                QVERIFY2((*mSession.*Checks[i].get)() == others[i], Checks[i].box);
        frmOptions reopened(*mSession, nullptr, {}, nullptr, Types());
        QCOMPARE(Find<QCheckBox>(reopened, c.box)->isChecked(), !before != c.inverted);
    }

    // Each group's button and the value it stores; the editing default skips 3.
    void optionGroups_data()
    {
        QTest::addColumn<QString>("group");
        QTest::addColumn<int>("button");
        QTest::addColumn<int>("stored");
        QTest::newRow("new discard") << "optNew" << 2 << 3;
        QTest::newRow("edit check in") << "optEdit" << 0 << 1;
        QTest::newRow("edit save text") << "optEdit" << 1 << 2;
        QTest::newRow("edit undo check out stores 4") << "optEdit" << 2 << 4;
        QTest::newRow("edit keep checked out stores 5") << "optEdit" << 3 << 5;
        QTest::newRow("permission prompt") << "optPermission" << 0 << 0;
        QTest::newRow("tree roles") << "optDBTPermission" << 1 << 1;
        QTest::newRow("editor users") << "optEditorPermission" << 2 << 2;
    }
    void optionGroups()
    {
        QFETCH(QString, group);
        QFETCH(int, button);
        QFETCH(int, stored);
        const GroupCase &g = *std::find_if(
            std::begin(Groups), std::end(Groups), [&](const GroupCase &c) { return group == QLatin1String(c.group); });
        const auto name = [&](int i) { return QStringLiteral("%1_%2").arg(QLatin1String(g.group)).arg(i); };
        // Start from a value no button of the row stands for.
        (*mSession.*g.set)(stored == 1 ? 2 : 1);
        {
            frmOptions dialog(*mSession, nullptr, {}, nullptr, Types());
            Find<QAbstractButton>(dialog, name(button))->click();
            QVERIFY(dialog.IsDirty());
            Find<QPushButton>(dialog, "cmdOK")->click();
        }
        QCOMPARE((*mSession.*g.get)(), stored);
        frmOptions reopened(*mSession, nullptr, {}, nullptr, Types());
        for (int i = 0; i < 4; ++i)
            if (auto *b = reopened.findChild<QAbstractButton *>(name(i)))
                QCOMPARE(b->isChecked(), i == button);
    }

    void unknownEditValueChecksNothingAndSavesZero()
    {
        mSession->SetSaveChangesEditDefault(3);
        frmOptions dialog(*mSession, nullptr, {}, nullptr, Types());
        for (int i = 0; i < 4; ++i)
            QVERIFY(!Find<QAbstractButton>(dialog, QStringLiteral("optEdit_%1").arg(i))->isChecked());
        QVERIFY(dialog.SaveOptions());
        QCOMPARE(mSession->SaveChangesEditDefault(), 0);
    }

    void defaultTextsHeldAcrossTypes_data()
    {
        QTest::addColumn<bool>("save");
        QTest::newRow("kept on OK") << true;
        QTest::newRow("dropped on cancel") << false;
    }
    void defaultTextsHeldAcrossTypes()
    {
        QFETCH(bool, save);
        mSession->SetDefaultText("VIEWS", "old view");
        frmOptions dialog(*mSession, nullptr, {}, nullptr, Types());
        dialog.show();
        auto *types = Find<QComboBox>(dialog, "cboDefaultText");
        auto *editor = Find<SQLTextEditor>(dialog, "txtDefaultText");
        QCOMPARE(editor->Text(), QString());
        editor->SetText("CREATE PROCEDURE <DATE>");
        types->setCurrentIndex(1);
        QCOMPARE(editor->Text(), QStringLiteral("old view"));
        editor->SetText("CREATE VIEW v");
        types->setCurrentIndex(0);
        QCOMPARE(editor->Text(), QStringLiteral("CREATE PROCEDURE <DATE>"));
        QCOMPARE(dialog.HeldDefaultText(1), QStringLiteral("CREATE VIEW v"));
        // Nothing reaches the files before a save.
        QCOMPARE(mSession->GetDefaultText("VIEWS"), QStringLiteral("old view"));
        QTRY_VERIFY(dialog.IsDirty());
        if (save) {
            Find<QSpinBox>(dialog, "txtQueryRowLimit")->setValue(500);
            Find<QPushButton>(dialog, "cmdOK")->click();
            QCOMPARE(mSession->QueryRowLimit(), 500);
            QCOMPARE(mSession->GetDefaultText("STOREDPROCEDURES"), QStringLiteral("CREATE PROCEDURE <DATE>"));
            QCOMPARE(mSession->GetDefaultText("VIEWS"), QStringLiteral("CREATE VIEW v"));
        } else {
            mUi.answer(UiServices::Answer::No);
            Find<QPushButton>(dialog, "cmdCancel")->click();
            QVERIFY(!dialog.isVisible());
            QCOMPARE(mSession->GetDefaultText("STOREDPROCEDURES"), QString());
            QCOMPARE(mSession->GetDefaultText("VIEWS"), QStringLiteral("old view"));
        }
    }

    // A default text that cannot be written saves no text and no other option:
    // one box with the system's reason, and the dialog stays open and dirty.
    void defaultTextsAllOrNone_data()
    {
        QTest::addColumn<bool>("full");
        QTest::newRow("full disk") << true;
        QTest::newRow("a folder in the way") << false;
    }
    void defaultTextsAllOrNone()
    {
        QFETCH(bool, full);
        std::optional<FullDisk> disk;
        if (full)
            disk.emplace(UserDataFolder());
        mSession->SetDefaultText("VIEWS", "old view");
        if (!full)
            QDir().mkpath(UserDataFolder() + "/STOREDPROCEDURES.default");
        frmOptions dialog(*mSession, nullptr, {}, nullptr, Types());
        dialog.show();
        Find<QSpinBox>(dialog, "txtQueryRowLimit")->setValue(5);
        auto *editor = Find<SQLTextEditor>(dialog, "txtDefaultText");
        editor->SetText(QString(6000, 'p'));
        Find<QComboBox>(dialog, "cboDefaultText")->setCurrentIndex(1);
        editor->SetText(QString(6000, 'v'));
        if (disk)
            disk->Fill();
        mUi.answer(UiServices::Answer::Ok);
        Find<QPushButton>(dialog, "cmdOK")->click();
        QCOMPARE(mUi.last().title, QStringLiteral("Options not Saved"));
        QVERIFY2(mUi.last().text.contains(full ? disk->Reason() : "not a file"), qPrintable(mUi.last().text));
        QVERIFY(dialog.isVisible());
        QVERIFY(dialog.IsDirty());
        QCOMPARE(mSession->GetDefaultText("VIEWS"), QStringLiteral("old view"));
        QCOMPARE(mSession->QueryRowLimit(), 100000);
        QCOMPARE(QDir(UserDataFolder()).entryList(QDir::Files), QStringList { "VIEWS.default" });
    }

    // Typed text dirties the dialog by the timer (an untouched editor never
    // does); Ctrl+Z undoes and Ctrl+Shift+Z redoes.
    void typingUndoAndRedo()
    {
        frmOptions dialog(*mSession, nullptr, {}, nullptr, Types());
        dialog.show();
        auto *editor = Find<SQLTextEditor>(dialog, "txtDefaultText");
        QTest::qWait(300);
        QVERIFY(!dialog.IsDirty());
        editor->setFocus();
        QTest::keyClicks(editor, "ab");
        QTRY_VERIFY(Find<QPushButton>(dialog, "cmdApply")->isEnabled());
        QVERIFY(dialog.IsDirty());
        QTest::keyClick(editor, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(editor->Text(), QString());
        QTest::keyClick(editor, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(editor->Text(), QStringLiteral("ab"));
    }

    void tagDroppedIntoTheEditor_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("tag");
        QTest::newRow("date") << 0 << "<DATE>";
        QTest::newRow("sql user") << 3 << "<DONEBYSQL>";
        QTest::newRow("table owner") << 6 << "<TABLEOWNER>";
    }
    void tagDroppedIntoTheEditor()
    {
        QFETCH(int, row);
        QFETCH(QString, tag);
        frmOptions dialog(*mSession, nullptr, {}, nullptr, Types());
        dialog.show();
        Find<QTreeWidget>(dialog, "tvwCaterogies")
            ->setCurrentItem(Node(Find<QTreeWidget>(dialog, "tvwCaterogies"), "DEFAULTTEXT"));
        auto *tags = Find<QListWidget>(dialog, "lvwTags");
        QVERIFY(tags->dragEnabled());
        auto *editor = Find<SQLTextEditor>(dialog, "txtDefaultText");
        editor->SetText("AB");
        editor->setModified(false);

        // What a drag from the row carries, dropped at the start of the text.
        std::unique_ptr<QMimeData> data(tags->model()->mimeData({ tags->model()->index(row, 0) }));
        QCOMPARE(data->text(), tag);
        const QPoint at = editor->viewport()->rect().topLeft() + QPoint(1, 2);
        QDragEnterEvent enter(at, Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(editor->viewport(), &enter);
        QDragMoveEvent move(at, Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(editor->viewport(), &move);
        QDropEvent drop(at, Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(editor->viewport(), &drop);
        QCOMPARE(editor->Text(), tag + "AB");
        QTRY_VERIFY(dialog.IsDirty());
    }

    // Closing a changed dialog asks first; an unchanged one closes without asking.
    void closingQuestion_data()
    {
        QTest::addColumn<bool>("change");
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("closed");
        QTest::addColumn<bool>("saved");
        QTest::newRow("yes saves and closes") << true << int(UiServices::Answer::Yes) << true << true;
        QTest::newRow("no closes") << true << int(UiServices::Answer::No) << true << false;
        QTest::newRow("cancel stays") << true << int(UiServices::Answer::Cancel) << false << false;
        QTest::newRow("unchanged closes without asking") << false << 0 << true << false;
    }
    void closingQuestion()
    {
        QFETCH(bool, change);
        QFETCH(int, answer);
        QFETCH(bool, closed);
        QFETCH(bool, saved);
        const bool before = mSession->ShowCommentPrompt();
        frmOptions dialog(*mSession, nullptr, {}, nullptr, Types());
        dialog.show();
        if (change) {
            Find<QCheckBox>(dialog, "chkShowComment")->click();
            mUi.answer(UiServices::Answer(answer));
        }
        // Another page shown is no change.
        auto *tree = Find<QTreeWidget>(dialog, "tvwCaterogies");
        tree->setCurrentItem(Node(tree, "VIEW"));
        dialog.close();
        QCOMPARE(mUi.boxes.size(), change ? 1 : 0);
        QVERIFY(!change || mUi.last().buttons == UiServices::Buttons::YesNoCancel);
        QCOMPARE(!dialog.isVisible(), closed);
        QCOMPARE(mSession->ShowCommentPrompt() != before, saved);
    }

    void pagesAndHelpTopics_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("frame");
        QTest::addColumn<QString>("page");
        const auto row = [](const char *tag, const char *key, const char *frame, const char *page) {
            QTest::newRow(tag) << key << frame << page;
        };
        row("general", "GENERAL", "General Settings ...", "Options.htm#General");
        row("view", "VIEW", "View Settings ...", "Options.htm#View");
        row("default text", "DEFAULTTEXT", "Default Texts ...", "Options.htm#DefaultTexts");
        row("editor", "EDITOR", "Editor Settings ...", "Options.htm#Editor");
        row("changes made shows new objects", "EDITOR:CHANGESMADE", "Changes Made: New Object ...",
            "Options.htm#ChangesMade");
        row("new", "EDITOR:CHANGESMADE:NEW", "Changes Made: New Object ...", "Options.htm#NewObjects");
        row("edit", "EDITOR:CHANGESMADE:EDIT", "Changes Made: Editing an Object ...", "Options.htm#EditingObjects");
        row("object permissions", "EDITOR:CHANGESMADE:PERMISSION", "Changes Made: Editing an Object Permissions ...",
            "Options.htm#ObjectPermissions");
        row("permissions", "PERMISSIONS", "Permission Settings ...", "Options.htm#Permissions");
    }
    void pagesAndHelpTopics()
    {
        QFETCH(QString, key);
        QFETCH(QString, frame);
        QFETCH(QString, page);
        QList<QUrl> opened;
        HelpIntegration help(mUi, QStringLiteral(KORVO_SOURCE_DIR "/help"), [&](const QUrl &url) {
            opened.append(url);
            return true;
        });
        frmOptions dialog(*mSession, nullptr, {}, &help, Types());
        dialog.show();
        auto *tree = Find<QTreeWidget>(dialog, "tvwCaterogies");
        QCOMPARE(tree->currentItem()->data(0, Qt::UserRole).toString(), QStringLiteral("GENERAL"));
        tree->setCurrentItem(Node(tree, key));
        QGroupBox *shown = nullptr;
        for (auto *box : dialog.findChildren<QGroupBox *>())
            if (box->isVisible())
                shown = box;
        QVERIFY(shown);
        QCOMPARE(shown->title(), frame);
        QTest::keyClick(tree, Qt::Key_F1);
        QCOMPARE(opened.size(), 1);
        QCOMPARE(opened.first().fileName() + "#" + opened.first().fragment(), page);
    }
};

QTEST_MAIN(TestOptions)
#include "test_options.moc"
