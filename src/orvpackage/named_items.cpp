#include "orvpackage/named_items.h"

#include <utility>

#include "foundation/xml_writer.h"

namespace {

// The name read of an element so far. One serves all collections of a kind: an element that never
// ends leaves it to the next.
CStrW& NameReadSoFar(EOrvCollection type) {
    static CStrW names[kOrvCollections];
    return names[type];
}

}  // namespace

void COrvNamedItemCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    writer.WriteAttribute(m_nameAttribute, item.GetName());
}

void COrvNamedItemCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    if (name.EqualsNoCase(m_nameAttribute)) {
        NameReadSoFar(GetType()) = value;
    }
}

CStrW COrvNamedItemCollection::TakeReadName() {
    return std::exchange(NameReadSoFar(GetType()), CStrW());
}
