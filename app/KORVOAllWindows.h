#pragma once

#include "KORVOWindows.h"

// The real windows behind the shell's window-opener interface. Each window
// library adds its opener here.
class KORVOAllWindows : public KORVOWindows
{
public:
    void ScriptGenerator(QWidget *parent, KORVODatabase &session) override;
};
