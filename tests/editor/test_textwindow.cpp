// The object text window and its closing, on PostgreSQL with Subversion and on
// the scripted SQL Server: the life of a procedure from its default text to a
// check-out, closed with every answer to the prompt and with the prompt off.
#include "../shell/OffscreenDialogs.h"
#include "ChildWindowTest.h"
#include "KORVOAllWindows.h"
#include "SQLTextEditor.h"
#include "UserDataFolder.h"
#include "frmEditObjectText.h"

#include <QClipboard>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPlainTextEdit>
#include <QPointer>
#include <QRadioButton>
#include <QTemporaryDir>

namespace
{

// "1" or "2" for the procedure variant a text shows, "-" for none.
QString Variant(const QString &text)
{
    return text.contains(QLatin1String("SELECT 2")) ? QStringLiteral("2")
        : text.contains(QLatin1String("SELECT 1"))  ? QStringLiteral("1")
                                                    : QStringLiteral("-");
}

} // namespace

class TestTextWindow : public QObject, public BackendTest
{
    Q_OBJECT

    QTemporaryDir dir;
    std::unique_ptr<KORVODatabase> session;
    FakeMain main;

    frmEditObjectText *Window()
    {
        auto *w = new frmEditObjectText(main, *session);
        main.AddChild(w);
        return w;
    }
    // Closes by the window's close box; true when it went.
    static bool Closed(QPointer<frmEditObjectText> &w)
    {
        w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return !w;
    }
    // "server|source control|check-out" of the procedure: variants and "out" / "in".
    QString Sides(const QString &name)
    {
        const QString id = b->Id(name);
        if (id.isEmpty())
            return b->Files().isEmpty() ? QStringLiteral("-|-|in") : QStringLiteral("-|file|in");
        const QString item = id + QStringLiteral(".sp");
        return QStringList { Variant(b->ServerText(id)), Variant(b->Latest(item)),
            b->CheckedOutBy(item).isEmpty() ? QStringLiteral("in") : QStringLiteral("out") }
            .join(QLatin1Char('|'));
    }
    // Answers the save prompt: the option of the choice, or Cancel for 0.
    static void AnswerPrompt(int choice, QStringList *shown)
    {
        WhenModal([choice, shown](QDialog &d) {
            for (auto *o : d.findChildren<QRadioButton *>()) {
                *shown << QStringLiteral("%1%2").arg(o->property("Tag").toInt()).arg(o->isChecked() ? "*" : "");
                if (o->property("Tag").toInt() == choice)
                    o->setChecked(true);
            }
            Click(d, choice ? QStringLiteral("cmdOK") : QStringLiteral("cmdCancel"));
        });
    }

private Q_SLOTS:
    void init()
    {
        main.calls.clear();
        if (!SetUp())
            QSKIP("no server");
        session = OpenSession(*b, dir.filePath(QStringLiteral("settings.conf")), false);
        session->SetShowCommentPrompt(false);
    }
    void cleanup()
    {
        session.reset();
        TearDown();
    }

