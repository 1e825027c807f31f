// Names and texts a real database holds, however unfriendly: every statement
// carries them as data or as a quoted identifier, the server gets them whole,
// and what cannot be carried is refused before anything changes.
#include "test_backend.h"

#include "SQLParser.h"
#include "serverkinds/ServerKind.h"

#include <QDir>
#include <QTest>

#include <functional>

namespace
{

const QString Plain = QStringLiteral("Plain");

// Kinds of one test row, and whether each keeps the name whole.
struct Fits {
    bool postgreSQL, sqlServer;
};

void AddHostileNames()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("pgFits");
    QTest::addColumn<bool>("sqlServerFits");
    const auto row = [](const char *tag, const QString &name, Fits fits) {
        QTest::newRow(tag) << name << fits.postgreSQL << fits.sqlServer;
    };
    row("single quote", QStringLiteral("it's"), { true, true });
    row("literal break-out", QStringLiteral("x') DROP TABLE t --"), { true, true });
    row("double quote", QStringLiteral("say \"hi\""), { true, true });
    row("bracket break-out", QStringLiteral("a]; DROP TABLE t --"), { true, true });
    row("semicolon", QStringLiteral("a;b"), { true, true });
    row("line comment", QStringLiteral("a--b"), { true, true });
    row("block comment", QStringLiteral("a/*b*/"), { true, true });
    row("spaces and case", QStringLiteral("My Proc"), { true, true });
    row("non-ASCII", QStringLiteral("Ärger"), { true, true });
    row("emoji", QStringLiteral("fun😀"), { true, true });
    row("63 bytes", QString(63, QLatin1Char('n')), { true, true });
    row("64 bytes", QString(64, QLatin1Char('n')), { false, true });
    row("64 bytes in 32 letters", QString(32, QChar(0xE4)), { false, true });
    row("128 characters", QString(128, QLatin1Char('n')), { false, true });
    row("129 characters", QString(129, QLatin1Char('n')), { false, false });
}

// A statement with its quoted parts (literals, bracketed and double-quoted
// names) replaced by "Q"; the quoted parts, read back, in `inside`.
QString Structure(const QString &sql, bool brackets, QStringList *inside = nullptr)
{
    QString out;
    for (qsizetype i = 0; i < sql.size(); ++i) {
        const QChar c = sql.at(i);
        QChar close;
        if (c == QLatin1Char('\'') || c == QLatin1Char('"'))
            close = c;
        else if (brackets && c == QLatin1Char('['))
            close = QLatin1Char(']');
        if (close.isNull()) {
            out += c;
            continue;
        }
        QString value;
        qsizetype j = i + 1;
        for (; j < sql.size(); ++j) {
            if (sql.at(j) != close) {
                value += sql.at(j);
            } else if (j + 1 < sql.size() && sql.at(j + 1) == close) {
                value += close;
                ++j;
            } else {
                break;
            }
        }
        if (j >= sql.size())
            return out + QStringLiteral("<unterminated>");
        out += QLatin1Char('Q');
        if (inside)
            inside->append(value);
        i = j;
    }
    return out;
}

