#include "KORVOAllWindows.h"