    // New from the default text, checked in, reopened read-only, checked out,
    // edited, then closed: with each choice of the prompt and with the prompt off.
    void lifeAndClosing_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("isNew"); // closed while still new
        QTest::addColumn<bool>("prompt");
        QTest::addColumn<int>("choice"); // answered, or the stored default with the prompt off; -1: no edit
        QTest::addColumn<QString>("offered"); // the prompt's options, "*" the preselected; empty: no prompt
        QTest::addColumn<bool>("closed");
        QTest::addColumn<QString>("sides"); // after closing
        QTest::addColumn<QString>("file"); // variant in the working file (or the saved file)
        for (const char *kind : { "PostgreSQL", "SQLServer" }) {
            auto row = [kind](const char *name) -> QTestData & { return QTest::addRow("%s %s", kind, name) << kind; };
            row("check in") << false << true << 1 << "1 2 5 4" << true << "2|2|in"
                            << "2";
            row("save text") << false << true << 2 << "1 2 5 4" << true << "1|1|out"
                             << "2";
            row("undo check-out") << false << true << 5 << "1 2 5 4" << true << "1|1|in"
                                  << "1";
            row("keep checked out") << false << true << 4 << "1 2 5 4" << true << "1|1|out"
                                    << "1";
            row("cancel") << false << true << 0 << "1 2 5 4" << false << "1|1|out"
                          << "1";
            row("unchanged") << false << true << -1 << "" << true << "1|1|out"
                             << "1";
            row("off, undo check-out (5)") << false << false << 5 << "" << true << "1|1|in"
                                           << "1";
            row("off, 3 invalid for an edit") << false << false << 3 << "1 2 5 4" << false << "1|1|out"
                                              << "1";
            row("new, check in") << true << true << 1 << "1 2 3" << true << "2|2|in"
                                 << "2";
            row("new, save text") << true << true << 2 << "1 2 3" << true << "-|-|in"
                                  << "2";
            row("new, off, discard (3)") << true << false << 3 << "" << true << "-|-|in"
                                         << "";
            row("new, off, 4 invalid") << true << false << 4 << "1 2 3" << false << "-|-|in"
                                       << "";
        }
    }
    void lifeAndClosing()
    {
        QFETCH(bool, isNew);
        QFETCH(bool, prompt);
        QFETCH(int, choice);
        QFETCH(QString, offered);
        QFETCH(bool, closed);
        QFETCH(QString, sides);
        QFETCH(QString, file);
        const QString name = QStringLiteral("usp_life");
        const QString text2 = b->Text(ObjectClass::StoredProcedure, name, 2);

        QPointer<frmEditObjectText> w = Window();
        KORVOTypedObjectPtr item = procs->NewObject();
        w->NewObject(item, isNew ? text2 : b->Text(ObjectClass::StoredProcedure, name, 1));
        QVERIFY(w->Editor().IsModified());
        QVERIFY(w->CanCheckIn() && !w->CanShowHistory() && !w->CanPermissions() && !w->CanCheckOut());

        if (!isNew) {
            // First check-in through the comment prompt, then read-only.
            session->SetShowCommentPrompt(true);
            WhenModal([](QDialog &d) {
                Control<QPlainTextEdit>(d, QStringLiteral("txtComment"))->setPlainText(QStringLiteral("first"));
                Click(d, QStringLiteral("cmdOK"));
            });
            QVERIFY(w->CheckInItem());
            session->SetShowCommentPrompt(false);
            QCOMPARE(Sides(name), QStringLiteral("1|1|in"));
            QVERIFY(w->CanShowHistory() && w->Editor().Locked());
            QCOMPARE(main.calls, QStringList { "RefreshItem StoredProcedures StoredProcedures 0" });
            QVERIFY(Closed(w)); // unchanged: no question

            w = Window();
            w->OpenObject(item);
            QCOMPARE(w->CaptionText(), QStringLiteral("usp_life (Stored Procedure) - Edit [Read Only]"));
            QCOMPARE(w->ObjectKey(), QStringLiteral("I") + item->DBID());
            QApplication::clipboard()->setText(QStringLiteral("SELECT 3"));
            QVERIFY(w->Editor().Locked() && !w->CanPaste() && !w->CanCheckIn() && w->CanCheckOut());
            QVERIFY(w->CheckOutItem());
            QCOMPARE(w->CaptionText(), QStringLiteral("usp_life (Stored Procedure) - Edit"));
            // An overload's title names its argument types, as its tree node does.
            item->Generic().Signature = QStringLiteral("integer, text");
            w->RefreshCaption();
            QCOMPARE(w->CaptionText(), QStringLiteral("usp_life(integer, text) (Stored Procedure) - Edit"));
            item->Generic().Signature = QString();
            QVERIFY(!w->Editor().Locked() && w->CanCheckIn() && w->CanUndoCheckOut() && !w->CanCheckOut());
            QVERIFY(w->CanPaste());
            if (choice >= 0)
                w->Editor().SetText(text2);
        }

        session->SetShowSaveChangesNew(prompt);
        session->SetShowSaveChangesEdit(prompt);
        isNew ? session->SetSaveChangesNewDefault(choice) : session->SetSaveChangesEditDefault(choice);
        QStringList shown;
        if (!offered.isEmpty())
            AnswerPrompt(prompt ? choice : 0, &shown);
        const QString saved = dir.filePath(QStringLiteral("saved.sp"));
        if (isNew && choice == 2 && prompt)
            b->ui.pick(saved);
        QCOMPARE(Closed(w), closed);
        QCOMPARE(shown.join(QLatin1Char(' ')).remove(QLatin1Char('*')), offered);
        // An invalid stored default preselects nothing.
        QVERIFY(!shown.join(QString()).contains(QLatin1Char('*')) || prompt);
        QCOMPARE(Sides(name), sides);
        const QString fileNow = isNew && choice == 2 ? ReadTextFile(saved)
            : item->IsNew()                          ? QString()
                                                     : ReadTextFile(item->FileName());
        QCOMPARE(fileNow.isEmpty() ? QString() : Variant(fileNow), file);
        if (!closed) {
            QCOMPARE(Variant(w->Editor().Text()), QStringLiteral("2")); // the text stays
            QVERIFY(w->CloseItem(true));
        }
    }

    // In the main window's frame: the status bar, loading and saving text, undoing
    // a saved check-out, the comparison with source control, and closing.
    void windowDetails_data() { AddKindRows(); }
    void windowDetails()
    {
        QMdiArea area;
        area.resize(900, 700);
        area.show();
        // Opened as the main window opens it.
        KORVOTypedObjectPtr item = procs->NewObject();
        KORVOChildWindow *child = KORVOAllWindows().NewObjectText(
            main, *session, item, b->Text(ObjectClass::StoredProcedure, QStringLiteral("usp_bar"), 1));
        QPointer<frmEditObjectText> w = qobject_cast<frmEditObjectText *>(child ? child->Widget() : nullptr);
        QVERIFY(w);
        QMdiSubWindow *sub = area.addSubWindow(w);
        sub->show();
        session->SetShowSaveChangesNew(false);
        session->SetSaveChangesNewDefault(2);
        w->RefreshStatusBar();
        QCOMPARE(w->PanelText("OnClose"), QStringLiteral("On Closing this item it's Text will be Saved"));
        w->Editor().setCursorPosition(0, 4);
        w->Editor().QueryCaret();
        QCOMPARE(w->PanelText("Caret"), QStringLiteral("Ln 1, Col 5"));
        sub->showMaximized();
        QTRY_COMPARE(session->ChildWindowState(), 2);

        // A new object is saved only under a name of its own; an empty file is not loaded.
        b->ui.pick(item->FileName());
        QVERIFY(!w->SaveText(false));
        const QString empty = dir.filePath(QStringLiteral("empty.sql"));
        QFile(empty).open(QIODevice::WriteOnly);
        b->ui.answer(UiServices::Answer::Yes).pick(empty).answer(UiServices::Answer::Ok);
        w->OpenText();
        QCOMPARE(Boxes(b->ui).last(), QStringLiteral("warning|File not Loaded|The specified file is empty!"));
        QCOMPARE(Variant(w->Editor().Text()), QStringLiteral("1"));

        // A text that is not UTF-8 reaches neither side: a box names its line.
        const QString text1 = b->Text(ObjectClass::StoredProcedure, QStringLiteral("usp_bar"), 1);
        const QByteArray latin1 = text1.toUtf8() + "\n-- caf\xe9\n";
        QVERIFY(WriteFileBytes(dir.filePath(QStringLiteral("latin1.sql")), latin1));
        b->ui.answer(UiServices::Answer::Yes)
            .pick(dir.filePath(QStringLiteral("latin1.sql")))
            .answer(UiServices::Answer::Ok);
        w->OpenText();
        b->ui.answer(UiServices::Answer::Ok);
        QVERIFY(!w->CheckInItem());
        QCOMPARE(b->ui.last().title, QStringLiteral("Text not UTF-8"));
        const int line = int(latin1.left(latin1.indexOf("-- caf")).count('\n')) + 1;
        QVERIFY2(b->ui.last().text.startsWith(QStringLiteral("Line %1 ").arg(line)), qPrintable(b->ui.last().text));
        QVERIFY(item->IsNew());
        w->Editor().SetText(text1);

        QVERIFY(w->CheckInItem());
        main.calls.clear();
        w->ShowHistory();
        const QString key = QStringLiteral("I") + item->DBID();
        QCOMPARE(main.calls,
            (QStringList { "ShowHistory", "RefreshItem StoredProcedure " + key + " 0",
                "RefreshItem StoredProcedure " + key + " 1" }));
        QVERIFY(w->CheckOutItem());
        session->SetShowSaveChangesEdit(false);
        session->SetSaveChangesEditDefault(5);
        w->RefreshStatusBar();
        QCOMPARE(w->PanelText("OnClose"),
            QStringLiteral("On Closing this item all changes will be Discarded and Checkout will be Undone"));

        // Saved but never checked in: undoing the check-out asks.
        w->Editor().SetText(w->Editor().Text() + QLatin1Char(' '));
        QVERIFY(w->SaveText(false));
        b->ui.answer(UiServices::Answer::No);
        QVERIFY(!w->UndoCheckout(true));
        QCOMPARE(Boxes(b->ui).last(),
            QStringLiteral("question|Undo Checkout?|Are you sure you want to discard the changes made?"));
        w->CompareWithVSS();
        QCOMPARE(main.calls.last(), QStringLiteral("Compare SQL VSS"));
        QCOMPARE(main.compared.value(0), w->Editor().Text());
        QCOMPARE(main.compared.value(1), item->GetContent(1));

        // The frame's close box asks; a refusal keeps the window and its text.
        w->Editor().SetText(b->Text(ObjectClass::StoredProcedure, QStringLiteral("usp_bar"), 2));
        session->SetShowSaveChangesEdit(true);
        QStringList shown;
        AnswerPrompt(0, &shown);
        QVERIFY(!sub->close());
        QVERIFY(w && sub->isVisible());
        QCOMPARE(shown.join(QLatin1Char(' ')), QStringLiteral("1 2 5* 4"));
        QVERIFY(w->CloseItem(true));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!w);
        QCOMPARE(Sides(QStringLiteral("usp_bar")), QStringLiteral("1|1|out"));
    }
};

QTEST_MAIN(TestTextWindow)
#include "test_textwindow.moc"
