#pragma once

#include "KORVOWindows.h"

class HelpIntegration;

// The real windows behind the shell's window-opener interface. Each window
// library adds its opener here.
class KORVOAllWindows : public KORVOWindows
{
public:
    // The program's one help object, for F1 in the windows; may be null.
    explicit KORVOAllWindows(HelpIntegration *help = nullptr)
        : mHelp(help)
    {
    }

    void DocumentGenerator(QWidget *parent, KORVODatabase &session) override;

private:
    HelpIntegration *mHelp;
};
