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

// An operating system that a target is for.
class CCasOperatingSystem {
public:
    virtual ~CCasOperatingSystem() = default;

    void Read(CXmlReader& reader);

    std::uint32_t Enum = 0;
    CStrW ServicePacks;
};

// An installation of the application for some operating systems and languages. Its capture stands
// in a folder of its own below the package's. The hashes come without their lengths.
class CCasTarget {
public:
    virtual ~CCasTarget() = default;

    void Read(CXmlReader& reader);

    // The target's folder: the GUID without braces, "_" and the version as a signed number.
    [[nodiscard]] CStrW GetFolderName() const;
    // The same for a GUID as the system writes it. Without one, as when the system fails to write
    // it, the name is "_" and the version alone.
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
