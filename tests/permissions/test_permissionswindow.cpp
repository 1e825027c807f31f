// The permission editor on both server kinds, driven by its grid: the cell
// cycle, undo and redo, saving with awkward grantee names, a save that fails
// half-way, and closing by each ShowSaveChangesPermission value.
#include "../editor/ChildWindowTest.h"
#include "../shell/OffscreenDialogs.h"
#include "KORVOPermissions.h"
#include "frmEditObjectPermissions.h"

#include <QClipboard>
#include <QPointer>
#include <QTableWidget>
#include <QTemporaryDir>

class TestPermissionsWindow : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    std::unique_ptr<Backend> b;
    std::unique_ptr<KORVODatabase> session;
    FakeMain main;
    QStringList pgRoles; // made here with names the fixture cannot make
    QString viewId;

    bool setUp()
    {
        if (!(b = OpenBackend(false)))
            return false;
        session = OpenSession(*b, dir.filePath(QStringLiteral("settings.conf")), false);
        session->SetShowPermissionsInEditor(0);
        viewId = b->Create(ObjectClass::View, QStringLiteral("vw_perm"));
        return !viewId.isEmpty();
    }
    // A role under exactly this name (a run-unique suffix on PostgreSQL, whose roles belong to the cluster).
    QString role(const QString &base)
    {
        if (!b->IsPostgreSQL()) {
            b->scripted->addRole(b->Database(), base);
            return base;
        }
        const QString name = base + QString::number(QCoreApplication::applicationPid());
        b->pg->superuserExec(QStringLiteral("CREATE ROLE \"%1\"").arg(QString(name).replace('"', "\"\"")));
        pgRoles << name;
        return name;
    }
    frmEditObjectPermissions *open()
    {
        auto c = b->Collection(ObjectClass::View);
        bool cancel = false;
        c->RefreshList(cancel);
        auto object = std::dynamic_pointer_cast<KORVOTypedObject>(c->Item(viewId));
        auto *w = new frmEditObjectPermissions(main, *session);
        w->EditObjectPermissions(object);
        main.AddChild(w);
        return w;
    }
    static QTableWidget *grid(QWidget *w) { return Control<QTableWidget>(*w, QStringLiteral("grdPermission")); }
    static int row(QWidget *w, const QString &grantee)
    {
        const auto items = grid(w)->findItems(grantee, Qt::MatchExactly);
        return items.isEmpty() ? -1 : items.first()->row();
    }
    static void click(QWidget *w, int r, int c)
    {
        QTableWidget *g = grid(w);
        QTest::mouseClick(g->viewport(), Qt::LeftButton, {}, g->visualItemRect(g->item(r, c)).center());
    }
    // The value the server holds for the grantee's first right on the view.
    int serverValue(const QString &grantee)
    {
        auto read = ReadPermissions(b->sql, viewId, false, false, false, 0);
        const KORVOPermissionPtr p = read->Item(grantee);
        return p ? p->Value(read->Actions().first()) : -1;
    }

