// discovery/assembly_processor.h - lifts side-by-side assemblies out of the captured data.
#pragma once

#include <cstdint>

#include "foundation/file_path.h"
#include "foundation/reg_path.h"
#include "orvpackage/package.h"

// Sees every captured file during the walks and claims what belongs to an assembly. Assemblies are
// not carried yet, so that it claims nothing and their files stay ordinary files.
class CAssemblyProcessor {
public:
    // Whether an entry stays with the file stage. The mode is 1 for an entry that the package
    // creates and 3 for one that it deletes.
    [[nodiscard]] bool CheckFile(const CFilePathW& path, std::uint32_t mode);

    // Whether a value stays with the registry stage; its key is given by its path in the mounted
    // hive.
    [[nodiscard]] bool CheckValue(const CRegPathW& key, const CStrW& name, std::uint32_t mode);

    // Adds the assemblies gathered to the package, whose folder receives their files.
    void AddAssemblies(COrvPackage& package, const CFilePathW& packageFolder);
};
