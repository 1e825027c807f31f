#pragma once

#include <QString>

class KORVODatabase;

// What opening a project asks of the main window. The shell implements it.
class KORVOMainWindow
{
public:
    virtual ~KORVOMainWindow() = default;

    virtual void Init(KORVODatabase *database) = 0;
    virtual void SetLoading(bool loading) = 0;
    virtual void Hide() = 0;
    virtual void Show() = 0;
    virtual void SetCaption(const QString &caption) = 0;
    virtual void InitDBT(long widthTwips) = 0;
    virtual void SetHeightTwips(long height) = 0;
    virtual void SetWidthTwips(long width) = 0;
    // 0 normal, 2 maximised.
    virtual void SetWindowState(long state) = 0;
    virtual void SetDatabaseTreeVisible(bool visible) = 0;
    virtual void SetExtraPanelVisible(bool visible) = 0;
    virtual void doTrmResize() = 0;
    virtual void CheckProjectSyncInfo() = 0;
};