private Q_SLOTS:
    void cleanup()
    {
        session.reset();
        b.reset();
        for (const QString &r : std::as_const(pgRoles))
            PgTestServer().superuser()->Execute(
                QStringLiteral("DROP ROLE IF EXISTS \"%1\"").arg(QString(r).replace('"', "\"\"")));
        pgRoles.clear();
    }

    // Clicks, keys, the owner's row, undo and redo; PostgreSQL has no deny.
    void cycle_data() { AddKindRows(); }
    void cycle()
    {
        QVERIFY(setUp());
        const QString r = role(QStringLiteral("r_cycle"));
        QPointer<frmEditObjectPermissions> w = open();
        QTableWidget *g = grid(w);
        const int rr = row(w, r), owner = row(w, b->OwningGrantee());
        QVERIFY(rr >= 0 && owner >= 0);
        QCOMPARE(w->CellValue(owner, 1), 3);

        click(w, rr, 0);
        click(w, owner, 1);
        QCOMPARE(w->CellValue(owner, 1), 3);
        QVERIFY(!w->IsDirty() && w->UndoCount() == 0 && !w->CanSaveFile());

        const QList<int> expected = b->IsPostgreSQL() ? QList<int> { 1, 0, 1 } : QList<int> { 1, 2, 0 };
        for (int n = 0; n < 3; ++n) {
            click(w, rr, 1);
            QCOMPARE(w->CellValue(rr, 1), expected[n]);
        }
        QVERIFY(w->CanSaveFile() && w->UndoCount() == 3);

        w->Undo();
        QCOMPARE(w->CellValue(rr, 1), expected[1]);
        QVERIFY(w->CanRedo());
        w->Redo();
        QCOMPARE(w->CellValue(rr, 1), expected[2]);
        w->Undo();
        // Enter and the blank cycle the selected cell; a new change drops the redo.
        g->setCurrentCell(rr, 2);
        QTest::keyClick(g, Qt::Key_Space);
        QTest::keyClick(g, Qt::Key_Return);
        QCOMPARE(w->CellValue(rr, 2), expected[1]);
        QVERIFY(!w->CanRedo() && w->UndoCount() == 4);
        for (int n = 0; n < 4; ++n)
            w->Undo();
        QVERIFY(!w->CanUndo() && w->IsDirty());
        QCOMPARE(w->CellValue(rr, 1), 0);

        g->setCurrentCell(rr, 0);
        QVERIFY(w->CanCopy());
        w->CopyText();
        QCOMPARE(QGuiApplication::clipboard()->text(), r);
        w->CloseItem(true);
    }

    // Grantee names with a quote, a blank and a non-ASCII letter go through every
    // statement of the save quoted as the server needs them. The save restates
    // the whole grid: a right given behind the window's back is taken away, and
    // the owner keeps its own.
    void saveAndReload_data() { AddKindRows(); }
    void saveAndReload()
    {
        QVERIFY(setUp());
        const QStringList names { role(QStringLiteral("o'neil x")), role(QStringLiteral("jürgen")) };
        const QString behind = role(QStringLiteral("r_behind"));
        const QStringList ownerRights = b->Rights(Backend::Dbo, QStringLiteral("vw_perm"), b->OwningGrantee());
        QPointer<frmEditObjectPermissions> w = open();
        b->Protect("GRANT", "SELECT", Backend::Dbo, QStringLiteral("vw_perm"), behind);
        for (const QString &n : names)
            click(w, row(w, n), 1);
        const QString script = w->Permissions()->CreateScript();
        for (const QString &n : names)
            QVERIFY2(script.contains(b->Pick("\"%1\"", "[%1]").arg(n)), qPrintable(script));
        b->ExpectBox();
        QVERIFY2(w->SaveText(true), qPrintable(Boxes(b->ui).join('\n')));
        QCOMPARE(Boxes(b->ui).last(), QStringLiteral("information|Permissions Saved|Permissions successfully saved!"));
        for (const QString &n : names) {
            QCOMPARE(serverValue(n), 1);
            QCOMPARE(w->CellValue(row(w, n), 1), 1);
        }
        QCOMPARE(b->Rights(Backend::Dbo, QStringLiteral("vw_perm"), behind), QStringList());
        QCOMPARE(b->Rights(Backend::Dbo, QStringLiteral("vw_perm"), b->OwningGrantee()), ownerRights);
        QVERIFY(!w->IsDirty() && !w->CanUndo());
        w->CloseItem(true);
    }

    // A role dropped behind the window's back: the box names the statement, and
    // the grid keeps what the user set.
    void saveFails_data() { AddKindRows(); }
    void saveFails()
    {
        QVERIFY(setUp());
        const QString gone = role(QStringLiteral("r_gone"));
        QPointer<frmEditObjectPermissions> w = open();
        click(w, row(w, gone), 1);
        if (b->IsPostgreSQL())
            b->pg->superuserExec(QStringLiteral("DROP ROLE \"%1\"").arg(gone));
        else
            b->FailStatements(QStringLiteral(".* TO \\[r_gone\\]"), QStringLiteral("Cannot find the user 'r_gone'"));
        b->ExpectBox();
        QVERIFY(!w->SaveText(true));
        QCOMPARE(b->ui.last().title, QStringLiteral("Permissions not Saved"));
        QVERIFY2(b->ui.last().text.contains(gone) && b->ui.last().text.contains(QLatin1String(" ON ")),
            qPrintable(b->ui.last().text));
        QCOMPARE(w->CellValue(row(w, gone), 1), 1);
        QVERIFY(w->IsDirty() && w->CanUndo());
        w->CloseItem(true);
    }

    void closing_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("setting");
        QTest::addColumn<int>("answer"); // -1: no question
        QTest::addColumn<bool>("closed");
        QTest::addColumn<int>("saved"); // the server's value afterwards
        using A = UiServices::Answer;
        for (const char *kind : { "PostgreSQL", "SQLServer" }) {
            QTest::addRow("%s ask, yes", kind) << kind << 0 << int(A::Yes) << true << 1;
            QTest::addRow("%s ask, no", kind) << kind << 0 << int(A::No) << true << 0;
            QTest::addRow("%s ask, cancel", kind) << kind << 0 << int(A::Cancel) << false << 0;
            QTest::addRow("%s discard", kind) << kind << 1 << -1 << true << 0;
            QTest::addRow("%s save", kind) << kind << 2 << -1 << true << 1;
        }
    }
    void closing()
    {
        QFETCH(int, setting);
        QFETCH(int, answer);
        QFETCH(bool, closed);
        QFETCH(int, saved);
        QVERIFY(setUp());
        const QString r = role(QStringLiteral("r_close"));
        session->SetShowSaveChangesPermission(setting);
        QPointer<frmEditObjectPermissions> w = open();
        click(w, row(w, r), 1);
        if (answer >= 0)
            b->ui.answer(UiServices::Answer(answer));
        w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(!w, closed);
        QCOMPARE(b->ui.boxes.size(), answer >= 0 ? 1 : 0);
        if (answer >= 0)
            QCOMPARE(b->ui.last().title, QStringLiteral("Save Changes to Permissions?"));
        QCOMPARE(serverValue(r), saved);
        if (w)
            w->CloseItem(true);
    }

    // Size and state are kept for the next child window.
    void storedSize_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("SQLServer") << QStringLiteral("SQLServer");
    }
    void storedSize()
    {
        QVERIFY(setUp());
        session->SetChildWindowWidth(6000);
        session->SetChildWindowHeight(3000);
        QPointer<frmEditObjectPermissions> w = open();
        QCOMPARE(w->width(), qRound(6000 * w->logicalDpiX() / 1440.0));
        w->resize(500, 300);
        QCOMPARE(session->ChildWindowWidth(), qRound(500 * 1440.0 / w->logicalDpiX()));
        QCOMPARE(w->ObjectKey(), QStringLiteral("I") + viewId);
        QCOMPARE(w->PermissionObjectKey(), QStringLiteral("P") + viewId);
        w->CloseItem(true);
    }
};

QTEST_MAIN(TestPermissionsWindow)
#include "test_permissionswindow.moc"
