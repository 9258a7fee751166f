// discovery/assembly_info.h - what is known of one assembly, piece by piece.
#pragma once

#include <map>
#include <string_view>

#include "foundation/file_path.h"
#include "foundation/sorted_texts.h"

// One assembly on its way into the package: first read, then put together from captured files. What
// cannot be read stays empty, and IsComplete tells.
class CAssemblyInfo {
public:
    // Captured files by the names that the manifest declares; an empty path until one is found.
    using Files = std::map<CStrW, CFilePathW, STextLessNoCase>;

    // A side-by-side assembly by its manifest, or one of the global cache by its module.
    CAssemblyInfo(const CFilePathW& manifestPath, bool isGlobal)
        : m_isGlobal(isGlobal), m_manifestPath(manifestPath) {}
    virtual ~CAssemblyInfo() = default;

    // Reads name, identity and declared files from the manifest. The path of a module says it all:
    // "C:\Windows\assembly\GAC_MSIL\Name\Version_Culture_Token\Name.dll".
    void ReadManifest();
    // Writes the identity as one text: `name,type="win32",version="1.0.0.0"`, without what is
    // empty.
    void MakeIdentity();

    // Takes where the machine has the assembly, as platform::CAssemblyCache gives it. The folder's
    // name, or that of a manifest without its extension, becomes the component key.
    void SetPlace(std::u16string_view place);
    void SetCatalogPath(const CFilePathW& path) { m_catalogPath = path; }

    // Adds a declared file; of two that differ in case alone, the first stays. With `match` the
    // path is of a captured file: one of the assembly's folder becomes that of the declared name
    // that it has, and any other is ignored.
    void AddMemberFile(const CFilePathW& path, bool match);

    // Whether all is there that an item needs. A side-by-side assembly needs a catalog and a
    // captured file for every name that it declares: a full path in a manifest must not carry a
    // file of the converting machine into the package.
    [[nodiscard]] bool IsComplete() const;

    [[nodiscard]] const CStrW& GetIdentity() const { return m_identity; }
    [[nodiscard]] const CFilePathW& GetManifestPath() const { return m_manifestPath; }
    [[nodiscard]] const CFilePathW& GetCatalogPath() const { return m_catalogPath; }
    [[nodiscard]] const CFilePathW& GetAssemblyFolder() const { return m_assemblyFolder; }
    [[nodiscard]] const CStrW& GetComponentKey() const { return m_componentKey; }
    [[nodiscard]] const Files& GetFiles() const { return m_files; }

private:
    // A part of the identity behind the name.
    struct SPart {
        const char16_t* name;
        CStrW CAssemblyInfo::*field;
        bool isInManifest;
    };
    static const SPart kParts[];

    void ReadXml();
    void ReadPath();

    bool m_isGlobal;
    CStrW m_identity;
    CFilePathW m_manifestPath;
    CFilePathW m_catalogPath;
    CStrW m_name;
    CStrW m_type;
    CStrW m_version;
    CStrW m_language;
    CStrW m_culture;  // of a global assembly alone
    CStrW m_publicKeyToken;
    CStrW m_processorArchitecture;
    CFilePathW m_assemblyFolder;
    CStrW m_componentKey;
    Files m_files;
};

// The roots of the global caches: of the first versions of the run-time, and of the later ones.
[[nodiscard]] CFilePathW GetGacPath();
[[nodiscard]] CFilePathW GetNetGacPath();
