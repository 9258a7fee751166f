// platform/machine.h - the answers of the machine, which is the running or a described one.
//
// Nothing throws except std::bad_alloc. Safe on any thread after LoadMachine has returned.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// A special folder: the name of its token without percent signs, and its CSIDL number.
struct SSpecialFolder {
    const char16_t* name;
    int csidl;
};

// The special folders of this system. Of two tokens with the same path the earlier one is used.
extern const std::array<SSpecialFolder, 47> kSpecialFolders;

// The token name of the one special folder that has no CSIDL number.
extern const char16_t* const kLocalAppDataLowName;

// The environment variables of this system, in the same order of preference.
extern const std::array<const char16_t*, 14> kEnvironmentVariables;

struct SSystemVersion {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    bool isWorkstation = false;

    bool operator==(const SSystemVersion&) const = default;
};

// Loads the machine's answers; called at the start of each exported function. The machine
// description that ORVCASCONV_MACHINE names comes into effect: a file, or with "built-in" the
// built-in one. When it names none, the running Windows answers, and elsewhere the built-in
// description. Returns 0, or ERROR_INVALID_DATA when the file cannot be used; then `problem` says
// what is wrong, and where, and nothing changes.
[[nodiscard]] int LoadMachine(std::u16string& problem);

// Another number whenever another machine answers; never 0.
[[nodiscard]] std::uint64_t GetMachineGeneration();

// The path of a special folder, with long names; false when the machine has no such folder.
[[nodiscard]] bool GetSpecialFolder(int csidl, std::u16string& path);

// The path of the folder that kLocalAppDataLowName names; false when the machine has none.
[[nodiscard]] bool GetLocalAppDataLow(std::u16string& path);

// The Windows folder, with long names; false on failure.
[[nodiscard]] bool GetWindowsFolder(std::u16string& path);

// An environment variable, found ignoring case; false when it is not set.
[[nodiscard]] bool GetEnvironmentText(const char16_t* name, std::u16string& value);

// The version of Windows; all zero when it is not known.
[[nodiscard]] SSystemVersion GetSystemVersion();

// The locale's name, such as "en-US".
[[nodiscard]] std::u16string GetLocaleName();

// The SID of the process's user as text; empty when it is not available.
[[nodiscard]] std::u16string GetUserSid();

// The kernel names of the hives without a file ("\REGISTRY\MACHINE\HARDWARE").
[[nodiscard]] std::vector<std::u16string> GetVolatileHives();

}  // namespace platform
