// platform/posix/name_fold.h - names of keys and values without their letter case.
#pragma once

#include "platform/text.h"

namespace platform {

// FoldUnit, with a short cut for the letters that nearly all names are made of.
inline char16_t FoldNameUnit(char16_t unit) {
    if (unit < 0x80) {
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
    }
    return FoldUnit(unit);
}

}  // namespace platform