// Every statement builder that takes a name, with the name in every place it can go.
using Builder = std::function<QString(const ServerKind &, const QString &)>;
QList<QPair<QString, Builder>> Builders()
{
    QList<QPair<QString, Builder>> b;
    const auto routineAndTable = { ObjectClass::StoredProcedure, ObjectClass::Table };
    b.append({ "ObjectIDStatement", [](const ServerKind &k, const QString &n) {
                  return k.ObjectIDStatement(k.FormatName({}, n), k.FormatName({}, n));
              } });
    b.append({ "ObjectTextStatement",
        [](const ServerKind &k, const QString &n) { return k.ObjectTextStatement("7", k.FormatName(n, n)); } });
    b.append({ "DatabaseUserNameStatement", [](const ServerKind &k, const QString &n) {
                  return k.DatabaseUserNameStatement(KORVOSQL::sqlFMTOUT(n.toLower(), 0));
              } });
    for (ObjectClass cls : { ObjectClass::StoredProcedure, ObjectClass::View, ObjectClass::UserDefinedFunction,
             ObjectClass::Trigger, ObjectClass::Table }) {
        b.append({ "DropScript", [cls](const ServerKind &k, const QString &n) {
                      return k.DropScript(cls, n, n, [](const QString &) { return nullptr; });
                  } });
    }
    for (ObjectClass cls :
        { ObjectClass::StoredProcedure, ObjectClass::View, ObjectClass::UserDefinedFunction, ObjectClass::Trigger }) {
        b.append({ "ObjectLookupStatement", [cls](const ServerKind &k, const QString &n) {
                      return k.ObjectLookupStatement(cls, k.FormatName(n, n));
                  } });
        b.append({ "NameForText", [cls](const ServerKind &k, const QString &n) { return k.NameForText(cls, n, n); } });
        b.append({ "DBQueryByName", [cls](const ServerKind &k, const QString &n) {
                      const ServerKind::VersionedStatements s = k.VersionedObjectStatements(cls);
                      return s.DBQueryStart + s.DBQueryByName + KORVOSQL::sqlFMTOUT(n, 0) + s.DBQueryByOwner
                          + KORVOSQL::sqlFMTOUT(n, 0);
                  } });
    }
    for (ObjectClass cls : routineAndTable) {
        for (int value : { 0, 1, 2 }) {
            b.append({ "PermissionStatement", [cls, value](const ServerKind &k, const QString &n) {
                          const int action = cls == ObjectClass::Table ? 2 : 1;
                          return k.PermissionStatement(action, value, k.PermissionObjectName(n, n, cls), n);
                      } });
        }
        b.append({ "GranteeRightsStatement", [cls](const ServerKind &k, const QString &n) {
                      return k.GranteeRightsStatement(k.PermissionObjectName(n, n, cls), "7", cls, n);
                  } });
        b.append({ "ObjectRightsStatement", [cls](const ServerKind &k, const QString &n) {
                      return k.ObjectRightsStatement(k.PermissionObjectName(n, n, cls), "7", cls);
                  } });
    }
    b.append(
        { "KnownGranteeStatement", [](const ServerKind &k, const QString &n) { return k.KnownGranteeStatement(n); } });
    b.append({ "TableDBQueryByName", [](const ServerKind &k, const QString &n) {
                  const ServerKind::TableStatements s = k.TableObjectStatements();
                  return s.DBQueryByName + KORVOSQL::sqlFMTOUT(n, 0) + s.DBQueryByOwner + KORVOSQL::sqlFMTOUT(n, 0);
              } });
    return b;
}

QString Revision(const Backend &b)
{
    QString out;
    b.repo->Svn({ "info", "--show-item", "revision", b.repo->Url() }, &out);
    return out.trimmed();
}

QByteArray FileBytes(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

} // namespace

