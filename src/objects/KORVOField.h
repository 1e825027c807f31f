#pragma once

#include <QString>

#include <memory>

class KORVOFields;

// A column or parameter as a small tree: the name, and below it its type and
// nullability texts.
class KORVOField
{
public:
    explicit KORVOField(const QString &name = {});

    QString Name;
    QString Icon;
    // Carried for callers that attach an action to a field; nothing here reads it.
    QString ExtraFunction;

    KORVOFields &Children() { return *mChildren; }
    const KORVOFields &Children() const { return *mChildren; }

private:
    std::shared_ptr<KORVOFields> mChildren;
};

using KORVOFieldPtr = std::shared_ptr<KORVOField>;
