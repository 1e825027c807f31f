// The versioned object on both server kinds: state by side and check-out,
// icons and menu flags, the difference test, the tree nodes under an object,
// its drop script, its files and dates.
#include "KORVOFields.h"
#include "test_backend.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

class TestObject : public QObject
{
    Q_OBJECT

    std::unique_ptr<Backend> b;
    std::shared_ptr<KORVOVersionedObjects> procs;

    bool setUp()
    {
        b = OpenBackend();
        if (b)
            procs = b->Collection(ObjectClass::StoredProcedure);
        return bool(b);
    }
    KORVOTypedObjectPtr refreshed(const QString &id)
    {
        bool cancel = false;
        procs->RefreshList(cancel);
        return procs->Object(id);
    }

    static QString flags(const KORVOContextMenu &m)
    {
        const QList<QPair<const char *, bool>> all { { "Edit", m.Edit }, { "Rename", m.Rename }, { "Delete", m.Delete },
            { "AddToVSS", m.AddToVSS }, { "AddToSQL", m.AddToSQL }, { "DeleteFromVSS", m.DeleteFromVSS },
            { "DeleteFromSQL", m.DeleteFromSQL }, { "EditPermissions", m.EditPermissions },
            { "GetLatestVersion", m.GetLatestVersion }, { "CheckIn", m.CheckIn }, { "CheckOut", m.CheckOut },
            { "UndoCheckout", m.UndoCheckout } };
        QStringList on;
        for (const auto &f : all) {
            if (f.second)
                on.append(QLatin1String(f.first));
        }
        return on.join(QLatin1Char(' '));
    }

private Q_SLOTS:
    void cleanup()
    {
        procs.reset();
        b.reset();
    }

