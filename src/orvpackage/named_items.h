// orvpackage/named_items.h - items that are a plain name, which no converter touches.
#pragma once

#include "orvpackage/content_items.h"

struct SOrvName {
    CStrW name;

    [[nodiscard]] static SAttributes<SOrvName> GetAttributes();
    [[nodiscard]] bool IsValid() const { return !name.IsEmpty(); }
};
