#include "casmodel/application.h"

#include "casmodel/element_table.h"

namespace {

constexpr SElement<CCasIcon> kIconElements[] = {
    {u"/Offset", Value<&CCasIcon::Offset, ReadUInt32>},
    {u"/Size", Value<&CCasIcon::Size, ReadUInt32>},
    {u"/MultiImage", Value<&CCasIcon::MultiImage, ReadUInt32>},
    {u"/Default", Value<&CCasIcon::Default, ReadUInt32>},
};

// A known element without a meaning. Its row keeps it out of the record of unknown elements; any
// other element of such an icon is skipped just the same.
constexpr SElement<CCasIcon3> kIcon3Elements[] = {
    {u"/TODO", nullptr},
};

constexpr SElement<CCasFta> kFtaElements[] = {
    {u"/Name", Value<&CCasFta::Name, ReadString>},
    {u"/Description", Value<&CCasFta::Description, ReadString>},
    // In these lists each child is a text, whatever its name.
    {u"/Executables", Strings<&CCasFta::Executables>},
    {u"/Extensions", Strings<&CCasFta::Extensions>},
    {u"/MimeTypes", Strings<&CCasFta::MimeTypes>},
};

constexpr SElement<CCasProfileApplication> kProfileApplicationElements[] = {
    {u"/Name", Value<&CCasProfileApplication::Name, ReadString>},
    {u"/Icons", Items<&CCasProfileApplication::Icons>},
    {u"/Icons3", Items<&CCasProfileApplication::Icons3>},
    {u"/FTAs", Items<&CCasProfileApplication::FTAs>},
};

constexpr SElement<CCasTargetApplication> kTargetApplicationElements[] = {
    {u"/Name", Value<&CCasTargetApplication::Name, ReadString>},
    {u"/InitialExe", Value<&CCasTargetApplication::InitialExe, ReadString>},
    {u"/InitialExeVirtual", Value<&CCasTargetApplication::InitialExeVirtual, ReadString>},
    {u"/WorkingDir", Value<&CCasTargetApplication::WorkingDir, ReadString>},
    {u"/WorkingDirVirtual", Value<&CCasTargetApplication::WorkingDirVirtual, ReadString>},
    {u"/CommandLine", Value<&CCasTargetApplication::CommandLine, ReadString>},
    {u"/Version", Value<&CCasTargetApplication::Version, ReadString>},
    {u"/IEApp", Value<&CCasTargetApplication::IEApp, ReadBool>},
    {u"/IsIE64", Value<&CCasTargetApplication::IsIE64, ReadBool>},
    {u"/FTAs", Items<&CCasTargetApplication::FTAs>},
};

}  // namespace

void CCasIcon::Read(CXmlReader& reader) { ReadElements(kIconElements, *this, reader); }

void CCasIcon3::Read(CXmlReader& reader) { ReadElements(kIcon3Elements, *this, reader); }

void CCasFta::Read(CXmlReader& reader) { ReadElements(kFtaElements, *this, reader); }

void CCasProfileApplication::Read(CXmlReader& reader) {
    ReadElements(kProfileApplicationElements, *this, reader);
}

void CCasTargetApplication::Read(CXmlReader& reader) {
    ReadElements(kTargetApplicationElements, *this, reader);
}
