#include "casmodel/profile.h"

#include <utility>

#include "casmodel/document.h"
#include "casmodel/element_path.h"
#include "casmodel/element_table.h"
#include "foundation/file_path.h"
#include "reporting/record.h"

namespace {

// Goes to the first element of the collection and adds a sub-profile for it. ReadElements reads its
// content. Nothing is added if the collection is empty.
void StartSubProfile(CCasProfile& profile, CXmlReader& reader) {
    if (GoToNextElement(reader, reader.GetPath().size())) {
        profile.SubProfiles.push_back(std::make_unique<CCasProfile>());
    }
}

constexpr SElement<CCasProfile> kElements[] = {
    {u"/Guid", Value<&CCasProfile::Guid, ReadGuid>},
    {u"/CreateTime", Value<&CCasProfile::CreateTime, ReadTimeT>},
    {u"/ModifyTime", Value<&CCasProfile::ModifyTime, ReadTimeT>},
    {u"/UserrootExecuteRestricted", Value<&CCasProfile::UserrootExecuteRestricted, ReadBool>},
    {u"/SupportLegacyClients", Value<&CCasProfile::SupportLegacyClients, ReadBool>},
    {u"/AsyncFontImport", Value<&CCasProfile::AsyncFontImport, ReadBool>},
    {u"/HashOfHashes", Value<&CCasProfile::HashOfHashes, ReadHexBytes>},
    {u"/HashOfHashes256", Value<&CCasProfile::HashOfHashes256, ReadHexBytes>},
    {u"/CreatePkgrVer", Block<&CCasProfile::CreatePkgrVer>},
    {u"/ModifyPkgrVer", Block<&CCasProfile::ModifyPkgrVer>},
    {u"/Version", Value<&CCasProfile::Version, ReadUInt32>},
    {u"/SubProfiles", StartSubProfile},
    {u"/Targets", Items<&CCasProfile::Targets>},
    {u"/Apps", Items<&CCasProfile::Apps>},
    {u"/Scripts", Items<&CCasProfile::Scripts>},
    {u"/PreLaunchAnalysis", Block<&CCasProfile::PreLaunchAnalysis>},
    {u"/DigitalSignature", Block<&CCasProfile::DigitalSignature>},
};

// Reads the element if it is a known child of the profile. Returns the sub-profile that starts
// there, or null.
CCasProfile* ReadProfileElement(CCasProfile& profile, const CElementPath& path,
                                CXmlReader& reader) {
    const std::size_t count = profile.SubProfiles.size();
    ReadElement<CCasProfile>(kElements, path.GetTailBelow(reader.GetPath()), profile, reader);
    return profile.SubProfiles.size() > count ? profile.SubProfiles.back().get() : nullptr;
}

}  // namespace

CCasProfile::~CCasProfile() {
    // Profiles can nest as deep as the document. So the nested ones are moved out before a profile
    // is deleted; otherwise the destructors would nest as deep and overflow the stack.
    std::vector<std::unique_ptr<CCasProfile>> profiles = std::move(SubProfiles);
    while (!profiles.empty()) {
        const std::unique_ptr<CCasProfile> profile = std::move(profiles.back());
        profiles.pop_back();
        for (std::unique_ptr<CCasProfile>& inner : profile->SubProfiles) {
            profiles.push_back(std::move(inner));
        }
        profile->SubProfiles.clear();
    }
}

int CCasProfile::ReadFromFile(const CFilePathW& file) {
    return ReadDocument(file, u"/Package", [this, &file](CXmlReader& reader) {
        ReadElements(reader);
        // What was read up to a fault is converted.
        if (const int fault = reader.GetFault()) {
            GetRecord().Add({.thing = EThing::Profile,
                             .reason = EReason::ProfileBroken,
                             .source = file.ToString().View(),
                             .status = fault,
                             .line = reader.GetLineNumber()});
        }
    });
}

// Unlike every other element, a profile does not end at its end tag: it goes on to the end of the
// document. So the first sub-profile takes all elements after its start that are on its own path,
// and nothing after it reaches the outer profile. This must stay. Because of it one loop, which
// changes to the nested profile and never back, reads any depth.
void CCasProfile::ReadElements(CXmlReader& reader) {
    CCasProfile* profile = this;
    CElementPath path;
    path.Descend(reader.GetPath());
    for (;;) {
        switch (reader.ReadNext()) {
            case XmlTokenNone:
                return;
            case XmlTokenElement:
                path.OnElement(reader.GetPath());
                if (CCasProfile* const nested = ReadProfileElement(*profile, path, reader)) {
                    profile = nested;
                    path.Descend(reader.GetPath());
                }
                break;
            case XmlTokenEndElement:
                path.OnEndElement(reader.GetPath());
                break;
            default:
                break;
        }
    }
}
