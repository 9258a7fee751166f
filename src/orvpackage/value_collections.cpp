#include "orvpackage/value_collections.h"

#include "foundation/xml_reader.h"
#include "foundation/xml_writer.h"
#include "orvpackage/sanitizer.h"
#include "orvpackage/value_text.h"

namespace {

// What is read of a value besides its key.
struct SReadValue {
    CStrW name;
    std::uint32_t type = OrvValueUnset;
    CStrW data;
};

}  // namespace

const std::shared_ptr<const COrvKeyPath>& COrvValueItemCollection::ShareKey(const CStrW& target) {
    if (!m_lastKey || !(m_lastTarget == target)) {
        m_lastKey = std::make_shared<const COrvKeyPath>(target, GetSanitizer());
        m_lastTarget = target;
    }
    return m_lastKey;
}

void COrvValueItemCollection::PrefetchItem(const COrvItem& item, unsigned step) const {
    COrvKeyItemCollection::PrefetchItem(item, step);
    if (step == 1) {
        static_cast<const COrvValueItem&>(item).PrefetchContent();
    }
}

void COrvValueItemCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    COrvKeyItemCollection::WriteItem(writer, item);
    WriteIfAny(writer, u"Value", static_cast<const COrvValueItem&>(item).GetValue(), SanitizeAll);
}

void COrvValueItemCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    COrvKeyItemCollection::ReadAttribute(name, value);
    if (name.EqualsNoCase(u"Value")) {
        ReadSoFar<SReadValue>().name = GetSanitizer().Desanitize(value, SanitizeAll);
    }
}

void COrvCreateValuesCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    COrvValueItemCollection::WriteItem(writer, item);
    const auto& value = static_cast<const COrvCreateValue&>(item);
    if (const char16_t* const type = ValueTypeName(value.GetType())) {
        writer.WriteAttribute(u"Type", type);
        WriteValueData(value, GetSanitizer(), writer);
    }
}

void COrvCreateValuesCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    COrvValueItemCollection::ReadAttribute(name, value);
    if (name.EqualsNoCase(u"Type")) {
        ParseValueType(value, ReadSoFar<SReadValue>().type);
    }
}

bool COrvCreateValuesCollection::ReadText(CXmlReader& reader) {
    reader.GetValueChunked(ReadSoFar<SReadValue>().data);
    return true;
}

bool COrvCreateValuesCollection::FinishItem() {
    const SReadKey key = TakeReadKey();
    const auto read = TakeRead<SReadValue>();
    COrvCreateValue* const added = AddItem(key.target, read.name, key.architecture);
    if (added != nullptr) {
        ParseValueData(read.data, read.type, GetSanitizer(), *added);
    }
    return added != nullptr;
}

bool COrvDeleteValuesCollection::FinishItem() {
    const SReadKey key = TakeReadKey();
    return AddItem(key.target, TakeRead<SReadValue>().name, key.architecture) != nullptr;
}
