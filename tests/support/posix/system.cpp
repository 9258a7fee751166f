#include "support/system.h"

#include <cstdlib>
#include <system_error>

namespace fs = std::filesystem;

bool RunsOnWindows() { return false; }

bool RunsInWine() { return false; }

bool AnswersByWine() { return false; }

void RemoveTree(const fs::path& folder) {
    std::error_code ignored;
    // What a folder without permissions holds can only be seen, and removed, once it has them
    // again.
    for (fs::recursive_directory_iterator entry(folder, ignored), end; entry != end;
         entry.increment(ignored)) {
        if (!entry->is_symlink(ignored)) {
            fs::permissions(entry->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
        }
    }
    fs::remove_all(folder, ignored);
}

void FreeAsHost(void* memory) { std::free(memory); }

void SetEnvironment(const std::string& name, const std::string& value) {
    if (value.empty()) {
        unsetenv(name.c_str());
    } else {
        setenv(name.c_str(), value.c_str(), 1);
    }
}

bool RemovePrivilege(const char16_t* /*name*/) { return false; }