class TestHostile : public QObject, private BackendTest
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { TearDown(); }

    // Every statement builder of both kinds: the name stays inside its quotes,
    // so the statement has the shape it has for a plain name, and reads back.
    void statementBuilders_data() { AddHostileNames(); }
    void statementBuilders()
    {
        QFETCH(QString, name);
        QFETCH(bool, pgFits);
        QFETCH(bool, sqlServerFits);
        for (const auto &kind : { ServerKind::SQLServer(), ServerKind::PostgreSQL() }) {
            const bool brackets = kind->KindId() == ServerKind::Id::SQLServer;
            for (const auto &[what, build] : Builders()) {
                const QString hostile = build(*kind, name);
                const QString context = kind->Name() + QLatin1Char(' ') + what + QStringLiteral(": ") + hostile;
                // A name the kind writes without quotes is compared with a plain one of its own sort.
                const QString base = kind->QuoteIdentifier(name) == name ? Plain.toLower() : Plain;
                const QString plain = build(*kind, base);
                QStringList inside;
                QCOMPARE(Structure(hostile, brackets, &inside).replace(name, "N"),
                    Structure(plain, brackets).replace(base, "N"));
                if (hostile == plain)
                    continue; // the kind does not put the name into this statement
                // The name comes back out of a quoted part, out of a name written in one,
                // or stands unquoted where the kind needs no quotes for it.
                bool found = base != Plain && hostile.contains(name);
                for (const QString &part : inside)
                    found = found || part == name || part == name.toLower() || kind->SplitName(part).contains(name);
                QVERIFY2(found, qPrintable(context));
            }
            QCOMPARE(kind->NameLengthRefusal(name).isEmpty(), brackets ? sqlServerFits : pgFits);
        }
    }

    // The SQL Server statements as they stand, with only the quoting inside.
    void sqlServerStatements()
    {
        // The look-up of a procedure's id is in refreshLooksUpNamesAsData.
        const ServerKind &k = *ServerKind::SQLServer();
        QCOMPARE(k.DropScript(ObjectClass::View, "dbo", "a]'b", {}),
            "IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[a]]''b]') AND OBJECTPROPERTY(id, "
            "N'IsView') = 1) \r\n\t DROP VIEW [dbo].[a]]'b]");
        QCOMPARE(k.PermissionStatement(1, 1, k.PermissionObjectName("dbo", "p]", ObjectClass::StoredProcedure), "u]x"),
            "GRANT EXECUTE ON [dbo].[p]]] TO [u]]x]");
        QCOMPARE(k.NameForText(ObjectClass::View, "o]", "n"), "[o]]].[n]");
        QCOMPARE(k.SplitName("[o]]].[a]].b]"), QStringList({ "o]", "a].b" }));
    }

    // A password or name with the connection string's own characters stays one value.
    void connectionString_data()
    {
        QTest::addColumn<QString>("text");
        for (const char *text : { "plain", "pa;ss", "p}w{", "a=b;Uid=sa", " lead", "x}};y" })
            QTest::newRow(text) << QString::fromUtf8(text);
    }
    void connectionString()
    {
        QFETCH(QString, text);
        const QString cs = ServerKind::SQLServer()->CreateConnectionString("srv", text, text, text, false);
        const QMap<QString, QString> pairs = ScriptedSqlServer::ConnectionValues(cs);
        QCOMPARE(pairs.keys(), QStringList({ "database", "driver", "pwd", "server", "uid" }));
        QCOMPARE(pairs.value("pwd"), text);
        QCOMPARE(pairs.value("uid"), text);
        QCOMPARE(pairs.value("database"), text);
    }

    // Quoted names of both kinds come out of a text whole, and fold as the server does.
    void quotedNames_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QString>("pgName");
        const auto row = [](const char *tag, const QString &text, const QString &written, const QString &pgName) {
            QTest::newRow(tag) << text << written << pgName;
        };
        row("quote in quotes", "CREATE FUNCTION \"it's\"() RETURNS int", "\"it's\"", "it's");
        row("spaces", "create procedure \"my proc\" AS", "\"my proc\"", "my proc");
        row("comment mark", "CREATE VIEW public.\"a -- b\" AS SELECT 1", "public.\"a -- b\"", "a -- b");
        row("doubled quote", "CREATE VIEW \"say \"\"hi\"\"\" AS", "\"say \"\"hi\"\"\"", "say \"hi\"");
        row("bracket doubled", "CREATE PROCEDURE [dbo].[a]]; --x] AS", "[dbo].[a]]; --x]", "a]; --x");
        row("non-ASCII keeps case", "CREATE VIEW Ärger AS", "Ärger", "Ärger");
    }
    void quotedNames()
    {
        QFETCH(QString, text);
        QFETCH(QString, written);
        QFETCH(QString, pgName);
        const SQLKeywordPatterns keywords { { "CREATE", "PROCEDURE" }, { "CREATE", "VIEW" }, { "CREATE", "FUNCTION" } };
        QCOMPARE(ExtractNameAfterPattern(keywords, text), written);
        QCOMPARE(ServerKind::PostgreSQL()->SplitName(written).value(1), pgName);
    }

    // The whole life of a procedure of each name on PostgreSQL; a name the
    // server would cut short is refused before anything is made.
    void lifecyclePostgreSQL_data() { AddHostileNames(); }
    void lifecyclePostgreSQL()
    {
        QFETCH(QString, name);
        QFETCH(bool, pgFits);
        b = Backend::Make(QStringLiteral("PostgreSQL"));
        if (!b)
            QSKIP("no PostgreSQL");
        procs = b->Collection(ObjectClass::StoredProcedure);
        const ServerKind &k = b->sql->Kind();
        const auto text = [&](const QString &n, int body) {
            return QStringLiteral("CREATE PROCEDURE dbo.%1(p_a integer)\n LANGUAGE sql\nAS $$ SELECT %2 $$")
                .arg(k.QuoteIdentifier(n))
                .arg(body);
        };
        const auto serverName = [&](const QString &id) {
            auto rs = b->sql->OpenRecordset("SELECT proname::text AS n FROM pg_proc WHERE oid = " + id);
            return rs && !rs->Eof() ? rs->FieldText("n") : QString();
        };
        const auto procCount = [&] {
            auto rs = b->sql->OpenRecordset(
                "SELECT count(*)::int AS c FROM pg_proc p JOIN pg_namespace n ON n.oid = p.pronamespace "
                "WHERE n.nspname = 'dbo'");
            return rs->FieldText("c");
        };

        KORVOTypedObjectPtr o = procs->NewObject();
        if (!pgFits) {
            b->ExpectBox();
            QVERIFY(!o->CheckIn(text(name, 1), "created"));
            b->ExpectLastBox(UiServices::Icon::Critical, "Could not Check In Item", "~at most 63 bytes");
            QCOMPARE(procCount(), "0");
            QVERIFY(b->Files().isEmpty());
            return;
        }
        QVERIFY(o->CheckIn(text(name, 1), "created"));
        QCOMPARE(serverName(o->DBID()), name);
        QCOMPARE(o->Name(), name);
        const QString item = o->DBID() + ".sp";
        QVERIFY(b->Latest(item).contains("SELECT 1"));

        QVERIFY(o->CheckOut());
        QVERIFY(o->CheckIn(o->GetContent(2).replace("SELECT 1", "SELECT 2"), "changed"));
        QVERIFY(b->Latest(item).contains("SELECT 2"));
        QCOMPARE(serverName(o->DBID()), name);

        // Renaming to a name the server would cut is refused; a fitting one goes through.
        b->ExpectBox();
        QVERIFY(!o->RenameItem(QString(64, QLatin1Char('r')), false));
        b->ExpectLastBox(UiServices::Icon::Critical, "Rename Aborted", "~at most 63 bytes");
        QString renamed = name + QStringLiteral(" r'\"");
        while (renamed.toUtf8().size() > 63)
            renamed.remove(0, 1);
        QVERIFY(o->RenameItem(renamed, true));
        QCOMPARE(serverName(o->DBID()), renamed);
        QCOMPARE(procCount(), "1");
        QCOMPARE(b->Files(), QStringList { o->DBID() + ".sp" });
        QCOMPARE(k.SplitName(ExtractNameAfterPattern(
                                 k.CreatePatterns(ObjectClass::StoredProcedure), b->Latest(o->DBID() + ".sp")))
                     .value(1),
            renamed);

        QVERIFY(o->DeleteItem());
        QCOMPARE(procCount(), "0");
        QVERIFY(b->Files().isEmpty());
    }

    // Texts with NUL, a byte that is not UTF-8, mixed line ends and 2 MB,
    // through check-in and both directions of sync, on both kinds.
    void texts_data() { AddKindRows({ "NUL", "Latin-1 byte", "mixed line ends", "2 MB" }); }
    void texts()
    {
        QFETCH(QString, row);
        const QString &what = row;
        if (!SetUp())
            QSKIP("backend missing");
        const bool pg = b->IsPostgreSQL();
        const auto text = [&](const QString &name, const QString &inside) {
            return pg ? QStringLiteral("CREATE PROCEDURE dbo.%1()\n LANGUAGE sql\nAS $$ SELECT 1;%2SELECT 2 $$")
                            .arg(name, inside)
                      : QStringLiteral("CREATE PROCEDURE [dbo].[%1] AS SELECT 1%2SELECT 2").arg(name, inside);
        };

        if (what == QLatin1String("NUL")) {
            // Refused with a box that names it, at check-in and at sync; nothing is made.
            const QString nul = text("p_nul", QStringLiteral("\n-- a\0b\n"));
            KORVOTypedObjectPtr o = procs->NewObject();
            b->ExpectBox();
            QVERIFY(!o->CheckIn(nul, "created"));
            b->ExpectLastBox(UiServices::Icon::Critical, "Syntax Error",
                b->Pick("~NUL character (code 0) on line 4", "~NUL character (code 0) on line 2"));
            QVERIFY(!b->Exists("p_nul"));
            QVERIFY(b->AddFile("900001.sp", nul));
            KORVOTypedObjectPtr only = Refreshed("900001");
            QVERIFY(only && !only->InSQL());
            b->ExpectBox();
            QVERIFY(!only->SyncAdd(2));
            b->ExpectLastBox(UiServices::Icon::Critical, "Item not added", "~NUL character (code 0)");
            QVERIFY(!b->Exists("p_nul"));
            return;
        }

        if (what == QLatin1String("Latin-1 byte")) {
            // A file with a byte that is not UTF-8 is refused with a box, and
            // neither side is changed.
            const QString id = b->Versioned("p_latin");
            const QString item = id + ".sp";
            QVERIFY(b->vss->CheckOut(item, true));
            const QString local = b->vss->GetItemFileName(item);
            QByteArray bytes = FileBytes(local);
            bytes.replace("SELECT", "SELECT /* caf\xe9 */");
            {
                QFile f(local);
                QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
                f.write(bytes);
            }
            QVERIFY(b->vss->CheckIn(item, QString(), "latin-1", true)); // the file's bytes as they are
            const QString before = b->ServerText(id);
            const QString revision = Revision(*b);
            KORVOTypedObjectPtr o = Refreshed(id);
            QVERIFY(o);
            b->ui.setLenient(true);
            QVERIFY(!o->SyncChange(2));
            QVERIFY(!b->ui.boxes.isEmpty());
            QCOMPARE(b->ui.boxes.first().title, "Could not get Item Content");
            QVERIFY2(b->ui.boxes.first().text.contains("byte 0xe9"), qPrintable(b->ui.boxes.first().text));
            QCOMPARE(b->ServerText(id), before);
            QCOMPARE(Revision(*b), revision);
            QCOMPARE(FileBytes(local), bytes);
            return;
        }

        // Mixed line ends and a 2 MB text come through byte for byte.
        const QString inside = what == QLatin1String("2 MB")
            ? QStringLiteral("\n-- ") + QString(2 * 1024 * 1024, QLatin1Char('x')) + QStringLiteral(" end\n")
            : QStringLiteral("\r\n-- crlf\n-- lf\r-- cr\r\n\r");
        KORVOTypedObjectPtr o = procs->NewObject();
        QVERIFY(o->CheckIn(text("p_text", inside), "created"));
        const QString item = o->DBID() + ".sp";
        const QString local = b->vss->GetItemFileName(item);
        QVERIFY(b->ServerText(o->DBID()).contains(inside));
        QVERIFY(b->Latest(item).contains(inside));
        QVERIFY(FileBytes(local).contains(inside.toUtf8()));
        // Source control takes the server's text, and the server takes it back.
        QVERIFY(o->SyncChange(1));
        QVERIFY(o->SyncChange(2));
        QVERIFY(b->ServerText(o->DBID()).contains(inside));
        QVERIFY(b->Latest(item).contains(inside));
        QVERIFY(FileBytes(local).contains(inside.toUtf8()));
    }

    // Files that are not objects stay files: a note named after an object, a
    // name that reads as a number only to a float parser; a text that creates
    // nothing is not added to SQL.
    void filesThatAreNotObjects_data() { AddKindRows(); }
    void filesThatAreNotObjects()
    {
        if (!SetUp())
            QSKIP("backend missing");
        b->Create(ObjectClass::StoredProcedure, "abc");
        const QString genuine = b->Create(ObjectClass::StoredProcedure, "usp_y");
        QVERIFY(b->AddFile("abc.sp", "Notes about abc: ask before changing it."));
        QVERIFY(b->AddFile("1e3.sp", b->Text(ObjectClass::StoredProcedure, "p_float")));
        QVERIFY(b->AddFile("dbo.usp_y.sp", b->Text(ObjectClass::StoredProcedure, "usp_y")));
        QVERIFY(b->AddFile("900002.sp", "Just a note."));
        bool cancel = false;
        procs->RefreshList(cancel);
        QCOMPARE(b->Files("*.sp"), Sorted({ "1e3.sp", "900002.sp", "abc.sp", genuine + ".sp" }));
        QVERIFY(!procs->Object("1e3") && !procs->Object("1000"));
        KORVOTypedObjectPtr note = procs->Object("900002");
        QVERIFY(note && !note->InSQL());
        b->ExpectBox();
        QVERIFY(!note->SyncAdd(2));
        b->ExpectLastBox(UiServices::Icon::Critical, "Item not added", "~is not a CREATE statement");
    }

    // A file whose text names a break-out as the object's name is looked up as data.
    void refreshLooksUpNamesAsData()
    {
        b = Backend::Make(QStringLiteral("SQLServer"));
        QVERIFY(b);
        procs = b->Collection(ObjectClass::StoredProcedure);
        QVERIFY(b->AddFile("900003.sp", "CREATE PROCEDURE x') DROP TABLE t --' AS SELECT 1"));
        bool cancel = false;
        procs->RefreshList(cancel);
        QVERIFY(b->scripted->Refused.isEmpty());
        QVERIFY(b->scripted->Log.contains("SELECT id FROM sysobjects WHERE category <> 2 AND OBJECTPROPERTY(id, "
                                          "N'IsProcedure') = 1 AND id = OBJECT_ID(N'x'') DROP TABLE t --''')"));
    }
};

QTEST_GUILESS_MAIN(TestHostile)
#include "test_hostile.moc"
