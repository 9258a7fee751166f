// platform/machine_report.h - a machine's answers as a record, and as the text of a machine
// description.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/machine.h"

namespace platform {

// An order of names that ignores letter case.
struct SNameLess {
    using is_transparent = void;
    bool operator()(std::u16string_view left, std::u16string_view right) const;
};

// What the operations of machine.h answer. A text that the machine does not know is empty.
struct SMachineAnswers {
    SSystemVersion version;
    std::u16string locale;
    std::u16string windowsFolder;
    std::u16string userSid;
    std::map<std::u16string, std::u16string, std::less<>> folders;  // by token name
    std::map<std::u16string, std::u16string, SNameLess> environment;
    std::vector<std::u16string> volatileHives;

    bool operator==(const SMachineAnswers&) const = default;
};

}  // namespace platform
