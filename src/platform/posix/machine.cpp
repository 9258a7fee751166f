#include "platform/machine.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "platform/posix/machine_description.h"
#include "platform/status.h"

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

int LoadMachine(std::u16string& /*problem*/) { return ERROR_SUCCESS; }

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

}  // namespace platform
