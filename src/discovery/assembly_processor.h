// discovery/assembly_processor.h - lifts side-by-side assemblies out of the captured data.
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

// Sees every captured file and value during the walks and claims what lies in the machine's stores
// of side-by-side assemblies: that is no file or value like others, but installed by manifest, with
// its catalog. An entry is looked at by the path that the walk is on, so that only a capture which
// itself lies in the machine's store is claimed. What is gathered stays for the targets that
// follow.
//
// The mode is 1 or 2 for an entry that the package creates and 3 for one that it deletes; of the
// latter nothing is gathered, but it is claimed all the same. One thread at a time.
class CAssemblyProcessor {
public:
    // Asks the machine for its folders and its version.
    CAssemblyProcessor();
    virtual ~CAssemblyProcessor() = default;
    CAssemblyProcessor(const CAssemblyProcessor&) = delete;
    CAssemblyProcessor& operator=(const CAssemblyProcessor&) = delete;

    // Whether a file stays with the file stage.
    [[nodiscard]] bool CheckFile(const CFilePathW& path, std::uint32_t mode);
    // Whether a value stays with the registry stage; its key is given as the walk has it, by its
    // path in the mounted hive.
    [[nodiscard]] bool CheckValue(const CRegPathW& key, const CStrW& name, std::uint32_t mode);
    // False when CheckValue lets every value of a key stay.
    [[nodiscard]] bool TakesValuesOf(const CRegPathW& key) const;

    // Gathers a manifest or, with `isGlobal`, a module. CheckFile gathers no modules.
    void AddManifest(const CFilePathW& path, bool isGlobal);

    // Adds every assembly that is complete to the package, and copies its files to a folder
    // "Assemblies" in the package's folder. Without a store on the machine there are none. Nothing
    // is logged: an incomplete assembly is left out, and a file that cannot be copied is missing.
    void AddAssemblies(COrvPackage& package, const CFilePathW& packageFolder);

private:
    // Captured files by their name in one folder.
    using FolderFiles = std::map<CStrW, CFilePathW, STextLessNoCase>;
    class COutput;

    void AddGlobal(const CAssemblyInfo& assembly, COutput& output) const;
    void AddSideBySide(CAssemblyInfo& assembly, COutput& output) const;
    void FindFiles(CAssemblyInfo& assembly) const;

    CFilePathW m_winSxSPath;
    CFilePathW m_gacPath;
    CFilePathW m_netGacPath;
    CRegPathW m_sideBySideKey;
    CRegPathW m_componentsKey;
    bool m_isVistaOrLater;
    std::map<CStrW, CManifestInfo, STextLessNoCase> m_manifests;  // by their path
    CAssemblyCatalogs m_catalogs;
    std::map<CStrW, FolderFiles, STextLessNoCase> m_files;  // by the path of their folder
};
