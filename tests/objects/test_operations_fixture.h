#pragma once

// The two sides for the tests of the object operations: a database of either
// kind and a Subversion project, a table t_ops for triggers, texts of the four
// types in the server's dialect, and ways to make one step of an operation fail
// (a repository that refuses commits, a scripted statement that fails).

#include "KORVOVSSItems.h"
#include "KORVOVersionedObjects.h"
#include "ScriptedSqlServerTables.h"
#include "test_objects_backend.h"

#include <QFile>
#include <QTest>

#include <memory>

class OpsFixture
{
public:
    std::unique_ptr<ObjectsBackend> b;
    ScriptedSqlServer *scripted = nullptr;

    bool Open(const QString &kind)
    {
        QString why;
        b = ObjectsBackend::Make(kind, why);
        if (!b) {
            qWarning("%s", qPrintable(why));
            return false;
        }
        if (auto *ss = dynamic_cast<SqlServerObjectsBackend *>(b.get())) {
            scripted = &ss->server;
            AddTableAndPermissionStatements(*scripted);
            b->sql->ExecuteSQL(QStringLiteral("CREATE TABLE [dbo].[t_ops] (id int NOT NULL)"));
        } else {
            b->sql->ExecuteSQL(QStringLiteral("CREATE TABLE dbo.t_ops (id integer NOT NULL)"));
            b->sql->ExecuteSQL(QStringLiteral("CREATE FUNCTION dbo.ops_trg_fn() RETURNS trigger LANGUAGE plpgsql "
                                              "AS $$ BEGIN RETURN NEW; END $$"));
        }
        return true;
    }
    bool IsPostgreSQL() const { return !scripted; }
    ScriptedUi &Ui() { return b->ui; }

    // A CREATE text of the type; variant 1..3 changes its body (a trigger's event).
    QString Text(ObjectClass cls, const QString &name, int variant = 1) const
    {
        static const QStringList events { QStringLiteral("INSERT"), QStringLiteral("UPDATE"),
            QStringLiteral("DELETE") };
        const QString event = events.value(variant - 1);
        if (IsPostgreSQL()) {
            switch (cls) {
            case ObjectClass::StoredProcedure:
                return QStringLiteral("CREATE PROCEDURE dbo.%1(p_a integer)\n LANGUAGE sql\nAS $$ SELECT %2 $$")
                    .arg(name)
                    .arg(variant);
            case ObjectClass::UserDefinedFunction:
                return QStringLiteral("CREATE FUNCTION dbo.%1(p_a integer) RETURNS integer LANGUAGE sql AS $$ "
                                      "SELECT %2 $$")
                    .arg(name)
                    .arg(variant);
            case ObjectClass::View:
                return QStringLiteral("CREATE VIEW dbo.%1 AS SELECT %2 AS a").arg(name).arg(variant);
            case ObjectClass::Trigger:
                return QStringLiteral("CREATE TRIGGER %1 AFTER %2 ON dbo.t_ops FOR EACH ROW EXECUTE FUNCTION "
                                      "dbo.ops_trg_fn()")
                    .arg(name, event);
            default:
                return QString();
            }
        }
        switch (cls) {
        case ObjectClass::StoredProcedure:
            return QStringLiteral("CREATE PROCEDURE [dbo].[%1] @a int AS SELECT %2").arg(name).arg(variant);
        case ObjectClass::UserDefinedFunction:
            return QStringLiteral("CREATE FUNCTION [dbo].[%1] (@a int) RETURNS int AS BEGIN RETURN (SELECT %2) END")
                .arg(name)
                .arg(variant);
        case ObjectClass::View:
            return QStringLiteral("CREATE VIEW [dbo].[%1] AS SELECT %2 AS a").arg(name).arg(variant);
        case ObjectClass::Trigger:
            return QStringLiteral("CREATE TRIGGER [dbo].[%1] ON [dbo].[t_ops] AFTER %2 AS SELECT 1").arg(name, event);
        default:
            return QString();
        }
    }
    // What the server's text of a variant shows of it.
    static QString Marker(ObjectClass cls, int variant)
    {
        static const QStringList events { QStringLiteral("INSERT"), QStringLiteral("UPDATE"),
            QStringLiteral("DELETE") };
        if (cls == ObjectClass::Trigger)
            return QStringLiteral("AFTER ") + events.value(variant - 1);
        return QStringLiteral("SELECT %1").arg(variant);
    }
    static QString Ext(ObjectClass cls) { return ObjectTypeInfo(cls).VSSExt; }

