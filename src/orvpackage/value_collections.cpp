#include "orvpackage/value_collections.h"

#include "foundation/xml_writer.h"
#include "orvpackage/package.h"
#include "orvpackage/prefetch.h"
#include "orvpackage/value_text.h"

namespace {

// Bytes. This is the name and most data; the processor itself loads what follows.
constexpr std::size_t kPrefetchedContent = 128;

// Only tables of values have these rows, so the casts below are right.
void WriteName(const SAttributeOutput& output, const COrvKeyItem& item) {
    output.WritePortable(static_cast<const COrvValueItem&>(item).GetValue(), SanitizeAll, IfAny);
}

void ReadName(SReadKeyItem& into, const CStrW& value, const COrvSanitizer& sanitizer) {
    into.valueName = sanitizer.Desanitize(value, SanitizeAll);
}

void WriteType(const SAttributeOutput& output, const COrvKeyItem& item) {
    const auto& value = static_cast<const COrvCreateValue&>(item);
    if (const char16_t* const type = ValueTypeName(value.GetType())) {
        output.WritePlain(type);
    }
}

// A type without a known name stays unset, and the value then has no data.
void ReadType(SReadKeyItem& into, const CStrW& value, const COrvSanitizer& /*sanitizer*/) {
    ParseValueType(value, into.valueType);
}

constexpr SKeyAttribute kCreateAttributes[] = {
    kKeyTarget,
    kKeyArchitecture,
    {u"Value", {WriteName, ReadName}},
    {u"Type", {WriteType, ReadType}},
};

constexpr SKeyAttribute kDeleteAttributes[] = {
    kKeyTarget,
    kKeyArchitecture,
    {u"Value", {WriteName, ReadName}},
};

}  // namespace

COrvValueKey& COrvValueItemCollection::ShareKey(std::u16string_view target,
                                                std::uint32_t architecture) {
    if (!m_lastKey.IsOf(target, architecture)) {
        m_lastKey.SetTarget(target, architecture);
        m_lastKey.SetPath(FindPath(target));
        m_lastKey.GetPath()->KeepPortable(GetSanitizer());
    }
    return m_lastKey;
}

// The path of m_lastKey: that of the key's own item, or a new one.
std::shared_ptr<const COrvKeyPath> COrvValueItemCollection::FindPath(std::u16string_view target) {
    const auto* const key = static_cast<const COrvCreateKey*>(
        GetPackage().Get<COrvCreateKeysCollection>().Find(m_lastKey.HashOf({})));
    return key != nullptr && key->GetKey().IsOf(target)
               ? key->ShareKey()
               : std::make_shared<const COrvKeyPath>(target);
}

// A value's name and data mostly follow it in memory, because they are made together.
void COrvValueItemCollection::PrefetchItem(const COrvItem& item, unsigned step) const {
    if (step == 0) {
        Prefetch(&item, sizeof(COrvCreateValue) + kPrefetchedContent);
    } else {
        COrvKeyItemCollection::PrefetchItem(item, step);
    }
}

COrvCreateValuesCollection::COrvCreateValuesCollection(COrvPackage& package)
    : COrvValueItemCollection(package, kType, kCreateAttributes) {}

void COrvCreateValuesCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    COrvValueItemCollection::WriteItem(writer, item);
    // A type without a name is written without data, which no reader could interpret.
    const auto& value = static_cast<const COrvCreateValue&>(item);
    if (ValueTypeName(value.GetType()) != nullptr) {
        WriteValueData(value, GetSanitizer(), writer);
    }
}

bool COrvCreateValuesCollection::ReadText(CXmlReader& reader) {
    reader.GetValueChunked(ReadSoFar<SReadKeyItem>().valueData);
    return true;
}

bool COrvCreateValuesCollection::FinishItem() {
    const auto read = TakeRead<SReadKeyItem>();
    // A double is refused before its data is read, which may be large.
    COrvCreateValue* const added = AddItem(read.target, read.valueName, read.architecture);
    if (added != nullptr) {
        ParseValueData(read.valueData, read.valueType, GetSanitizer(), *added);
    }
    return added != nullptr;
}

COrvDeleteValuesCollection::COrvDeleteValuesCollection(COrvPackage& package)
    : COrvValueItemCollection(package, kType, kDeleteAttributes) {}

bool COrvDeleteValuesCollection::FinishItem() {
    const auto read = TakeRead<SReadKeyItem>();
    return AddItem(read.target, read.valueName, read.architecture) != nullptr;
}
