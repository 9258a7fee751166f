#include "platform/machine_report.h"

#include <algorithm>

#include "platform/text.h"

namespace platform {

bool SNameLess::operator()(std::u16string_view left, std::u16string_view right) const {
    return std::lexicographical_compare(
        left.begin(), left.end(), right.begin(), right.end(),
        [](char16_t a, char16_t b) { return FoldUnit(a) < FoldUnit(b); });
}

}  // namespace platform