    std::shared_ptr<KORVOVersionedObjects> Collection(ObjectClass cls) const
    {
        std::shared_ptr<KORVOVersionedObjects> c;
        switch (cls) {
        case ObjectClass::StoredProcedure:
            c = std::make_shared<KORVOStoredProcedures>();
            break;
        case ObjectClass::View:
            c = std::make_shared<KORVOViews>();
            break;
        case ObjectClass::UserDefinedFunction:
            c = std::make_shared<KORVOUserDefinedFunctions>();
            break;
        default:
            c = std::make_shared<KORVOTriggers>();
            break;
        }
        c->SetActiveDBConnection(b->sql);
        c->SetActiveVSSConnection(b->vss);
        c->SetIcons(std::make_shared<KORVOIcons>());
        return c;
    }

    // A new object checked in through its collection, which keeps it.
    KORVOTypedObjectPtr CheckedIn(KORVOVersionedObjects &c, ObjectClass cls, const QString &name, int variant = 1)
    {
        KORVOTypedObjectPtr o = c.NewObject();
        if (!o->CheckIn(Text(cls, name, variant), QStringLiteral("created")))
            return nullptr;
        return o;
    }

    QString Id(const QString &name) { return b->sql->GetObjectID(name, QStringLiteral("dbo")); }
    bool Exists(const QString &name) { return !Id(name).isEmpty(); }
    QString ServerText(const QString &id) { return b->sql->GetObjectText(id); }
    // The latest checked-in text, whoever holds the check-out.
    QString Latest(const QString &item) { return b->vss->ItemContent(item, false, -1, true, false); }
    QString CheckedOutBy(const QString &item) { return b->vss->CheckedOutBy(item); }
    QStringList Files() { return b->Files(); }

    // Objects of a compile test that stayed behind.
    QStringList TemporaryObjects()
    {
        QStringList names;
        if (scripted) {
            for (const auto &o : scripted->database(b->Database()).Objects) {
                if (o.Name.startsWith(QLatin1String("sptmp_")))
                    names.append(o.Name);
            }
            return names;
        }
        const auto rs = b->sql->OpenRecordset(QStringLiteral(
            "SELECT proname AS name FROM pg_proc WHERE proname LIKE 'sptmp%' UNION ALL SELECT relname FROM pg_class "
            "WHERE relname LIKE 'sptmp%' UNION ALL SELECT tgname FROM pg_trigger WHERE tgname LIKE 'sptmp%'"));
        for (; rs && !rs->Eof(); rs->MoveNext())
            names.append(rs->FieldText(QStringLiteral("name")));
        return names;
    }

    // The repository refuses every commit while on (a pre-commit hook).
    void RefuseCommits(bool on)
    {
        const QString hook = b->repo->Path() + QStringLiteral("/hooks/pre-commit");
        if (!on) {
            QFile::remove(hook);
            return;
        }
        QFile file(hook);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("#!/bin/sh\necho 'commits are closed' >&2\nexit 1\n");
        file.close();
        file.setPermissions(file.permissions() | QFileDevice::ExeOwner | QFileDevice::ExeUser);
    }

    // Scripted server only: statements matching the pattern fail as a server
    // error would.
    void FailStatements(const QString &pattern, const QString &message)
    {
        QVERIFY(scripted);
        scripted->addStatement(
            pattern,
            [message](ScriptedSqlServer::Call &) -> BatchResult { throw ScriptedSqlServer::serverError(102, message); },
            QRegularExpression::CaseInsensitiveOption);
    }

    // The box the test expects next is answered with OK.
    void ExpectBox() { Ui().answer(UiServices::Answer::Ok); }
};

inline void AddKindAndTypeRows()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("cls");
    for (const QString &kind : { QStringLiteral("PostgreSQL"), QStringLiteral("SQLServer") }) {
        QTest::newRow(qPrintable(kind + QStringLiteral(" procedure"))) << kind << int(ObjectClass::StoredProcedure);
        QTest::newRow(qPrintable(kind + QStringLiteral(" view"))) << kind << int(ObjectClass::View);
        QTest::newRow(qPrintable(kind + QStringLiteral(" function"))) << kind << int(ObjectClass::UserDefinedFunction);
        QTest::newRow(qPrintable(kind + QStringLiteral(" trigger"))) << kind << int(ObjectClass::Trigger);
    }
}
