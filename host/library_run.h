// host/library_run.h - one call of the library that converts, with its progress on stderr.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "host/command_line.h"

namespace host {

struct SLibraryCall {
    std::u16string profile;
    std::u16string pattern;  // FOLDER\NAME for the manifests
    std::u16string log;
    std::filesystem::path record;
    bool isFullRecord = false;  // otherwise only what is lost or missing
    bool isCheck = false;       // reads everything and writes nothing but log and record
    EProgressStyle progress = EProgressStyle::Auto;
};

struct SLibraryResult {
    std::uint32_t status = 0;
    std::size_t targetCount = 0;
    std::vector<std::u16string> converted;  // GUIDs, in the order of the profile
};

// Has the library convert. A signal may end the process between two steps: see CInterruption. One
// call at a time.
[[nodiscard]] SLibraryResult RunLibrary(const SLibraryCall& call);

}  // namespace host
