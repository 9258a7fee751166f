#include "platform/com.h"

#include "platform/win.h"
// Needs windows.h before it.
#include <objbase.h>

namespace platform {

namespace {

constexpr std::size_t kGuidLength = 38;  // units, with both braces

// How many of this thread's open EnterApartment calls COM has refused, because the host had set the
// thread up in another way. Their LeaveApartment must not end what the host began. Calls are
// nested, so it does not matter which of them was refused.
thread_local int s_refused = 0;

}  // namespace

bool CreateGuid(GUID& guid) {
    GUID created;
    if (CoCreateGuid(&created) != S_OK) {
        return false;
    }
    guid = created;
    return true;
}

std::u16string GuidToText(const GUID& guid) {
    // The text is COM's memory, which its reader frees.
    wchar_t* buffer = nullptr;
    if (StringFromIID(guid, &buffer) != S_OK) {
        return {};
    }
    std::u16string text(FromWide(buffer));
    CoTaskMemFree(buffer);
    return text;
}

bool TextToGuid(std::u16string_view text, GUID& guid) {
    // IIDFromString takes a null text for a GUID of zeros.
    if (text.size() != kGuidLength) {
        return false;
    }
    GUID read;
    if (IIDFromString(ToWide(std::u16string(text).c_str()), &read) != S_OK) {
        return false;
    }
    guid = read;
    return true;
}

void* AllocateForCaller(std::size_t size) { return CoTaskMemAlloc(size); }

// COM counts successful calls, and each of them needs one call that ends it. So only the refused
// ones are counted here.
void EnterApartment() {
    if (FAILED(CoInitialize(nullptr))) {
        ++s_refused;
    }
}

void LeaveApartment() {
    if (s_refused > 0) {
        --s_refused;
    } else {
        CoUninitialize();
    }
}

}  // namespace platform
