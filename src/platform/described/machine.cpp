#include "platform/machine.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <utility>

#include "platform/described/machine_description.h"
#include "platform/status.h"
#include "platform/utf8.h"

namespace platform {

namespace {

using Description = std::shared_ptr<const SMachineDescription>;

struct SState {
    Description used;    // by UseMachineDescription
    Description loaded;  // by LoadMachine
    std::atomic<std::uint64_t> generation = 1;
};

SState& State() {
    static SState state;
    return state;
}

// An empty text stands for an answer that the machine does not give.
bool Answer(const std::u16string& text, std::u16string& result) {
    if (text.empty()) {
        return false;
    }
    result = text;
    return true;
}

template <class TMap>
bool LookUp(const TMap& map, std::u16string_view name, std::u16string& result) {
    const auto found = map.find(name);
    if (found == map.end()) {
        return false;
    }
    result = found->second;
    return true;
}

}  // namespace

const SMachineDescription& GetMachineDescription() {
    const SState& state = State();
    return state.used ? *state.used : state.loaded ? *state.loaded : GetBuiltInMachine();
}

std::uint64_t GetMachineGeneration() { return State().generation; }

Description UseMachineDescription(Description description) {
    SState& state = State();
    std::swap(state.used, description);
    ++state.generation;
    return description;
}

int LoadMachine(std::u16string& problem) {
    SState& state = State();
    if (state.used) {
        return ERROR_SUCCESS;
    }
    const char* const file = std::getenv("ORVCASCONV_MACHINE");
    Description loaded;
    if (file != nullptr && *file != 0) {
        auto read = std::make_shared<SMachineDescription>();
        if (!ReadMachineDescription(file, *read, problem)) {
            return SetLastError(ERROR_INVALID_DATA);
        }
        loaded = std::move(read);
    }
    const SMachineDescription& former = GetMachineDescription();
    if (former == (loaded ? *loaded : GetBuiltInMachine())) {
        return ERROR_SUCCESS;
    }
    state.loaded = std::move(loaded);
    ++state.generation;
    return ERROR_SUCCESS;
}

bool GetSpecialFolder(int csidl, std::u16string& path) {
    const auto row = std::find_if(kSpecialFolders.begin(), kSpecialFolders.end(),
                                  [csidl](const SSpecialFolder& f) { return f.csidl == csidl; });
    return row != kSpecialFolders.end() && LookUp(GetMachineDescription().folders, row->name, path);
}

bool GetLocalAppDataLow(std::u16string& path) {
    return LookUp(GetMachineDescription().folders, kLocalAppDataLowName, path);
}

bool GetWindowsFolder(std::u16string& path) {
    return Answer(GetMachineDescription().windowsFolder, path);
}

bool GetEnvironmentText(const char16_t* name, std::u16string& value) {
    return LookUp(GetMachineDescription().environment, name, value);
}

SSystemVersion GetSystemVersion() { return GetMachineDescription().version; }

std::u16string GetLocaleName() { return GetMachineDescription().locale; }

std::u16string GetUserSid() { return GetMachineDescription().userSid; }

std::vector<std::u16string> GetVolatileHives() { return GetMachineDescription().volatileHives; }

std::string FormatMachineDescription(const SMachineDescription& description) {
    std::string toml = FormatAnswers(description) + "\n[drives]\n";
    for (const auto& [letter, folder] : description.drives) {
        toml += FormatRow(Utf16ToUtf8(std::u16string{letter, u':'}), folder);
    }
    toml += "\n[shares]\n";
    for (const auto& [root, folder] : description.shares) {
        toml += FormatRow(Utf16ToUtf8(root), folder);
    }
    return toml;
}

std::string DescribeMachine() { return FormatMachineDescription(GetMachineDescription()); }

}  // namespace platform
