// casmodel/profile.h - what the profile file of a package says.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "casmodel/application.h"
#include "casmodel/digital_signature.h"
#include "casmodel/packager_version.h"
#include "casmodel/prelaunch_analysis.h"
#include "casmodel/script.h"
#include "casmodel/target.h"
#include "casmodel/value_readers.h"
#include "orvcasconv/orvcasconv.h"

class CFilePathW;
class CXmlReader;

// A profile: plain data, filled once, its items in document order. The reader is tolerant: elements
// in any letter case, unknown ones passed over, missing ones at their defaults, and a document that
// breaks off read up to there. The hashes come without their lengths.
class CCasProfile {
public:
    CCasProfile() = default;
    virtual ~CCasProfile();
    CCasProfile(const CCasProfile&) = delete;
    CCasProfile& operator=(const CCasProfile&) = delete;

    // Reads a profile file. 0, the HRESULT when it cannot be opened, or ERROR_NOT_FOUND when its
    // root is not "Package"; then the profile stays as it was.
    [[nodiscard]] int ReadFromFile(const CFilePathW& file);

    GUID Guid{};
    SFileTime CreateTime;
    SFileTime ModifyTime;
    bool UserrootExecuteRestricted = false;
    bool SupportLegacyClients = false;
    bool AsyncFontImport = false;
    std::uint32_t Version = 0;
    std::unique_ptr<std::uint8_t[]> HashOfHashes;
    std::unique_ptr<std::uint8_t[]> HashOfHashes256;
    CCasPackagerVersion CreatePkgrVer;
    CCasPackagerVersion ModifyPkgrVer;
    CCasPrelaunchAnalysis PreLaunchAnalysis;
    CCasDigitalSignature DigitalSignature;
    std::vector<std::unique_ptr<CCasProfile>> SubProfiles;
    std::vector<std::unique_ptr<CCasTarget>> Targets;
    std::vector<std::unique_ptr<CCasProfileApplication>> Apps;
    std::vector<std::unique_ptr<CCasScript>> Scripts;

private:
    void ReadElements(CXmlReader& reader);
};
