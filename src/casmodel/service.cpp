#include "casmodel/service.h"

#include "casmodel/element_table.h"

namespace {

// Paths with blanks are in quotes, which are removed.
void ReadVirtualPath(CCasService& service, CXmlReader& reader) {
    Value<&CCasService::VirtualPath, ReadString>(service, reader);
    service.VirtualPath.TrimLeftQuotes();
    service.VirtualPath.TrimRightQuotes();
}

constexpr SElement<CCasService> kElements[] = {
    {u"/Name", Value<&CCasService::Name, ReadString>},
    {u"/DisplayName", Value<&CCasService::DisplayName, ReadString>},
    {u"/Description", Value<&CCasService::Description, ReadString>},
    {u"/AccountName", Value<&CCasService::AccountName, ReadString>},
    {u"/VirtualPath", ReadVirtualPath},
    {u"/Security", Value<&CCasService::Security, ReadString>},
    {u"/Type", Value<&CCasService::Type, ReadUInt32>},
    {u"/StartType", Value<&CCasService::StartType, ReadUInt32>},
    {u"/ErrorControl", Value<&CCasService::ErrorControl, ReadUInt32>},
    {u"/DeleteFlag", Value<&CCasService::DeleteFlag, ReadBool>},
    {u"/Mangled", Value<&CCasService::Mangled, ReadBool>},
    // Known, so that it is not recorded as unknown; nothing uses it.
    {u"/Dependencies", nullptr},
};

}  // namespace

void CCasService::Read(CXmlReader& reader) { ReadElements(kElements, *this, reader); }
