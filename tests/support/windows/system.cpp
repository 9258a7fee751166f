#include "support/system.h"

#include "platform/windows/win.h"

bool RunsInWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}
