#include "support/system.h"

#include <cstdlib>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

bool RunsOnWindows() { return false; }

bool RunsInWine() { return false; }

bool AnswersByWine() { return false; }

// What a folder without permissions holds can only be seen, and removed, once it has them again. A
// subfolder first moves to the top, so that no chain of them is too deep.
void RemoveTree(const fs::path& folder) {
    std::error_code ignored;
    std::vector<fs::path> folders = {folder};
    for (std::size_t i = 0; i < folders.size(); ++i) {
        fs::permissions(folders[i], fs::perms::owner_all, fs::perm_options::add, ignored);
        for (const fs::directory_entry& entry : fs::directory_iterator(folders[i], ignored)) {
            if (entry.is_directory(ignored) && !entry.is_symlink(ignored)) {
                folders.emplace_back(folder.native() + '-' + std::to_string(folders.size()));
                fs::permissions(entry, fs::perms::owner_all, fs::perm_options::add, ignored);
                fs::rename(entry, folders.back(), ignored);
            }
        }
        fs::remove_all(folders[i], ignored);
    }
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
