#pragma once

// In-memory objects and types for the documentation generator's tests.
#include "DocGenObjects.h"
#include "DocGenSteps.h"
#include "SqlError.h"

#include <QStringList>

class TestObject : public DocGenObject
{
public:
    TestObject(const QString &name, const QString &owner, const QString &description = {},
        const QString &display = QStringLiteral("Stored Procedure"),
        const QString &middle = QStringLiteral("Parameters"))
        : mName(name)
        , mOwner(owner)
        , mDescription(description)
        , mDisplay(display)
        , mMiddle(middle)
    {
    }
    // Sub-items as "text=type" pairs.
    QStringList Items;

    QString Name() const override { return mName; }
    QString Owner() const override { return mOwner; }
    QString Description() const override { return mDescription; }
    QString ObjectDisplayName() const override { return mDisplay; }
    QString DocumentMiddleName() const override { return mMiddle; }
    KORVODBTItemsPtr GetItemInfo(bool, bool, bool) override
    {
        auto items = std::make_shared<KORVODBTItems>();
        for (const QString &pair : Items) {
            auto item = items->Add(pair.section(QLatin1Char('='), 0, 0));
            item->Text = item->Key;
            if (pair.contains(QLatin1Char('=')))
                item->Children().Add(QStringLiteral("t"))->Text = pair.section(QLatin1Char('='), 1);
        }
        return items;
    }

private:
    QString mName, mOwner, mDescription, mDisplay, mMiddle;
};

class TestSource : public DocGenSource
{
public:
    struct TypeData {
        Type type;
        DocGenCollection collection;
    };
    QList<TypeData> Data;
    // Reading the objects fails as on a server that went away.
    bool LoseConnection = false;

    // The four editable types, empty.
    TestSource()
    {
        Data = { { { "STOREDPROCEDURES", "Stored Procedures" }, { "Stored Procedures", {} } },
            { { "USERDEFINEDFUNCTIONS", "User Defined Functions" }, { "User Defined Functions", {} } },
            { { "VIEWS", "Views" }, { "Views", {} } }, { { "TRIGGERS", "Triggers" }, { "Triggers", {} } } };
    }
    std::shared_ptr<TestObject> Add(
        int type, const QString &name, const QString &owner = QStringLiteral("dbo"), const QString &description = {})
    {
        static const char *const display[] = { "Stored Procedure", "User Defined Function", "View", "Trigger" };
        static const char *const middle[] = { "Parameters", "Parameters", "Fields", "Type" };
        auto o = std::make_shared<TestObject>(
            name, owner, description, QLatin1String(display[type]), QLatin1String(middle[type]));
        Data[type].collection.Objects.append(o);
        return o;
    }
    QList<Type> GetItemsForDocGen() override
    {
        QList<Type> types;
        for (const auto &d : Data)
            types.append(d.type);
        return types;
    }
    DocGenCollection GetObjectObjects(const QString &key) override
    {
        if (LoseConnection) {
            SqlError lost(0, "libpq", "server closed the connection unexpectedly", "08006");
            lost.ConnectionLost = true;
            throw lost;
        }
        for (const auto &d : Data)
            if (d.type.Key == key)
                return d.collection;
        return {};
    }
};

// Keeps the steps as "key|text" and the step states, as the window shows them,
// and whether the progress ever went beyond its maximum.
class RecordingSteps : public DocGenSteps
{
public:
    QStringList Steps, States;
    int Current = 0;
    int Maximum = 1;
    bool Overrun = false;
    void AddStep(const QString &key, const QString &text) override
    {
        Steps << key + QLatin1Char('|') + text;
        States << QStringLiteral("Not Started");
    }
    void NextStep() override
    {
        if (Current > 0 && Current <= States.size())
            States[Current - 1] = QStringLiteral("Completed");
        if (++Current <= States.size())
            States[Current - 1] = QStringLiteral("Initialising");
    }
    void SetProgressMax(int maximum) override { Maximum = maximum > 0 ? maximum : 1; }
    void SetProgress(int value, const QString &) override { Overrun = Overrun || value > Maximum; }
};
