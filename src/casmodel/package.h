// casmodel/package.h - a captured package on disk.
#pragma once

#include "casmodel/profile.h"
#include "foundation/file_path.h"
#include "foundation/wide_string.h"

// The package of one profile file. Each target has a folder beside that file. One thread at a time.
class CCasPackage {
public:
    CCasPackage() = default;
    virtual ~CCasPackage() = default;
    CCasPackage(const CCasPackage&) = delete;
    CCasPackage& operator=(const CCasPackage&) = delete;

    // Reads the package with the given profile file. Returns 0, or the status of
    // CCasProfile::ReadFromFile, which is logged with the path of the file; name and folder are set
    // also then. ERROR_ALREADY_ASSIGNED, with nothing changed or logged, when Open was called
    // before.
    [[nodiscard]] int Open(const CStrW& profileFile);

    // The name of the profile file without its extension.
    [[nodiscard]] const CStrW& GetName() const { return m_name; }
    // The folder of the profile file.
    [[nodiscard]] const CFilePathW& GetFolder() const { return m_folder; }
    [[nodiscard]] const CCasProfile& GetProfile() const { return m_profile; }

private:
    CStrW m_name;
    CFilePathW m_folder;
    CCasProfile m_profile;
};
