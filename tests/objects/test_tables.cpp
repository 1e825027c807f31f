#include "test_tables_backend.h"

#include "KORVOFields.h"
#include "KORVOTables.h"
#include "driver/Recordset.h"

#include <QtTest>

namespace
{

// Counts the progress events and can cancel at the first of a kind.
class Sink : public KORVOCollectionStatusSink
{
public:
    int retrieved = 0, added = 0, completed = 0;
    bool cancelRetrieve = false;
    void RetrieveStatusChange(KORVOObjectCollection &, long, long, bool &cancel) override
    {
        ++retrieved;
        cancel = cancelRetrieve;
    }
    void AddingStatusChange(KORVOObjectCollection &, long, long, bool &) override { ++added; }
    void CompletedCurrentStatus(KORVOObjectCollection &) override { ++completed; }
};

std::shared_ptr<KORVOTables> MakeTables(TestBackend &b)
{
    auto tables = std::make_shared<KORVOTables>();
    tables->SetActiveDBConnection(b.sql);
    auto icons = std::make_shared<KORVOIcons>();
    tables->SetIcons(icons);
    tables->LoadIcons();
    auto info = std::make_shared<KORVOTriggersInfo>();
    info->ObjectType = QStringLiteral("Triggers");
    info->ObjectDisplayName = QStringLiteral("Triggers");
    info->Icon = QStringLiteral("TRIGGERS");
    tables->SetTriggersInfo(info);
    return tables;
}

QStringList Keys(const KORVODBTItems &items)
{
    QStringList keys;
    for (const KORVODBTItemPtr &i : items)
        keys.append(i->Key);
    return keys;
}

QStringList Texts(const KORVODBTItems &items)
{
    QStringList texts;
    for (const KORVODBTItemPtr &i : items)
        texts.append(i->Text);
    return texts;
}

} // namespace

class TestTables : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fieldTypeText_data();
    void fieldTypeText();
    void fieldsFromColumns_data();
    void fieldsFromColumns();

    void listAndNodes_data() { KORVO_BACKEND_DATA(); }
    void listAndNodes();
    void recreatedTableKeepsItsNode_data() { KORVO_BACKEND_DATA(); }
    void recreatedTableKeepsItsNode();
    void droppedTable_data() { KORVO_BACKEND_DATA(); }
    void droppedTable();
    void cancelledRefresh_data() { KORVO_BACKEND_DATA(); }
    void cancelledRefresh();
};

void TestTables::fieldTypeText_data()
{
    QTest::addColumn<QVariant>("type");
    QTest::addColumn<QVariant>("length");
    QTest::addColumn<QVariant>("prec");
    QTest::addColumn<QVariant>("scale");
    QTest::addColumn<QString>("expected");
    QTest::newRow("numeric") << QVariant("numeric") << QVariant(9) << QVariant(10) << QVariant(2) << "numeric(10, 2)";
    QTest::newRow("decimal") << QVariant("decimal") << QVariant(5) << QVariant(5) << QVariant(0) << "decimal(5, 0)";
    QTest::newRow("varchar") << QVariant("varchar") << QVariant(20) << QVariant(0) << QVariant(0) << "varchar(20)";
    QTest::newRow("nchar") << QVariant("nchar") << QVariant(6) << QVariant(0) << QVariant(0) << "nchar(6)";
    QTest::newRow("int stays bare") << QVariant("int") << QVariant(4) << QVariant(10) << QVariant(0) << "int";
    QTest::newRow("case counts") << QVariant("VARCHAR") << QVariant(20) << QVariant(0) << QVariant(0) << "VARCHAR";
    QTest::newRow("size in the name") << QVariant("character varying(20)") << QVariant() << QVariant() << QVariant()
                                      << "character varying(20)";
    QTest::newRow("numeric without sizes")
        << QVariant("numeric") << QVariant() << QVariant() << QVariant() << "numeric";
}

void TestTables::fieldTypeText()
{
    QFETCH(QVariant, type);
    QFETCH(QVariant, length);
    QFETCH(QVariant, prec);
    QFETCH(QVariant, scale);
    QFETCH(QString, expected);
    Recordset rs({ "ColType", "ColLength", "ColXprec", "ColScale" }, { { type, length, prec, scale } });
    QCOMPARE(FieldTypeText(rs), expected);
}

