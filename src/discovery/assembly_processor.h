// discovery/assembly_processor.h - takes side-by-side assemblies out of the captured data.
#pragma once

#include <cstdint>
#include <map>

#include "discovery/assembly_catalogs.h"
#include "discovery/assembly_info.h"
#include "foundation/file_path.h"
#include "foundation/reg_path.h"
#include "orvpackage/package.h"

// The manifest of a captured side-by-side assembly, or the module of one of the global cache.
struct CManifestInfo {
    CFilePathW m_path;
    bool m_isGlobal = false;
};

// Sees every captured file and value during the walks, and claims those in the machine's stores of
// side-by-side assemblies. They are not items of their own: they are installed by their manifest,
// with its catalog. An entry is claimed by the path of the walk, so only a capture that is itself
// in the machine's store is claimed. Data collected for one target stays for the next ones.
//
// The mode is 1 or 2 for an entry that the package creates and 3 for one that it deletes. Of
// deleted entries nothing is collected, but they are claimed too. One thread at a time.
class CAssemblyProcessor {
public:
    // Asks the machine for its folders and its version.
    CAssemblyProcessor();
    virtual ~CAssemblyProcessor() = default;
    CAssemblyProcessor(const CAssemblyProcessor&) = delete;
    CAssemblyProcessor& operator=(const CAssemblyProcessor&) = delete;

    // Whether the file stage keeps a file; otherwise it is claimed.
    [[nodiscard]] bool CheckFile(const CFilePathW& path, std::uint32_t mode);
    // False when CheckFile keeps what has this path.
    [[nodiscard]] bool TakesFile(const CFilePathW& path) const;
    // Whether the registry stage keeps a value; otherwise it is claimed. `key` is the path of the
    // walk, in the mounted hive.
    [[nodiscard]] bool CheckValue(const CRegPathW& key, const CStrW& name, std::uint32_t mode);
    // False when CheckValue keeps every value of this key.
    [[nodiscard]] bool TakesValuesOf(const CRegPathW& key) const;

    // Collects a manifest or, with `isGlobal`, a module. CheckFile collects no modules.
    void AddManifest(const CFilePathW& path, bool isGlobal);

    // Adds every complete assembly to the package, and copies its files to a folder "Assemblies" in
    // `packageFolder`. Does nothing if the machine has no store. Nothing is logged: an incomplete
    // assembly is left out, and so is a file that cannot be copied.
    void AddAssemblies(COrvPackage& package, const CFilePathW& packageFolder);

private:
    // The captured files of one folder, by name.
    using FolderFiles = std::map<CStrW, CFilePathW, STextLessNoCase>;
    class COutput;

    void AddGlobal(const CAssemblyInfo& assembly, COutput& output) const;
    void AddSideBySide(CAssemblyInfo& assembly, COutput& output) const;
    void FindFiles(CAssemblyInfo& assembly) const;
    void RecordUnusedFiles() const;

    CFilePathW m_winSxSPath;
    CFilePathW m_gacPath;
    CFilePathW m_netGacPath;
    CRegPathW m_sideBySideKey;
    CRegPathW m_componentsKey;
    bool m_isVistaOrLater;
    std::map<CStrW, CManifestInfo, STextLessNoCase> m_manifests;  // by path
    CAssemblyCatalogs m_catalogs;
    std::map<CStrW, FolderFiles, STextLessNoCase> m_files;  // by the path of the folder
};