    void iconsAndMenusByState_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<QString>("menu");
        const QList<QStringList> rows {
            { "checked in", "CHECKEDIN", "Edit Rename Delete EditPermissions GetLatestVersion CheckOut" },
            { "checked out by me", "CHECKEDOUT", "Edit Rename Delete EditPermissions CheckIn UndoCheckout" },
            { "checked out by another", "CHECKEDINOUT", "Edit Rename Delete EditPermissions GetLatestVersion" },
            { "only in SQL", "VSSBROKEN", "AddToVSS DeleteFromSQL EditPermissions" },
            { "only in VSS", "SQLBROKEN", "AddToSQL DeleteFromVSS" },
        };
        for (const char *kind : { "PostgreSQL", "SQLServer" }) {
            for (const QStringList &r : rows)
                QTest::addRow("%s %s", kind, qPrintable(r[0])) << kind << r[0] << r[1] << r[2];
        }
    }
    void iconsAndMenusByState()
    {
        QVERIFY(setUp());
        QFETCH(QString, state);
        QFETCH(QString, icon);
        QFETCH(QString, menu);
        QString id = QStringLiteral("900001");
        if (state == QLatin1String("only in SQL"))
            id = b->Create(ObjectClass::StoredProcedure, "usp_x");
        else if (state == QLatin1String("only in VSS"))
            b->AddFile(id + ".sp", b->Text(ObjectClass::StoredProcedure, "usp_x"));
        else
            id = b->Versioned("usp_x");
        // The list shows only our own check-outs; another user's shows after the
        // object's own refresh.
        if (state == QLatin1String("checked out by me"))
            QVERIFY(b->vss->CheckOut(id + ".sp", true));
        KORVOTypedObjectPtr o = refreshed(id);
        QVERIFY(o);
        if (state == QLatin1String("checked out by another"))
            o->Generic().CheckedOutBy = QStringLiteral("bob");
        QCOMPARE(o->IconToUse(false), "STOREDPROCEDURE:" + icon);
        QCOMPARE(o->IconToUse(true), QStringLiteral("STOREDPROCEDURE"));
        QCOMPARE(flags(o->GetContextMenu(true)), menu);
        QCOMPARE(o->GetContextMenu(true).DisplayName, QStringLiteral("dbo.usp_x"));
        QCOMPARE(o->GetContextMenu(false).DisplayName, QStringLiteral("usp_x"));
        QCOMPARE(o->RemovalRequest(), state.startsWith(QLatin1String("only")));
    }

    void differenceIgnoresOnlyMargins_data() { AddKindRows(); }
    void differenceIgnoresOnlyMargins()
    {
        QVERIFY(setUp());
        const QString id = b->Create(ObjectClass::StoredProcedure, "usp_x");
        const QString text = b->ServerText(id).trimmed(), item = id + ".sp";
        b->AddFile(item, "\r\n\t " + text + "\r\n\r\n");
        KORVOTypedObjectPtr o = refreshed(id);
        QVERIFY(!o->SQLAndVSSDiffer());
        // Case counts, and so does white space inside the text.
        for (const QString &changed : { QString(text).replace("CREATE", "create"), QString(text).replace(" ", "  ") }) {
            QVERIFY(b->vss->ChangeItemContent(item, changed, QString(), true));
            QVERIFY(o->SQLAndVSSDiffer());
        }
        // The latest checked-in text counts, not the user's working copy.
        QVERIFY(b->vss->ChangeItemContent(item, text, QString(), true));
        QVERIFY(b->vss->CheckOut(item, true));
        QFile working(b->vss->GetItemFileName(item));
        QVERIFY(working.open(QIODevice::WriteOnly | QIODevice::Truncate));
        working.write("changed");
        working.close();
        QVERIFY(!o->SQLAndVSSDiffer());
    }

    // Owner, fields with their details, permissions and the out-of-sync or
    // check-out hint; the drop script removes the object.
    void nodesUnderObject_data() { AddKindRows(); }
    void nodesUnderObject()
    {
        QVERIFY(setUp());
        const QString id = b->Create(ObjectClass::StoredProcedure, "usp_x");
        const QString checkedOut = b->Versioned("usp_y");
        QVERIFY(b->vss->CheckOut(checkedOut + ".sp", true));
        b->AddFile("900001.sp", b->Text(ObjectClass::StoredProcedure, "usp_gone"));
        KORVOTypedObjectPtr o = refreshed(id);

        const QString f = "F" + id + "_field_";
        KORVODBTItemsPtr nodes = o->GetItemInfo(true, false, true);
        QCOMPARE(Nodes(*nodes),
            QStringList({ "OWNER" + id + "|dbo||OWNER", f + "1|" + b->Pick("p_a", "@a") + "||FIELD",
                f + "2|" + b->Pick("p_b", "@b") + "||FIELD", "P" + id + "|Permission|Permission|PERMISSIONS",
                "NOTINVSS" + id + "|Item out of sync (not in VSS)||STOREDPROCEDURE:VSSBROKEN" }));
        QCOMPARE(Nodes(nodes->Item(f + "1")->Children()),
            QStringList({ f + "1_1|" + b->Pick("integer", "int") + "||FIELDDATA", f + "1_2|Nullable||FIELDDATA" }));
        QCOMPARE(Nodes(nodes->Item("P" + id)->Children()), QStringList { "P" + id + "_temp||temp|" });
        // Only fields without extras, and no nullability.
        nodes = o->GetItemInfo(true, true, false);
        QCOMPARE(Keys(*nodes), QStringList({ f + "1", f + "2" }));
        QCOMPARE(nodes->Item(0)->Children().Count(), 1);

        QCOMPARE(Nodes(*procs->Object("900001")->GetItemInfo(true)),
            QStringList({ "OWNER900001|dbo||OWNER",
                "NOTINSQL900001|Item out of sync (not in SQL)||STOREDPROCEDURE:SQLBROKEN" }));
        nodes = procs->Object(checkedOut)->GetItemInfo(false);
        QVERIFY(!nodes->Item("OWNER" + checkedOut));
        QCOMPARE(
            Node(nodes->Item(nodes->Count() - 1)), "CHECKEDOUT" + checkedOut + "|Checked out by alice||CHECKEDOUTBY");

        b->sql->ExecuteSQL(o->DropScript());
        QVERIFY(!b->Exists("usp_x"));
    }

    // The SQL Server form, character for character.
    void dropScript()
    {
        KORVOStoredProcedure procedure;
        procedure.Generic().Name = QStringLiteral("usp_x");
        procedure.Generic().Owner = QStringLiteral("dbo");
        QCOMPARE(procedure.DropScript(),
            QStringLiteral("IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[usp_x]') AND "
                           "OBJECTPROPERTY(id, N'IsProcedure') = 1) \r\n\t DROP PROCEDURE [dbo].[usp_x]"));
        KORVOUserDefinedFunction function;
        function.Generic().Name = QStringLiteral("f");
        QCOMPARE(function.DropScript(),
            QStringLiteral("IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[f]') AND xtype IN "
                           "(N'FN', N'IF', N'TF') ) \r\n\t DROP FUNCTION [f]"));
    }

    void objectFiles_data() { AddKindRows(); }
    void objectFiles()
    {
        QVERIFY(setUp());
        KORVOTypedObjectPtr fresh = procs->NewObject();
        const QString temporary = fresh->FileName();
        QVERIFY(QFile::exists(temporary));
        QVERIFY(
            QFileInfo(temporary).fileName().contains(QRegularExpression("^StoredProcedure_\\d{14}_\\d{1,4}\\.sp$")));
        QCOMPARE(QFileInfo(temporary).absolutePath(), QFileInfo(b->vss->GetItemFileName("x")).absolutePath());
        QCOMPARE(fresh->FileName(), temporary);

        // A path given while new replaces the temporary file, which goes; the
        // path given is not deleted with the object.
        const QString mine = b->repo->Folder("mine") + "own.sql";
        QFile own(mine);
        QVERIFY(own.open(QIODevice::WriteOnly));
        own.close();
        fresh->SetFileName(mine);
        QVERIFY(!QFile::exists(temporary));
        QCOMPARE(fresh->FileName(), mine);
        fresh.reset();
        procs = b->Collection(ObjectClass::StoredProcedure); // the old one held the new object
        QVERIFY(QFile::exists(mine));

        // The temporary file of a new object that stops being new goes.
        KORVOTypedObjectPtr other = procs->NewObject();
        const QString otherFile = other->FileName();
        other->Generic().SetIsNew(false);
        QVERIFY(!QFile::exists(otherFile));

        // An object in source control has its working file fetched on demand.
        const QString id = b->Versioned("usp_x");
        KORVOTypedObjectPtr o = refreshed(id);
        const QString working = b->vss->GetItemFileName(id + ".sp");
        QFile::remove(working);
        QCOMPARE(o->FileName(), working);
        QVERIFY(QFile::exists(working));
    }

    void dates_data() { AddKindRows(); }
    void dates()
    {
        QVERIFY(setUp());
        const QString id = b->Versioned("usp_x");
        QTest::qSleep(1100);
        QVERIFY(
            b->vss->ChangeItemContent(id + ".sp", b->Text(ObjectClass::StoredProcedure, "usp_x", 2), "second", true));
        KORVOTypedObjectPtr o = refreshed(id);
        const QList<QStringList> ascending = o->DateSummary(true);
        QCOMPARE(ascending.size(), 2);
        QCOMPARE(ascending.last().at(1), QStringLiteral("second"));
        QVERIFY(VersionDateTime(ascending.first().at(0)) < VersionDateTime(ascending.last().at(0)));
        QVERIFY(ascending.last().at(2).toLong() > ascending.first().at(2).toLong());
        QCOMPARE(o->DateSummary(false).first(), ascending.last());
        QCOMPARE(o->FirstDate(), VersionDateTime(ascending.first().at(0)));
        QCOMPARE(o->LastDate(), VersionDateTime(ascending.last().at(0)));
    }
};

QTEST_GUILESS_MAIN(TestObject)
#include "test_object.moc"
