#include "platform/described/description_in_effect.h"

#include <atomic>
#include <filesystem>
#include <utility>

#include "platform/local_paths.h"
#include "platform/status.h"

namespace platform {

namespace {

// In the place of a file's name. A file that is called so can be reached as "./built-in".
constexpr const char* kBuiltInName = "built-in";

using Description = std::shared_ptr<const SMachineDescription>;

// INVARIANT: `generation` grows whenever another description comes into effect, and not otherwise.
// Whoever keeps something that follows from a description compares the number.
// Threads: only the thread that calls the library changes this, and while no walk runs. Walks and
// their helpers read it.
struct SState {
    Description used;    // by UseMachineDescription
    Description loaded;  // by LoadMachineDescription
    std::atomic<std::uint64_t> generation = 1;
};

SState& State() {
    static SState state;
    return state;
}

// By content, because each call reads the file anew. Two nulls are the same too: no description was
// in effect, and none is.
bool IsSame(const Description& left, const Description& right) {
    return left && right ? *left == *right : left == right;
}

}  // namespace

const SMachineDescription& GetMachineDescription() {
    const SState& state = State();
    return state.used ? *state.used : state.loaded ? *state.loaded : GetBuiltInMachine();
}

bool IsMachineDescribed() { return State().used || State().loaded; }

std::uint64_t GetMachineGeneration() { return State().generation; }

Description UseMachineDescription(Description description) {
    SState& state = State();
    std::swap(state.used, description);
    ++state.generation;
    return description;
}

int LoadMachineDescription(std::u16string& problem) {
    SState& state = State();
    // A description that a test has put in effect stays, whatever the variable names.
    if (state.used) {
        return ERROR_SUCCESS;
    }
    const std::filesystem::path file = GetPathVariable("ORVCASCONV_MACHINE");
    Description loaded;
    if (file == kBuiltInName) {
        loaded = std::make_shared<SMachineDescription>(GetBuiltInMachine());
    } else if (!file.empty()) {
        auto read = std::make_shared<SMachineDescription>();
        if (!ReadMachineDescription(file, *read, problem)) {
            return SetLastError(ERROR_INVALID_DATA);
        }
        loaded = std::move(read);
    }
    // With an unchanged description all that was answered from it stays true, so converters and
    // caches are not made again for each call.
    if (!IsSame(state.loaded, loaded)) {
        state.loaded = std::move(loaded);
        ++state.generation;
    }
    return ERROR_SUCCESS;
}

}  // namespace platform
