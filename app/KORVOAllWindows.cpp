#include "KORVOAllWindows.h"

#include "DocGenProject.h"
#include "KORVODatabase.h"
#include "frmDocumentGenerationStart.h"

void KORVOAllWindows::DocumentGenerator(QWidget *parent, KORVODatabase &session)
{
    if (!session.Project())
        return;
    const auto source = MakeSessionSource(session);
    frmDocumentGenerationStart start(
        *source, session.Ui(), mHelp, DocGenProject::SettingsPath(session.Project()->Name), parent);
    start.exec();
}
