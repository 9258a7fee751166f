#include "support/windows/import.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace {

template <typename TRecord>
TRecord* At(DWORD offset) {
    auto* const image = reinterpret_cast<std::byte*>(GetModuleHandleW(nullptr));
    return reinterpret_cast<TRecord*>(image + offset);
}

const IMAGE_IMPORT_DESCRIPTOR* FirstLibrary() {
    const auto* const headers =
        At<IMAGE_NT_HEADERS>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
    return At<IMAGE_IMPORT_DESCRIPTOR>(
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
}

bool HasName(const IMAGE_THUNK_DATA& entry, std::string_view name) {
    return !IMAGE_SNAP_BY_ORDINAL(entry.u1.Ordinal) &&
           name == At<IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(entry.u1.AddressOfData))->Name;
}

}  // namespace

void** FindImport(const char* name) {
    for (const auto* library = FirstLibrary(); library->Name != 0; ++library) {
        const auto* entry = At<IMAGE_THUNK_DATA>(library->OriginalFirstThunk);
        auto* place = At<IMAGE_THUNK_DATA>(library->FirstThunk);
        for (; entry->u1.AddressOfData != 0; ++entry, ++place) {
            if (HasName(*entry, name)) {
                return reinterpret_cast<void**>(&place->u1.Function);
            }
        }
    }
    throw std::logic_error(std::string("nobody here calls ") + name);
}

void* ExchangeImport(void** place, void* function) {
    DWORD protection = 0;
    VirtualProtect(place, sizeof(*place), PAGE_READWRITE, &protection);
    void* const before = std::exchange(*place, function);
    VirtualProtect(place, sizeof(*place), protection, &protection);
    return before;
}