void TestTables::fieldsFromColumns_data()
{
    QTest::addColumn<QList<QVariantList>>("rows"); // ColName, ColNullable, ColType
    QTest::addColumn<QString>("blankName");
    QTest::addColumn<bool>("showNullability");
    QTest::addColumn<QStringList>("expected"); // "name: child|child"

    const QList<QVariantList> rows { { "id", 0, "int" }, { "note", 1, "text" } };
    QTest::newRow("with nullability") << rows << QString() << true
                                      << QStringList { "id: int|Not Nullable", "note: text|Nullable" };
    QTest::newRow("without") << rows << QString() << false << QStringList { "id: int", "note: text" };
    QTest::newRow("return value has no nullability")
        << QList<QVariantList> { { "", 0, "int" }, { "@a", 1, "int" } } << "(Return Value)" << true
        << QStringList { "(Return Value): int", "@a: int|Nullable" };
    QTest::newRow("blank row without display name vanishes") << QList<QVariantList> { { "", 0, "int" },
        { "@a", 0, "int" } } << QString() << true << QStringList { "@a: int|Not Nullable" };
    QTest::newRow("boolean and text flags")
        << QList<QVariantList> { { "a", true, "int" }, { "b", "f", "int" }, { "c", QVariant(), "int" } } << QString()
        << true << QStringList { "a: int|Nullable", "b: int|Not Nullable", "c: int|Not Nullable" };
}

void TestTables::fieldsFromColumns()
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

void TestTables::listAndNodes()
{
    KORVO_BACKEND(b);
    const QString owner = b->DefaultOwner();
    const QString other = b->MakeOtherOwner();
    const QString id = b->CreateTable(owner, QStringLiteral("t_items"));
    const QString otherId = b->CreateTable(other, QStringLiteral("t_items"));
    auto tables = MakeTables(*b);
    Sink sink;
    tables->SetStatusSink(&sink);

    KORVODBTItemsPtr folder = tables->GetItemInfo(true);
    QVERIFY(folder);
    QCOMPARE(Keys(*folder), (QStringList { "I" + id, "I" + otherId }));
    KORVODBTItemPtr node = folder->Item("I" + id);
    QVERIFY(node);
    QCOMPARE(node->Text, owner + ".t_items");
    QCOMPARE(folder->Item("I" + otherId)->Text, other + ".t_items");
    QCOMPARE(node->Tag, QStringLiteral("Table"));
    QCOMPARE(node->ImageName, QStringLiteral("TABLE"));
    QCOMPARE(Keys(node->Children()), QStringList { "I" + id + "_tmp" });
    QCOMPARE(node->Children().FirstChild()->Tag, QStringLiteral("temp"));
    QCOMPARE(sink.retrieved, 1 + 2);
    QCOMPARE(sink.added, 1);
    QCOMPARE(sink.completed, 2);
    QCOMPARE(Texts(*tables->GetItemInfo(false)), (QStringList { "t_items", "t_items" }));

    // Both key forms reach the table; the type test agrees.
    KORVOTablePtr table = tables->Table("I" + id);
    QVERIFY(table);
    QCOMPARE(tables->Item(id), KORVODBObjectPtr(table));
    QVERIFY(tables->ObjectIsOfThisType("I" + id));
    QVERIFY(!tables->ObjectIsOfThisType("I0"));

    // The object's nodes: owner, fields with type and nullability, permissions, triggers.
    KORVODBTItemsPtr items = table->GetItemInfo(true);
    const QString f = "F" + id + "_field_";
    QCOMPARE(Keys(*items), (QStringList { "OWNER" + id, f + "1", f + "2", f + "3", "P" + id, "T" + id }));
    QCOMPARE(items->Item("OWNER" + id)->Text, owner);
    QCOMPARE(items->Item("OWNER" + id)->ImageName, QStringLiteral("OWNER"));
    const QStringList types = b->ColumnTypes();
    const QStringList names { "id", "label", "amount" };
    const QStringList nullability { "Not Nullable", "Nullable", "Not Nullable" };
    for (int n = 0; n < 3; ++n) {
        KORVODBTItemPtr field = items->Item(f + QString::number(n + 1));
        QCOMPARE(field->Text, names[n]);
        QCOMPARE(field->ImageName, QStringLiteral("FIELD"));
        QCOMPARE(Keys(field->Children()), (QStringList { field->Key + "_1", field->Key + "_2" }));
        QCOMPARE(Texts(field->Children()), (QStringList { types[n], nullability[n] }));
        QCOMPARE(field->Children().FirstChild()->ImageName, QStringLiteral("FIELDDATA"));
    }
    KORVODBTItemPtr permissions = items->Item("P" + id);
    QCOMPARE(permissions->Text, QStringLiteral("Permission"));
    QCOMPARE(permissions->Tag, QStringLiteral("Permission"));
    QCOMPARE(permissions->ImageName, QStringLiteral("PERMISSIONS"));
    QCOMPARE(Keys(permissions->Children()), QStringList { "P" + id + "_temp" });
    QCOMPARE(permissions->Children().FirstChild()->Tag, QStringLiteral("temp"));
    KORVODBTItemPtr triggers = items->Item("T" + id);
    QCOMPARE(triggers->Text, QStringLiteral("Triggers"));
    QCOMPARE(triggers->Tag, QStringLiteral("Triggers"));
    QCOMPARE(triggers->ImageName, QStringLiteral("TRIGGERS"));
    QCOMPARE(Keys(triggers->Children()), QStringList { "T" + id + "_tmp" });
    // Without the owner setting the owner node goes.
    QCOMPARE(table->GetItemInfo(false)->FirstChild()->Key, f + "1");
    QCOMPARE(table->GetFields(false)->Item(0)->Children().Count(), 2);

    // A table offers its permissions and nothing else.
    KORVOContextMenu expected;
    expected.DisplayName = QStringLiteral("t_items");
    expected.EditPermissions = true;
    QVERIFY(table->GetContextMenu(true) == expected);

    // An unchanged table refreshes under its key.
    KORVODBTItemPtr refreshed = table->Refresh(true);
    QCOMPARE(refreshed->Key, "I" + id);
    QCOMPARE(refreshed->Text, owner + ".t_items");
    QCOMPARE(refreshed->Tag, QStringLiteral("Table"));
    QCOMPARE(refreshed->ImageName, QStringLiteral("TABLE"));
    QVERIFY(refreshed->KeyChanged.isEmpty());
    QVERIFY(!refreshed->RemoveItem);
}

