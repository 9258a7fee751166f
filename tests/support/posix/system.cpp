#include "support/system.h"

bool RunsInWine() { return false; }
