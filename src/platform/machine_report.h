// platform/machine_report.h - the answers of a machine as a record, and as the text of a machine
// description (TOML in UTF-8).
//
// Nothing throws except std::bad_alloc.
#pragma once

#include <functional>
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

// The answers of the operations in machine.h. A text that the machine does not know is empty.
struct SMachineAnswers {
    SSystemVersion version;
    std::u16string locale;
    std::u16string windowsFolder;
    std::u16string userSid;
    std::map<std::u16string, std::u16string, std::less<>> folders;  // by the name of the token
    std::map<std::u16string, std::u16string, SNameLess> environment;
    std::vector<std::u16string> volatileHives;

    bool operator==(const SMachineAnswers&) const = default;
};

class CMachineAnswers;

// Asks a machine everything that machine.h has a name for.
[[nodiscard]] SMachineAnswers AskMachine(const CMachineAnswers& machine);

// The answers as a machine description. Equal answers give equal bytes on every system.
[[nodiscard]] std::string FormatAnswers(const SMachineAnswers& answers);

// One line of a machine description, with quotes where they are needed.
[[nodiscard]] std::string FormatRow(std::string_view key, std::string_view value);

// The machine in effect as a machine description. That of the running Windows has the answers of
// AskMachine, and the drives and shares of the built-in machine, which have no meaning on Windows.
[[nodiscard]] std::string DescribeMachine();

}  // namespace platform
