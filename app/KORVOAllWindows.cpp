#include "KORVOAllWindows.h"

#include "frmSyncProcess.h"

bool KORVOAllWindows::Synchronise(QWidget *parent, KORVODatabase &session)
{
    frmSyncProcess window(*this, mHelp, parent);
    return window.StartSync(session);
}
