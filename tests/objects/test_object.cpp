// The versioned object on both server kinds: state by side and check-out,
// icons and menu flags, the difference test, a state refresh that finds a
// recreated object, the tree nodes under an object, its files and dates.
#include "KORVOFields.h"
#include "KORVOVersionedObjects.h"
#include "test_objects_backend.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

class TestObject : public QObject
{
    Q_OBJECT

    std::unique_ptr<ObjectsBackend> b;
    std::shared_ptr<KORVOStoredProcedures> procs;

    bool setUp()
    {
        QFETCH(QString, kind);
        QString why;
        b = ObjectsBackend::Make(kind, why);
        if (!b) {
            qWarning("%s", qPrintable(why));
            return false;
        }
        procs = std::make_shared<KORVOStoredProcedures>();
        procs->SetActiveDBConnection(b->sql);
        procs->SetActiveVSSConnection(b->vss);
        procs->SetIcons(std::make_shared<KORVOIcons>());
        return true;
    }

    QString versioned(const QString &name)
    {
        const QString id = b->Create(b->ProcedureText(name), name);
        b->AddFile(id + QStringLiteral(".sp"), b->sql->GetObjectText(id));
        return id;
    }

    KORVOTypedObjectPtr refreshed(const QString &id)
    {
        bool cancel = false;
        procs->RefreshList(cancel);
        return procs->Object(id);
    }

