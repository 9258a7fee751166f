#include "casmodel/packager_version.h"

#include "casmodel/element_table.h"

namespace {

constexpr SElement<CCasPackagerVersion> kElements[] = {
    {u"/MajorUpper", Value<&CCasPackagerVersion::MajorUpper, ReadUInt32>},
    {u"/MajorLower", Value<&CCasPackagerVersion::MajorLower, ReadUInt32>},
    {u"/MinorUpper", Value<&CCasPackagerVersion::MinorUpper, ReadUInt32>},
    {u"/MinorLower", Value<&CCasPackagerVersion::MinorLower, ReadUInt32>},
};

}  // namespace

void CCasPackagerVersion::Read(CXmlReader& reader) { ReadElements(kElements, *this, reader); }
