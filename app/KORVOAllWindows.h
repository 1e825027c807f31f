#pragma once

#include "KORVOWindows.h"

class HelpIntegration;

// The real windows behind the shell's window-opener interface. Each window
// library adds its opener here.
class KORVOAllWindows : public KORVOWindows
{
public:
    explicit KORVOAllWindows(HelpIntegration *help = nullptr)
        : mHelp(help)
    {
    }

    bool Synchronise(QWidget *parent, KORVODatabase &session) override;

private:
    HelpIntegration *mHelp;
};
