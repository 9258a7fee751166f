#include "support/system.h"

bool RunsOnWindows() { return false; }

bool RunsInWine() { return false; }
