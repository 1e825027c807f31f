#include "KORVOObjectTypes.h"

#include "sql/KORVOSQL.h"

#include <stdexcept>

const KORVOObjectTypeInfo &ObjectTypeInfo(ObjectClass cls)
{
    static const KORVOObjectTypeInfo storedProcedure { ObjectClass::StoredProcedure, QStringLiteral("StoredProcedure"),
        QStringLiteral("Stored Procedure"), QStringLiteral("StoredProcedures"), QStringLiteral(".sp"),
        QStringLiteral("STOREDPROCEDURE:"), QStringLiteral("Parameters"), true, true, false, QString(),
        QStringLiteral("StoredProcedures"), QStringLiteral("Stored Procedures"), QStringLiteral("STOREDPROCEDURES"),
        true };
    static const KORVOObjectTypeInfo view { ObjectClass::View, QStringLiteral("View"), QStringLiteral("View"),
        QStringLiteral("Views"), QStringLiteral(".vw"), QStringLiteral("VIEW:"), QStringLiteral("Fields"), true, false,
        false, QString(), QStringLiteral("Views"), QStringLiteral("Views"), QStringLiteral("VIEWS"), true };
    static const KORVOObjectTypeInfo trigger { ObjectClass::Trigger, QStringLiteral("Trigger"),
        QStringLiteral("Trigger"), QStringLiteral("Triggers"), QStringLiteral(".trg"), QStringLiteral("TRIGGER:"),
        QStringLiteral("Type"), false, false, false, QString(), QStringLiteral("Triggers"), QStringLiteral("Triggers"),
        QStringLiteral("TRIGGERS"), false };
    static const KORVOObjectTypeInfo function { ObjectClass::UserDefinedFunction, QStringLiteral("UserDefinedFunction"),
        QStringLiteral("User Defined Function"), QStringLiteral("UserDefinedFunctions"), QStringLiteral(".udf"),
        QStringLiteral("USERDEFINEDFUNCTION:"), QStringLiteral("Parameters"), true, false, true,
        QStringLiteral("(Return Value)"), QStringLiteral("UserDefinedFunctions"),
        QStringLiteral("User Defined Functions"), QStringLiteral("USERDEFINEDFUNCTIONS"), true };
    switch (cls) {
    case ObjectClass::StoredProcedure:
        return storedProcedure;
    case ObjectClass::View:
        return view;
    case ObjectClass::Trigger:
        return trigger;
    case ObjectClass::UserDefinedFunction:
        return function;
    case ObjectClass::Table:
        break;
    }
    throw std::invalid_argument("tables are not versioned objects");
}

const ServerKind &ServerKindOf(const std::shared_ptr<KORVOSQL> &sql)
{
    return sql ? sql->Kind() : *ServerKind::SQLServer();
}