void TestTables::recreatedTableKeepsItsNode()
{
    KORVO_BACKEND(b);
    const QString owner = b->DefaultOwner();
    const QString other = b->MakeOtherOwner();
    const QString oldId = b->CreateTable(owner, QStringLiteral("t_orders"));
    b->CreateTable(other, QStringLiteral("t_orders"));
    auto tables = MakeTables(*b);
    bool cancel = false;
    tables->RefreshList(cancel);
    KORVOTablePtr table = tables->Table("I" + oldId);
    QVERIFY(table);

    b->DropTable(owner, QStringLiteral("t_orders"));
    const QString newId = b->CreateTable(owner, QStringLiteral("t_orders"));
    QVERIFY(newId != oldId);

    KORVODBTItemPtr item = table->Refresh(false);
    QVERIFY(!item->RemoveItem);
    QCOMPARE(item->KeyChanged, oldId);
    QCOMPARE(item->Key, "I" + newId); // the owner's table, not the other owner's
    QCOMPARE(item->Text, QStringLiteral("t_orders"));
    QCOMPARE(table->Owner(), owner);

    // The session then moves the object to its new key.
    tables->ChangeKey(item->KeyChanged);
    QCOMPARE(tables->Table(newId), table);
    QVERIFY(!tables->Table(oldId));
    QCOMPARE(tables->Count(), 2);
}

void TestTables::droppedTable()
{
    KORVO_BACKEND(b);
    const QString id = b->CreateTable(b->DefaultOwner(), QStringLiteral("t_gone"));
    auto tables = MakeTables(*b);
    bool cancel = false;
    tables->RefreshList(cancel);
    b->DropTable(b->DefaultOwner(), QStringLiteral("t_gone"));

    // A vanished table stays in the list until its own refresh reports it.
    tables->RefreshList(cancel);
    QVERIFY(tables->IsTable(id));
    KORVODBTItemPtr item = tables->Table(id)->Refresh(true);
    QVERIFY(item->RemoveItem);
    QCOMPARE(item->Key, "I" + id);
    tables->RemoveItem(item->Key);
    QVERIFY(!tables->IsTable(id));
    QCOMPARE(tables->Count(), 0);
}

void TestTables::cancelledRefresh()
{
    KORVO_BACKEND(b);
    b->CreateTable(b->DefaultOwner(), QStringLiteral("t_a"));
    b->CreateTable(b->DefaultOwner(), QStringLiteral("t_b"));
    auto tables = MakeTables(*b);
    Sink sink;
    sink.cancelRetrieve = true;
    tables->SetStatusSink(&sink);
    QVERIFY(!tables->GetItemInfo(false));
    QCOMPARE(sink.retrieved, 1);
    QCOMPARE(sink.completed, 0);
    QCOMPARE(tables->Count(), 0);
}

QTEST_GUILESS_MAIN(TestTables)
#include "test_tables.moc"
