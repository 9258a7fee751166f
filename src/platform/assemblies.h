// platform/assemblies.h - asks the machine where an assembly is installed, and which files are
// assemblies.
//
// Nothing throws except std::bad_alloc. One thread at a time.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace platform {

class CAssemblyStore;

// The machine's store of side-by-side assemblies and its reader of managed assemblies, from Open to
// Close. A described machine has its store in a folder of its Windows folder. On the running
// Windows, Open loads the system libraries and Close frees them; in between the thread has COM, so
// the store must be closed on the thread that opened it. The destructor closes it.
class CAssemblyCache {
public:
    CAssemblyCache();
    ~CAssemblyCache();
    CAssemblyCache(const CAssemblyCache&) = delete;
    CAssemblyCache& operator=(const CAssemblyCache&) = delete;

    // Opens the machine's store in its present state and closes any former one. False when there is
    // no store, for example on a described machine whose Windows folder is not on this machine.
    [[nodiscard]] bool Open();
    void Close();

    // Finds where the assembly of an identity is installed; false, with `place` unchanged, when the
    // machine does not have it. An identity has the form `name,type="win32",version="1.0.0.0"`. The
    // place is a folder, which may end in a backslash, or the manifest of an assembly without other
    // files.
    [[nodiscard]] bool FindAssembly(std::u16string_view identity, std::u16string& place) const;

    // Whether a file is a managed assembly. A module that is only a part of one is not.
    [[nodiscard]] bool IsManagedAssembly(const char16_t* name) const;

private:
    std::unique_ptr<CAssemblyStore> m_store;
};

}  // namespace platform
