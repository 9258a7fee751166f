// casmodel/profile.h - the content of the profile file of a package.
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

// A profile: plain data, read once, with its items in the order of the document. The reader is
// tolerant. The letter case of elements does not count, unknown elements are skipped, missing ones
// keep their defaults, and a document that breaks off is read up to there. The hashes are kept
// without their lengths. Filled by one thread; then any thread may read it.
class CCasProfile {
public:
    CCasProfile() = default;
    virtual ~CCasProfile();
    CCasProfile(const CCasProfile&) = delete;
    CCasProfile& operator=(const CCasProfile&) = delete;

    // Reads a profile file. Returns 0, the HRESULT when it cannot be opened, or ERROR_NOT_FOUND
    // when its root is not "Package". After a failure the profile is unchanged.
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
