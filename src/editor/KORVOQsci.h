#pragma once

// QScintilla's headers use Qt's "signals" and "slots", which the build switches off.
#ifndef signals
#define signals Q_SIGNALS
#define slots Q_SLOTS
#define KORVO_QSCI_KEYWORDS
#endif
#include <Qsci/qscilexersql.h>
#include <Qsci/qsciscintilla.h>
#ifdef KORVO_QSCI_KEYWORDS
#undef signals
#undef slots
#undef KORVO_QSCI_KEYWORDS
#endif
