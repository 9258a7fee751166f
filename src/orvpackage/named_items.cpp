#include "orvpackage/named_items.h"

#include "foundation/xml_writer.h"

namespace {

struct SReadName {
    CStrW name;
};

}  // namespace

void COrvNamedItemCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    writer.WriteAttribute(m_nameAttribute, item.GetName());
}

void COrvNamedItemCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    if (name.EqualsNoCase(m_nameAttribute)) {
        ReadSoFar<SReadName>().name = value;
    }
}

CStrW COrvNamedItemCollection::TakeReadName() { return TakeRead<SReadName>().name; }
