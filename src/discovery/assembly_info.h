// discovery/assembly_info.h - the data of one assembly, collected step by step.
#pragma once

#include <map>
#include <string_view>

#include "foundation/file_path.h"
#include "foundation/sorted_texts.h"

// One assembly of the capture: its identity is read first, then its captured files are found. Data
// that cannot be read stays empty, and IsComplete reports it. One thread at a time.
class CAssemblyInfo {
public:
    // The captured files by the names that the manifest declares. The path is empty until the file
    // is found.
    using Files = std::map<CStrW, CFilePathW, STextLessNoCase>;

    // Takes the manifest of a side-by-side assembly, or the module of a global one.
    CAssemblyInfo(const CFilePathW& manifestPath, bool isGlobal)
        : m_isGlobal(isGlobal), m_manifestPath(manifestPath) {}
    virtual ~CAssemblyInfo() = default;

    // Reads name, identity and declared files from the manifest. For a global assembly all is in
    // the path of the module: "C:\Windows\assembly\GAC_MSIL\Name\Version_Culture_Token\Name.dll".
    void ReadManifest();
    // Makes the identity text: `name,type="win32",version="1.0.0.0"`, without empty parts.
    void MakeIdentity();

    // Sets the place of the assembly on the machine, as platform::CAssemblyCache gives it. The name
    // of the folder, or of a manifest without its extension, becomes the component key.
    void SetPlace(std::u16string_view place);
    void SetCatalogPath(const CFilePathW& path) { m_catalogPath = path; }

    // Adds a declared file; of two names that differ only in case, the first stays. With `match`,
    // `path` is a captured file instead: if it is in the assembly's folder and its name is
    // declared, it becomes the path of that name, otherwise it is ignored.
    void AddMemberFile(const CFilePathW& path, bool match);

    // Whether there is all that an item needs. A side-by-side assembly needs a catalog and a
    // captured file for every declared name: a full path in a manifest must not bring a file of the
    // converting machine into the package.
    [[nodiscard]] bool IsComplete() const;

    [[nodiscard]] const CStrW& GetIdentity() const { return m_identity; }
    [[nodiscard]] const CFilePathW& GetManifestPath() const { return m_manifestPath; }
    [[nodiscard]] const CFilePathW& GetCatalogPath() const { return m_catalogPath; }
    [[nodiscard]] const CFilePathW& GetAssemblyFolder() const { return m_assemblyFolder; }
    [[nodiscard]] const CStrW& GetComponentKey() const { return m_componentKey; }
    [[nodiscard]] const Files& GetFiles() const { return m_files; }

private:
    // A part of the identity after the name.
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
    CStrW m_culture;  // only of a global assembly
    CStrW m_publicKeyToken;
    CStrW m_processorArchitecture;
    CFilePathW m_assemblyFolder;
    CStrW m_componentKey;
    Files m_files;
};

// The roots of the global assembly caches: of .NET before version 4, and of later versions.
[[nodiscard]] CFilePathW GetGacPath();
[[nodiscard]] CFilePathW GetNetGacPath();
