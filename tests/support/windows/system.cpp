#include "support/system.h"

#include "platform/windows/win.h"

bool RunsOnWindows() { return true; }

bool RunsInWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}
