// casmodel/target.h - one captured installation of the application.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "casmodel/application.h"
#include "casmodel/packager_version.h"
#include "casmodel/prelaunch_analysis.h"
#include "casmodel/script.h"
#include "casmodel/service.h"
#include "casmodel/value_readers.h"
#include "foundation/wide_string.h"
#include "orvcasconv/orvcasconv.h"

class CXmlReader;

// An operating system for which a target was made.
class CCasOperatingSystem {
public:
    virtual ~CCasOperatingSystem() = default;

    void Read(CXmlReader& reader);

    std::uint32_t Enum = 0;
    CStrW ServicePacks;
};

// An installation of the application for some operating systems and languages. What was captured is
// in a folder of its own below the package's. The hashes are kept without their lengths. Filled by
// one thread; then any thread may read it.
class CCasTarget {
public:
    virtual ~CCasTarget() = default;

    void Read(CXmlReader& reader);

    // The name of the target's folder: the GUID without braces, "_" and the version as a signed
    // number.
    [[nodiscard]] CStrW GetFolderName() const;
    // The same for a GUID as text, in braces or not. If the system could not print it, the text is
    // empty, and the name is "_" and the version.
    [[nodiscard]] static CStrW MakeFolderName(std::u16string_view guid, std::uint32_t version);

    GUID Guid{};
    std::uint32_t Ver = 0;
    SFileTime CreateTime;
    SFileTime ModifyTime;
    std::uint32_t CodePage = 0;
    std::uint32_t Size = 0;
    std::uint32_t CreateOS = 0;
    std::uint32_t ModifyOS = 0;
    bool UsePkgLevelScripts = false;
    bool UsePkgPreLaunchAnalysis = false;
    std::unique_ptr<std::uint8_t[]> HashOfHashes;
    std::unique_ptr<std::uint8_t[]> HashOfHashes256;
    CStrW Name;
    CStrW Description;
    CStrW BootDrive;
    CStrW IsolationRevision;
    CStrW Languages;
    CCasPackagerVersion CreatePkgrVer;
    CCasPackagerVersion ModifyPkgrVer;
    CCasPrelaunchAnalysis PreLaunchAnalysis;
    std::vector<std::unique_ptr<CCasOperatingSystem>> OSes;
    std::vector<std::unique_ptr<CCasTargetApplication>> Apps;
    std::vector<std::unique_ptr<CCasService>> Services;
    std::vector<std::unique_ptr<CCasScript>> Scripts;
};
