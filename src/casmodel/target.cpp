#include "casmodel/target.h"

#include "casmodel/element_table.h"
#include "foundation/number_text.h"
#include "platform/com.h"

namespace {

constexpr SElement<CCasOperatingSystem> kOperatingSystemElements[] = {
    {u"/Enum", Value<&CCasOperatingSystem::Enum, ReadUInt32>},
    {u"/ServicePacks", Value<&CCasOperatingSystem::ServicePacks, ReadString>},
};

// Names are compared whole. So the order of the rows does not count, and "/HashOfHashes" does not
// match "/HashOfHashes256".
constexpr SElement<CCasTarget> kTargetElements[] = {
    {u"/Guid", Value<&CCasTarget::Guid, ReadGuid>},
    {u"/Ver", Value<&CCasTarget::Ver, ReadUInt32>},
    {u"/Name", Value<&CCasTarget::Name, ReadString>},
    {u"/Description", Value<&CCasTarget::Description, ReadString>},
    {u"/CreateTime", Value<&CCasTarget::CreateTime, ReadTimeT>},
    {u"/ModifyTime", Value<&CCasTarget::ModifyTime, ReadTimeT>},
    {u"/CodePage", Value<&CCasTarget::CodePage, ReadUInt32>},
    {u"/Size", Value<&CCasTarget::Size, ReadUInt32>},
    {u"/CreateOS", Value<&CCasTarget::CreateOS, ReadUInt32>},
    {u"/ModifyOS", Value<&CCasTarget::ModifyOS, ReadUInt32>},
    {u"/CreatePkgrVer", Block<&CCasTarget::CreatePkgrVer>},
    {u"/ModifyPkgrVer", Block<&CCasTarget::ModifyPkgrVer>},
    {u"/UsePkgLevelScripts", Value<&CCasTarget::UsePkgLevelScripts, ReadBool>},
    {u"/UsePkgPreLaunchAnalysis", Value<&CCasTarget::UsePkgPreLaunchAnalysis, ReadBool>},
    {u"/BootDrive", Value<&CCasTarget::BootDrive, ReadString>},
    {u"/IsolationRevision", Value<&CCasTarget::IsolationRevision, ReadString>},
    {u"/Languages", Value<&CCasTarget::Languages, ReadString>},
    {u"/HashOfHashes", Value<&CCasTarget::HashOfHashes, ReadHexBytes>},
    {u"/HashOfHashes256", Value<&CCasTarget::HashOfHashes256, ReadHexBytes>},
    {u"/PreLaunchAnalysis", Block<&CCasTarget::PreLaunchAnalysis>},
    {u"/OSes", Items<&CCasTarget::OSes>},
    {u"/Apps", Items<&CCasTarget::Apps>},
    {u"/Services", Items<&CCasTarget::Services>},
    {u"/Scripts", Items<&CCasTarget::Scripts>},
};

}  // namespace

void CCasOperatingSystem::Read(CXmlReader& reader) {
    ReadElements(kOperatingSystemElements, *this, reader);
}

void CCasTarget::Read(CXmlReader& reader) { ReadElements(kTargetElements, *this, reader); }

CStrW CCasTarget::GetFolderName() const { return MakeFolderName(platform::GuidToText(Guid), Ver); }

CStrW CCasTarget::MakeFolderName(std::u16string_view guid, std::uint32_t version) {
    // The name of the folder has no braces.
    guid.remove_prefix(guid.starts_with(u'{') ? 1 : 0);
    guid.remove_suffix(guid.ends_with(u'}') ? 1 : 0);
    // A version from 2147483648 on is printed as a negative number, because the packager names the
    // folder so.
    return CStrW(guid) + u'_' + IntToDecimal(static_cast<std::int32_t>(version));
}
