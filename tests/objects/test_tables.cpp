// Tables on both server kinds: field texts from column rows, the list and the
// nodes of a table, and a table recreated or dropped behind the list's back.
#include "test_backend.h"

#include "KORVOFields.h"
#include "KORVOTables.h"
#include "driver/Recordset.h"

#include <QtTest>

namespace
{

std::shared_ptr<KORVOTables> MakeTables(Backend &b)
{
    auto tables = std::make_shared<KORVOTables>();
    tables->SetActiveDBConnection(b.sql);
    tables->SetIcons(std::make_shared<KORVOIcons>());
    tables->LoadIcons();
    auto info = std::make_shared<KORVOTriggersInfo>();
    info->ObjectType = info->ObjectDisplayName = QStringLiteral("Triggers");
    info->Icon = QStringLiteral("TRIGGERS");
    tables->SetTriggersInfo(info);
    return tables;
}

} // namespace

class TestTables : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fieldTypeText_data()
    {
        QTest::addColumn<QVariantList>("row"); // ColType, ColLength, ColXprec, ColScale
        QTest::addColumn<QString>("expected");
        // Sizes written out are in listAndNodes (SQL Server's numeric and varchar).
        QTest::newRow("int stays bare") << QVariantList { "int", 4, 10, 0 } << "int";
        QTest::newRow("case counts") << QVariantList { "VARCHAR", 20, 0, 0 } << "VARCHAR";
        QTest::newRow("size in the name")
            << QVariantList { "character varying(20)", {}, {}, {} } << "character varying(20)";
        QTest::newRow("numeric without sizes") << QVariantList { "numeric", {}, {}, {} } << "numeric";
    }
    void fieldTypeText()
    {
        QFETCH(QVariantList, row);
        QFETCH(QString, expected);
        QCOMPARE(FieldTypeText(Recordset({ "ColType", "ColLength", "ColXprec", "ColScale" }, { row })), expected);
    }

    void fieldsFromColumns_data()
    {
        QTest::addColumn<QList<QVariantList>>("rows"); // ColName, ColNullable, ColType
        QTest::addColumn<QString>("blankName");
        QTest::addColumn<bool>("showNullability");
        QTest::addColumn<QStringList>("expected"); // "name: child|child"
        const QList<QVariantList> rows { { "id", 0, "int" }, { "note", 1, "text" } };
        QTest::newRow("with nullability")
            << rows << QString() << true << QStringList { "id: int|Not Nullable", "note: text|Nullable" };
        QTest::newRow("without") << rows << QString() << false << QStringList { "id: int", "note: text" };
        QTest::newRow("return value has no nullability")
            << QList<QVariantList> { { "", 0, "int" }, { "@a", 1, "int" } } << "(Return Value)" << true
            << QStringList { "(Return Value): int", "@a: int|Nullable" };
        QTest::newRow("blank row without display name vanishes") << QList<QVariantList> { { "", 0, "int" },
            { "@a", 0, "int" } } << QString() << true << QStringList { "@a: int|Not Nullable" };
        QTest::newRow("boolean and text flags")
            << QList<QVariantList> { { "a", true, "int" }, { "b", "f", "int" }, { "c", QVariant(), "int" } }
            << QString() << true << QStringList { "a: int|Nullable", "b: int|Not Nullable", "c: int|Not Nullable" };
    }
    void fieldsFromColumns()
    {
        QFETCH(QList<QVariantList>, rows);
        QFETCH(QString, blankName);
        QFETCH(bool, showNullability);
        QFETCH(QStringList, expected);
        Recordset rs({ "ColName", "ColNullable", "ColType" }, rows);
        QStringList got;
        const KORVOFieldsPtr fields = FieldsFromColumns(rs, blankName, showNullability);
        for (const KORVOFieldPtr &f : *fields) {
            QStringList children;
            for (const KORVOFieldPtr &c : f->Children())
                children.append(c->Name);
            got.append(f->Name + QStringLiteral(": ") + children.join(QLatin1Char('|')));
        }
        QCOMPARE(got, expected);
    }

    void listAndNodes_data() { AddKindRows(); }
    void listAndNodes()
    {
        auto b = OpenBackend(false);
        QVERIFY(b);
        const QString other = b->MakeOtherOwner();
        const QString id = b->CreateTable("dbo", "t_items"), otherId = b->CreateTable(other, "t_items");
        auto tables = MakeTables(*b);
        // A cancelled refresh gives no list.
        Recorder recorder;
        recorder.cancelAt = 0;
        tables->SetStatusSink(&recorder);
        QVERIFY(!tables->GetItemInfo(false));
        QCOMPARE(recorder.events, QStringList { "R0/2" });
        QCOMPARE(tables->Count(), 0);
        recorder = Recorder();
        KORVODBTItemsPtr folder = tables->GetItemInfo(true);
        QVERIFY(folder);
        QCOMPARE(Nodes(*folder),
            QStringList(
                { "I" + id + "|dbo.t_items|Table|TABLE", "I" + otherId + "|" + other + ".t_items|Table|TABLE" }));
        QCOMPARE(Nodes(folder->FirstChild()->Children()), QStringList { "I" + id + "_tmp||temp|" });
        QCOMPARE(recorder.events, QStringList({ "R0/2", "R1/2", "R2/2", "C", "A0/2", "C" }));
        QCOMPARE(tables->GetItemInfo(false)->FirstChild()->Text, QStringLiteral("t_items"));

        // Both key forms reach the table.
        KORVOTablePtr table = tables->Table("I" + id);
        QVERIFY(table);
        QCOMPARE(tables->Item(id), KORVODBObjectPtr(table));
        QVERIFY(!tables->ObjectIsOfThisType("I0"));

        // The object's nodes: owner, fields with type and nullability, permissions, triggers.
        KORVODBTItemsPtr items = table->GetItemInfo(true);
        const QString f = "F" + id + "_field_";
        QCOMPARE(Nodes(*items),
            QStringList({ "OWNER" + id + "|dbo||OWNER", f + "1|id||FIELD", f + "2|label||FIELD", f + "3|amount||FIELD",
                "P" + id + "|Permission|Permission|PERMISSIONS", "T" + id + "|Triggers|Triggers|TRIGGERS" }));
        const QStringList types = b->IsPostgreSQL()
            ? QStringList { "integer", "character varying(20)", "numeric(10,2)" }
            : QStringList { "int", "varchar(20)", "numeric(10, 2)" };
        const QStringList nulls { "Not Nullable", "Nullable", "Not Nullable" };
        for (int n = 1; n <= 3; ++n) {
            const QString key = f + QString::number(n);
            QCOMPARE(Nodes(items->Item(key)->Children()),
                QStringList(
                    { key + "_1|" + types[n - 1] + "||FIELDDATA", key + "_2|" + nulls[n - 1] + "||FIELDDATA" }));
        }
        QCOMPARE(Nodes(items->Item("P" + id)->Children()), QStringList { "P" + id + "_temp||temp|" });
        QCOMPARE(Nodes(items->Item("T" + id)->Children()), QStringList { "T" + id + "_tmp||temp|" });
        // Without the owner setting the owner node goes.
        QCOMPARE(table->GetItemInfo(false)->FirstChild()->Key, f + "1");

        // A table offers its permissions and nothing else.
        KORVOContextMenu expected;
        expected.DisplayName = QStringLiteral("t_items");
        expected.EditPermissions = true;
        QVERIFY(table->GetContextMenu(true) == expected);

        // An unchanged table refreshes under its key.
        KORVODBTItemPtr refreshed = table->Refresh(true);
        QCOMPARE(Node(refreshed), "I" + id + "|dbo.t_items|Table|TABLE");
        QVERIFY(refreshed->KeyChanged.isEmpty() && !refreshed->RemoveItem);
    }

    // A table dropped and recreated under its name keeps its node (not the
    // other owner's table of that name); a dropped one stays in the list until
    // its own refresh reports it.
    void recreatedAndDroppedTable_data() { AddKindRows(); }
    void recreatedAndDroppedTable()
    {
        auto b = OpenBackend(false);
        QVERIFY(b);
        const QString oldId = b->CreateTable("dbo", "t_orders");
        b->CreateTable(b->MakeOtherOwner(), "t_orders");
        auto tables = MakeTables(*b);
        bool cancel = false;
        tables->RefreshList(cancel);
        KORVOTablePtr table = tables->Table("I" + oldId);
        QVERIFY(table);

        b->DropTable("dbo", "t_orders");
        const QString newId = b->CreateTable("dbo", "t_orders");
        QVERIFY(newId != oldId);
        KORVODBTItemPtr item = table->Refresh(false);
        QVERIFY(!item->RemoveItem);
        QCOMPARE(item->KeyChanged, oldId);
        QCOMPARE(Node(item), "I" + newId + "|t_orders|Table|TABLE");
        QCOMPARE(table->Owner(), QStringLiteral("dbo"));
        // The session then moves the object to its new key.
        tables->ChangeKey(item->KeyChanged);
        QCOMPARE(tables->Table(newId), table);
        QVERIFY(!tables->Table(oldId));
        QCOMPARE(tables->Count(), 2);

        b->DropTable("dbo", "t_orders");
        tables->RefreshList(cancel);
        QVERIFY(tables->IsTable(newId));
        item = table->Refresh(true);
        QVERIFY(item->RemoveItem);
        QCOMPARE(item->Key, "I" + newId);
        tables->RemoveItem(item->Key);
        QVERIFY(!tables->IsTable(newId));
        QCOMPARE(tables->Count(), 1);
    }
};

QTEST_GUILESS_MAIN(TestTables)
#include "test_tables.moc"