    static QString flags(const KORVOContextMenu &m)
    {
        QStringList on;
        const QList<QPair<const char *, bool>> all { { "Edit", m.Edit }, { "Rename", m.Rename }, { "Delete", m.Delete },
            { "AddToVSS", m.AddToVSS }, { "AddToSQL", m.AddToSQL }, { "DeleteFromVSS", m.DeleteFromVSS },
            { "DeleteFromSQL", m.DeleteFromSQL }, { "EditPermissions", m.EditPermissions },
            { "GetLatestVersion", m.GetLatestVersion }, { "CheckIn", m.CheckIn }, { "CheckOut", m.CheckOut },
            { "UndoCheckout", m.UndoCheckout } };
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
            { "checked in", "STOREDPROCEDURE:CHECKEDIN",
                "Edit Rename Delete EditPermissions GetLatestVersion CheckOut" },
            { "checked out by me", "STOREDPROCEDURE:CHECKEDOUT",
                "Edit Rename Delete EditPermissions CheckIn UndoCheckout" },
            { "checked out by another", "STOREDPROCEDURE:CHECKEDINOUT",
                "Edit Rename Delete EditPermissions GetLatestVersion" },
            { "only in SQL", "STOREDPROCEDURE:VSSBROKEN", "AddToVSS DeleteFromSQL EditPermissions" },
            { "only in VSS", "STOREDPROCEDURE:SQLBROKEN", "AddToSQL DeleteFromVSS" },
        };
        for (const QString &kind : { QStringLiteral("PostgreSQL"), QStringLiteral("SQLServer") }) {
            for (const QStringList &r : rows)
                QTest::addRow("%s %s", qPrintable(kind), qPrintable(r[0])) << kind << r[0] << r[1] << r[2];
        }
    }
    void iconsAndMenusByState()
    {
        QVERIFY(setUp());
        QFETCH(QString, state);
        QFETCH(QString, icon);
        QFETCH(QString, menu);
        QString id;
        if (state == QLatin1String("only in SQL")) {
            id = b->Create(b->ProcedureText(QStringLiteral("usp_x")), QStringLiteral("usp_x"));
        } else if (state == QLatin1String("only in VSS")) {
            id = QStringLiteral("900001");
            b->AddFile(id + QStringLiteral(".sp"), b->ProcedureText(QStringLiteral("usp_x")));
        } else {
            id = versioned(QStringLiteral("usp_x"));
        }
        // The list shows only our own check-outs; another user's shows after the
        // object's own refresh.
        if (state == QLatin1String("checked out by me"))
            QVERIFY(b->vss->CheckOut(id + QStringLiteral(".sp"), true));
        KORVOTypedObjectPtr o = refreshed(id);
        QVERIFY(o);
        if (state == QLatin1String("checked out by another"))
            o->Generic().CheckedOutBy = QStringLiteral("bob");
        QCOMPARE(o->IconToUse(false), icon);
        QCOMPARE(o->IconToUse(true), QStringLiteral("STOREDPROCEDURE"));
        const KORVOContextMenu m = o->GetContextMenu(true);
        QCOMPARE(flags(m), menu);
        QCOMPARE(m.DisplayName, QStringLiteral("dbo.usp_x"));
        QCOMPARE(o->GetContextMenu(false).DisplayName, QStringLiteral("usp_x"));
        QCOMPARE(o->RemovalRequest(), state.startsWith(QLatin1String("only")));
    }

    void differenceIgnoresOnlyMargins_data() { AddKindRows(); }
    void differenceIgnoresOnlyMargins()
    {
        QVERIFY(setUp());
        const QString id = b->Create(b->ProcedureText(QStringLiteral("usp_x")), QStringLiteral("usp_x"));
        const QString text = b->sql->GetObjectText(id);
        const QString item = id + QStringLiteral(".sp");
        b->AddFile(item, QStringLiteral("\r\n\t ") + text.trimmed() + QStringLiteral("\r\n\r\n"));
        KORVOTypedObjectPtr o = refreshed(id);
        QVERIFY(!o->SQLAndVSSDiffer());

        // Case counts, and so does white space inside the text.
        QVERIFY(b->vss->ChangeItemContent(
            item, text.trimmed().replace(QLatin1String("CREATE"), QLatin1String("create")), QString(), true));
        QVERIFY(o->SQLAndVSSDiffer());
        QVERIFY(b->vss->ChangeItemContent(
            item, text.trimmed().replace(QLatin1Char(' '), QLatin1String("  ")), QString(), true));
        QVERIFY(o->SQLAndVSSDiffer());
        // The latest checked-in text counts, not the user's working copy.
        QVERIFY(b->vss->ChangeItemContent(item, text, QString(), true));
        QVERIFY(b->vss->CheckOut(item, true));
        QFile working(b->vss->GetItemFileName(item));
        QVERIFY(working.open(QIODevice::WriteOnly | QIODevice::Truncate));
        working.write("changed");
        working.close();
        QVERIFY(!o->SQLAndVSSDiffer());
    }

    void stateRefreshFindsRecreatedObject_data() { AddKindRows(); }
    void stateRefreshFindsRecreatedObject()
    {
        QVERIFY(setUp());
        const QString oldId = versioned(QStringLiteral("usp_x"));
        KORVOTypedObjectPtr o = refreshed(oldId);
        b->Drop(ObjectClass::StoredProcedure, QStringLiteral("usp_x"));
        const QString newId = b->Create(b->ProcedureText(QStringLiteral("usp_x")), QStringLiteral("usp_x"));

        const KORVODBTItemPtr item = o->Refresh(true);
        QCOMPARE(o->DBID(), newId);
        QVERIFY(o->InSQL());
        QVERIFY(o->InVSS());
        QCOMPARE(o->Name(), QStringLiteral("usp_x"));
        QCOMPARE(o->Owner(), QStringLiteral("dbo"));
        QCOMPARE(item->Key, QStringLiteral("I") + newId);
        QCOMPARE(item->KeyChanged, oldId);
        QVERIFY(!item->RemoveItem);
        QCOMPARE(item->Text, QStringLiteral("dbo.usp_x"));
        QCOMPARE(item->ImageName, QStringLiteral("STOREDPROCEDURE:CHECKEDIN"));

        // Gone from both sides: the node is to be removed, names are cleared.
        b->Drop(ObjectClass::StoredProcedure, QStringLiteral("usp_x"));
        QVERIFY(b->vss->RemoveItem(oldId + QStringLiteral(".sp"), true));
        const KORVODBTItemPtr gone = o->Refresh(false);
        QVERIFY(gone->RemoveItem);
        QVERIFY(o->Name().isEmpty());
        QVERIFY(gone->KeyChanged.isEmpty());
    }

    void nodesUnderObject_data() { AddKindRows(); }
    void nodesUnderObject()
    {
        QVERIFY(setUp());
        const QString id = b->Create(b->ProcedureText(QStringLiteral("usp_x")), QStringLiteral("usp_x"));
        KORVOTypedObjectPtr o = refreshed(id);

        KORVODBTItemsPtr nodes = o->GetItemInfo(true, false, true);
        QStringList keys;
        for (const auto &n : *nodes)
            keys.append(n->Key);
        QCOMPARE(keys,
            QStringList({ QStringLiteral("OWNER") + id, QStringLiteral("F%1_field_1").arg(id),
                QStringLiteral("F%1_field_2").arg(id), QStringLiteral("P") + id, QStringLiteral("NOTINVSS") + id }));
        const QList<QStringList> fields = b->ProcedureFields();
        KORVODBTItemPtr field = nodes->Item(QStringLiteral("F%1_field_1").arg(id));
        QCOMPARE(field->Text, fields[0][0]);
        QCOMPARE(field->ImageName, QStringLiteral("FIELD"));
        QCOMPARE(field->Children().Count(), 2);
        QCOMPARE(field->Children().Item(0)->Key, field->Key + QStringLiteral("_1"));
        QCOMPARE(field->Children().Item(0)->Text, fields[0][1]);
        QCOMPARE(field->Children().Item(1)->Text, QStringLiteral("Nullable"));
        QCOMPARE(field->Children().Item(1)->ImageName, QStringLiteral("FIELDDATA"));
        KORVODBTItemPtr permissions = nodes->Item(QStringLiteral("P") + id);
        QCOMPARE(permissions->Tag, QStringLiteral("Permission"));
        QCOMPARE(permissions->Children().FirstChild()->Key, QStringLiteral("P%1_temp").arg(id));
        QCOMPARE(nodes->Item(QStringLiteral("NOTINVSS") + id)->Text, QStringLiteral("Item out of sync (not in VSS)"));
        QCOMPARE(nodes->Item(QStringLiteral("NOTINVSS") + id)->ImageName, QStringLiteral("STOREDPROCEDURE:VSSBROKEN"));

        // Only fields without extras, and no nullability.
        nodes = o->GetItemInfo(true, true, false);
        QCOMPARE(nodes->Count(), 2);
        QCOMPARE(nodes->Item(0)->Children().Count(), 1);
    }

    void nodesOutOfSync_data() { AddKindRows(); }
    void nodesOutOfSync()
    {
        QVERIFY(setUp());
        b->AddFile(QStringLiteral("900001.sp"), b->ProcedureText(QStringLiteral("usp_gone")));
        KORVOTypedObjectPtr gone = refreshed(QStringLiteral("900001"));
        KORVODBTItemsPtr nodes = gone->GetItemInfo(true);
        QCOMPARE(nodes->Count(), 2);
        QCOMPARE(nodes->Item(0)->Key, QStringLiteral("OWNER900001"));
        QCOMPARE(nodes->Item(1)->Key, QStringLiteral("NOTINSQL900001"));
        QCOMPARE(nodes->Item(1)->Text, QStringLiteral("Item out of sync (not in SQL)"));

        const QString id = versioned(QStringLiteral("usp_x"));
        QVERIFY(b->vss->CheckOut(id + QStringLiteral(".sp"), true));
        KORVOTypedObjectPtr o = refreshed(id);
        nodes = o->GetItemInfo(false);
        KORVODBTItemPtr last = nodes->Item(nodes->Count() - 1);
        QCOMPARE(last->Key, QStringLiteral("CHECKEDOUT") + id);
        QCOMPARE(last->Text, QStringLiteral("Checked out by alice"));
        QCOMPARE(last->ImageName, QStringLiteral("CHECKEDOUTBY"));
        QVERIFY(!nodes->Item(QStringLiteral("OWNER") + id));
    }

    void dropScript()
    {
        // The SQL Server form, character for character.
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

    void dropScriptRuns_data() { AddKindRows(); }
    void dropScriptRuns()
    {
        QVERIFY(setUp());
        const QString id = b->Create(b->ProcedureText(QStringLiteral("usp_x")), QStringLiteral("usp_x"));
        KORVOTypedObjectPtr o = refreshed(id);
        b->sql->ExecuteSQL(o->DropScript());
        QVERIFY(b->sql->GetObjectID(QStringLiteral("usp_x"), QStringLiteral("dbo")).isEmpty());
    }

    void newObjectFiles_data() { AddKindRows(); }
    void newObjectFiles()
    {
        QVERIFY(setUp());
        KORVOTypedObjectPtr fresh = procs->NewObject();
        const QString temporary = fresh->FileName();
        QVERIFY(QFile::exists(temporary));
        QVERIFY(QFileInfo(temporary).fileName().contains(
            QRegularExpression(QStringLiteral("^StoredProcedure_\\d{14}_\\d{1,4}\\.sp$"))));
        QCOMPARE(QFileInfo(temporary).absolutePath(),
            QFileInfo(b->vss->GetItemFileName(QStringLiteral("x"))).absolutePath());
        QCOMPARE(fresh->FileName(), temporary);

        // A path given while new replaces the temporary file, which goes.
        const QString mine = b->repo->Folder(QStringLiteral("mine")) + QStringLiteral("own.sql");
        QFile own(mine);
        QVERIFY(own.open(QIODevice::WriteOnly));
        own.close();
        fresh->SetFileName(mine);
        QVERIFY(!QFile::exists(temporary));
        QCOMPARE(fresh->FileName(), mine);
        // A file given from outside is not deleted with the object.
        fresh.reset();
        procs.reset();
        QVERIFY(QFile::exists(mine));

        // An object in source control has its working file fetched on demand.
        setUp();
        const QString id = versioned(QStringLiteral("usp_x"));
        KORVOTypedObjectPtr o = refreshed(id);
        const QString working = b->vss->GetItemFileName(id + QStringLiteral(".sp"));
        QFile::remove(working);
        QCOMPARE(o->FileName(), working);
        QVERIFY(QFile::exists(working));

        // The temporary file of a dropped new object goes with it.
        KORVOTypedObjectPtr other = procs->NewObject();
        const QString otherFile = other->FileName();
        other->Generic().SetIsNew(false);
        QVERIFY(!QFile::exists(otherFile));
    }

    void dates_data() { AddKindRows(); }
    void dates()
    {
        QVERIFY(setUp());
        const QString id = versioned(QStringLiteral("usp_x"));
        const QString item = id + QStringLiteral(".sp");
        QTest::qSleep(1100);
        QVERIFY(b->vss->ChangeItemContent(
            item, b->ProcedureText(QStringLiteral("usp_x"), QStringLiteral("2")), QStringLiteral("second"), true));
        KORVOTypedObjectPtr o = refreshed(id);
        const QList<QStringList> ascending = o->DateSummary(true);
        QCOMPARE(ascending.size(), 2);
        QCOMPARE(ascending.last().at(1), QStringLiteral("second"));
        QVERIFY(VersionDateTime(ascending.first().at(0)) < VersionDateTime(ascending.last().at(0)));
        QCOMPARE(o->DateSummary(false).first(), ascending.last());
        QCOMPARE(o->FirstDate(), VersionDateTime(ascending.first().at(0)));
        QCOMPARE(o->LastDate(), VersionDateTime(ascending.last().at(0)));
        QVERIFY(ascending.last().at(2).toLong() > ascending.first().at(2).toLong());
    }
};

QTEST_GUILESS_MAIN(TestObject)
#include "test_object.moc"
