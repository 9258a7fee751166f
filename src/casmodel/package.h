// casmodel/package.h - a captured package on disk.
#pragma once

#include "casmodel/profile.h"
#include "foundation/file_path.h"
#include "foundation/wide_string.h"

// The package of one profile file. Beside that file each target has a folder of its own.
class CCasPackage {
public:
    CCasPackage() = default;
    virtual ~CCasPackage() = default;
    CCasPackage(const CCasPackage&) = delete;
    CCasPackage& operator=(const CCasPackage&) = delete;

    // Reads the package whose profile is the given file. 0, or the status of
    // CCasProfile::ReadFromFile, which is logged with the file's path; name and folder are set all
    // the same. ERROR_ALREADY_ASSIGNED, with nothing changed or logged, when the package has a
    // folder already.
    [[nodiscard]] int Open(const CStrW& profileFile);

    // The profile's file name less its extension.
    [[nodiscard]] const CStrW& GetName() const { return m_name; }
    // The folder that the profile's file stands in.
    [[nodiscard]] const CFilePathW& GetFolder() const { return m_folder; }
    [[nodiscard]] const CCasProfile& GetProfile() const { return m_profile; }

private:
    CStrW m_name;
    CFilePathW m_folder;
    CCasProfile m_profile;
};
