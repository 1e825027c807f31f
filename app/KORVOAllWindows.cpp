#include "KORVOAllWindows.h"

#include "frmScriptCreator.h"

void KORVOAllWindows::ScriptGenerator(QWidget *parent, KORVODatabase &session)
{
    frmScriptCreator::StartScriptGenerator(session, nullptr, parent);
}
