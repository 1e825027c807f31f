// The options dialog offscreen: every control saved and read back, the crossed
// values of the editing default, default texts held per type, tag drops, the
// closing question and the help topic of each page.
#include "HelpIntegration.h"
#include "KORVODBTItem.h"
#include "KORVODatabase.h"
#include "SQLTextEditor.h"
#include "ScriptedUi.h"
#include "StubCollections.h"
#include "frmOptions.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QDropEvent>
#include <QGroupBox>
#include <QListWidget>
#include <QMimeData>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

namespace
{

class EditableCollection : public StubCollection
{
public:
    EditableCollection(const QString &type, const QString &display)
        : StubCollection(type)
        , mDisplay(display)
    {
    }
    bool IsEditable() const override { return true; }
    QString ObjectDisplayName() const override { return mDisplay; }

private:
    QString mDisplay;
};

class EditableFactory : public KORVOCollectionFactory
{
public:
    KORVOObjectCollectionPtr Create(Kind kind) override
    {
        if (kind == Kind::StoredProcedures)
            return std::make_shared<EditableCollection>("STOREDPROCEDURES", "Stored Procedures");
        if (kind == Kind::Views)
            return std::make_shared<EditableCollection>("VIEWS", "Views");
        return StubCollectionFactory().Create(kind);
    }
    void Link(const KORVOObjectCollectionPtr &, const KORVOObjectCollectionPtr &) override { }
};

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

int (KORVOSettings::*GroupSetting(const QString &group))() const
{
    if (group == "optNew")
        return &KORVOSettings::SaveChangesNewDefault;
    if (group == "optEdit")
        return &KORVOSettings::SaveChangesEditDefault;
    if (group == "optPermission")
        return &KORVOSettings::ShowSaveChangesPermission;
    if (group == "optDBTPermission")
        return &KORVOSettings::ShowPermissionsInDBT;
    return &KORVOSettings::ShowPermissionsInEditor;
}

void (KORVOSettings::*GroupSetter(const QString &group))(int)
{
    if (group == "optNew")
        return &KORVOSettings::SetSaveChangesNewDefault;
    if (group == "optEdit")
        return &KORVOSettings::SetSaveChangesEditDefault;
    if (group == "optPermission")
        return &KORVOSettings::SetShowSaveChangesPermission;
    if (group == "optDBTPermission")
        return &KORVOSettings::SetShowPermissionsInDBT;
    return &KORVOSettings::SetShowPermissionsInEditor;
}

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
        mSession = std::make_unique<KORVODatabase>(mUi, std::make_shared<EditableFactory>(),
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

    void optionGroups_data()
    {
        QTest::addColumn<QString>("group");
        QTest::addColumn<int>("button");
        QTest::addColumn<int>("stored");
        QTest::newRow("new check in") << "optNew" << 0 << 1;
        QTest::newRow("new save text") << "optNew" << 1 << 2;
        QTest::newRow("new discard") << "optNew" << 2 << 3;
        QTest::newRow("edit check in") << "optEdit" << 0 << 1;
        QTest::newRow("edit save text") << "optEdit" << 1 << 2;
        QTest::newRow("edit undo check out stores 4") << "optEdit" << 2 << 4;
        QTest::newRow("edit keep checked out stores 5") << "optEdit" << 3 << 5;
        QTest::newRow("permission prompt") << "optPermission" << 0 << 0;
        QTest::newRow("permission save") << "optPermission" << 2 << 2;
        QTest::newRow("tree roles") << "optDBTPermission" << 1 << 1;
        QTest::newRow("tree users") << "optDBTPermission" << 2 << 2;
        QTest::newRow("editor both") << "optEditorPermission" << 0 << 0;
        QTest::newRow("editor users") << "optEditorPermission" << 2 << 2;
    }
    void optionGroups()
    {
        QFETCH(QString, group);
        QFETCH(int, button);
        QFETCH(int, stored);
        // Start from a value no button of the row stands for.
        (*mSession.*GroupSetter(group))(stored == 1 ? 2 : 1);
        {
            frmOptions dialog(*mSession, nullptr, {}, nullptr, Types());
            Find<QAbstractButton>(dialog, QStringLiteral("%1_%2").arg(group).arg(button))->click();
            QVERIFY(dialog.IsDirty());
            Find<QPushButton>(dialog, "cmdOK")->click();
        }
        QCOMPARE((*mSession.*GroupSetting(group))(), stored);
        frmOptions reopened(*mSession, nullptr, {}, nullptr, Types());
        for (int i = 0; i < 4; ++i)
            if (auto *b = reopened.findChild<QAbstractButton *>(QStringLiteral("%1_%2").arg(group).arg(i)))
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
        QCOMPARE(types->count(), 2);
        QCOMPARE(types->itemData(0).toString(), QStringLiteral("STOREDPROCEDURES"));
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
            Find<QPushButton>(dialog, "cmdOK")->click();
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

    void typingInTheEditorDirtiesByTheTimer()
    {
        frmOptions dialog(*mSession, nullptr, {}, nullptr, Types());
        auto *editor = Find<SQLTextEditor>(dialog, "txtDefaultText");
        auto *apply = Find<QPushButton>(dialog, "cmdApply");
        QTest::qWait(300);
        QVERIFY(!dialog.IsDirty());
        editor->insert("x");
        QTRY_VERIFY(apply->isEnabled());
        QVERIFY(dialog.IsDirty());
    }

    void undoAndRedoKeys()
    {
        frmOptions dialog(*mSession, nullptr, {}, nullptr, Types());
        dialog.show();
        auto *editor = Find<SQLTextEditor>(dialog, "txtDefaultText");
        editor->setFocus();
        QTest::keyClicks(editor, "ab");
        QCOMPARE(editor->Text(), QStringLiteral("ab"));
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
        QCOMPARE(tags->count(), 7);
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

    void closingQuestion_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("closed");
        QTest::addColumn<bool>("saved");
        QTest::newRow("yes saves and closes") << int(UiServices::Answer::Yes) << true << true;
        QTest::newRow("no closes") << int(UiServices::Answer::No) << true << false;
        QTest::newRow("cancel stays") << int(UiServices::Answer::Cancel) << false << false;
    }
    void closingQuestion()
    {
        QFETCH(int, answer);
        QFETCH(bool, closed);
        QFETCH(bool, saved);
        const bool before = mSession->ShowCommentPrompt();
        frmOptions dialog(*mSession, nullptr, {}, nullptr, Types());
        dialog.show();
        Find<QCheckBox>(dialog, "chkShowComment")->click();
        mUi.answer(UiServices::Answer(answer));
        dialog.close();
        QCOMPARE(mUi.boxes.size(), 1);
        QCOMPARE(mUi.last().title, QStringLiteral("Save changes made?"));
        QCOMPARE(mUi.last().text, QStringLiteral("Would you like to save the changes made?"));
        QVERIFY(mUi.last().buttons == UiServices::Buttons::YesNoCancel);
        QCOMPARE(!dialog.isVisible(), closed);
        QCOMPARE(mSession->ShowCommentPrompt() != before, saved);
    }

    void cleanDialogClosesWithoutAsking()
    {
        frmOptions dialog(*mSession, nullptr, {}, nullptr, Types());
        dialog.show();
        Find<QTreeWidget>(dialog, "tvwCaterogies")
            ->setCurrentItem(Node(Find<QTreeWidget>(dialog, "tvwCaterogies"), "VIEW"));
        Find<QPushButton>(dialog, "cmdCancel")->click();
        QVERIFY(!dialog.isVisible());
        QVERIFY(mUi.boxes.isEmpty());
    }

    void pagesAndHelpTopics_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("frame");
        QTest::addColumn<QString>("page");
        QTest::newRow("general") << "GENERAL"
                                 << "General Settings ..."
                                 << "Options.htm#General";
        QTest::newRow("view") << "VIEW"
                              << "View Settings ..."
                              << "Options.htm#View";
        QTest::newRow("default text") << "DEFAULTTEXT"
                                      << "Default Texts ..."
                                      << "Options.htm#DefaultTexts";
        QTest::newRow("editor") << "EDITOR"
                                << "Editor Settings ..."
                                << "Options.htm#Editor";
        QTest::newRow("changes made shows new objects") << "EDITOR:CHANGESMADE"
                                                        << "Changes Made: New Object ..."
                                                        << "Options.htm#ChangesMade";
        QTest::newRow("new") << "EDITOR:CHANGESMADE:NEW"
                             << "Changes Made: New Object ..."
                             << "Options.htm#NewObjects";
        QTest::newRow("edit") << "EDITOR:CHANGESMADE:EDIT"
                              << "Changes Made: Editing an Object ..."
                              << "Options.htm#EditingObjects";
        QTest::newRow("object permissions") << "EDITOR:CHANGESMADE:PERMISSION"
                                            << "Changes Made: Editing an Object Permissions ..."
                                            << "Options.htm#ObjectPermissions";
        QTest::newRow("permissions") << "PERMISSIONS"
                                     << "Permission Settings ..."
                                     << "Options.htm#Permissions";
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
