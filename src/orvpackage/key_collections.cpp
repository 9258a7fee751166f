#include "orvpackage/key_collections.h"

#include <utility>

#include "foundation/reg_path.h"
#include "foundation/reg_path_converter.h"
#include "foundation/xml_escape.h"
#include "orvpackage/package.h"
#include "orvpackage/prefetch.h"

namespace {

// The digit that a key's text has in its hash. Each architecture is a number below 10.
char16_t ArchitectureDigit(std::uint32_t architecture) {
    return static_cast<char16_t>(u'0' + architecture);
}

std::uint64_t HashOf(std::u16string_view key, std::uint32_t architecture) {
    const char16_t digit = ArchitectureDigit(architecture);
    return HashKeyText({key, {&digit, 1}});
}

// Only the table of deleted keys has this row, so the item is one.
void WriteRecursive(const SAttributeOutput& output, const COrvKeyItem& item) {
    output.WritePlain(static_cast<const COrvDeleteKey&>(item).Recursive ? u"1" : u"0");
}

constexpr SKeyAttribute kCreateAttributes[] = {
    kKeyTarget,
    kKeyArchitecture,
};

// "Recursive" is written always, because its default is not that of a folder.
constexpr SKeyAttribute kDeleteAttributes[] = {
    kKeyTarget,
    kKeyArchitecture,
    {u"Recursive", {WriteRecursive, Flag<&SReadKeyItem::recursive>.read}},
};

}  // namespace

std::u16string_view ExpandKeyTokens(std::u16string_view text, CStrW& buffer) {
    // Every alias has an underscore.
    if (!HasUnit(text, u'_')) {
        return text;
    }
    buffer.Assign(text);
    CSharedHolder<CRegPathConverter>()->ExpandKeyText(buffer);
    return buffer;
}

// Whether there is a path is kept, so that the text is not read for it: items are asked while
// their memory is still on its way.
COrvKeyPath::COrvKeyPath(std::u16string_view text) {
    CStrW buffer;
    m_text.Assign(ExpandKeyTokens(text, buffer));
    m_isEmpty = m_text.IsEmpty();
    m_hadAlias = !platform::HasSameUnits(m_text, text);
}

void COrvKeyPath::KeepPortable(const COrvSanitizer& sanitizer) const {
    if (!GetKept().empty()) {
        return;
    }
    const CStrW path = CRegPathW(m_text).ToLongString();
    std::u16string buffer;
    const std::u16string_view portable = sanitizer.Sanitize(path, SanitizeNoFilePaths, buffer);
    // Most keys have no alias and their text is as it should be. Then it is not kept twice.
    m_isPortable = portable.data() == path.Get() && platform::HasSameUnits(path, m_text);
    if (!m_isPortable) {
        m_portable.Assign(portable);
    }
    m_isPlain = !GetKept().empty() && IsPlainXmlText(GetKept());
}

// The long name of the hive goes into the text before its aliases are looked for.
CStrW COrvKeyPath::MakePortable(const COrvSanitizer& sanitizer) const {
    return sanitizer.Sanitize(CRegPathW(m_text).ToLongString(), SanitizeNoFilePaths);
}

std::u16string_view COrvKeyPath::GetPortable(const COrvSanitizer& sanitizer, CStrW& buffer) const {
    if (const std::u16string_view kept = GetKept(); !kept.empty()) {
        return kept;
    }
    buffer = MakePortable(sanitizer);
    return buffer;
}

// The parts are hashed one after the other, without a separator between them. This is part of the
// format, because the order of the manifest depends on the hashes.
void SetHashOfKey(CKeyTextHash& hash, std::u16string_view key, std::uint32_t architecture) {
    const char16_t digit = ArchitectureDigit(architecture);
    hash.SetStart({key, {&digit, 1}});
}

COrvKeyItem::COrvKeyItem(std::shared_ptr<const COrvKeyPath> key, std::uint32_t architecture)
    : COrvItem(HashOf(key->GetText(), architecture)),
      m_key(std::move(key)),
      m_architecture(architecture) {}

void COrvKeyItemCollection::PrefetchItem(const COrvItem& item, unsigned step) const {
    COrvCollection::PrefetchItem(item, step);
    if (step == 1) {
        Prefetch(&static_cast<const COrvKeyItem&>(item).GetKey(), sizeof(COrvKeyPath));
    } else if (step == 2) {
        Prefetch(static_cast<const COrvKeyItem&>(item).GetKey().GetWritten());
    }
}

void WriteKeyTarget(const SAttributeOutput& output, const COrvKeyItem& item) {
    CStrW buffer;
    const COrvKeyPath& key = item.GetKey();
    const std::u16string_view target = key.GetPortable(output.package.GetSanitizer(), buffer);
    if (key.IsPlain()) {
        output.WritePlain(target);
    } else {
        output.Write(target);
    }
}

// COrvKeyPath expands the aliases in it.
void ReadKeyTarget(SReadKeyItem& into, const CStrW& value, const COrvSanitizer& sanitizer) {
    into.target = sanitizer.Desanitize(value, SanitizeNoFilePaths);
}

// An item of the package's own architecture, or of one without a name, is written without any.
void WriteArchitecture(const SAttributeOutput& output, const COrvKeyItem& item) {
    const std::uint32_t architecture = item.GetArchitecture();
    const char16_t* const name = ArchitectureName(architecture);
    if (name != nullptr && architecture != output.package.GetProperties().Architecture) {
        output.WritePlain(name);
    }
}

void ReadArchitecture(SReadKeyItem& into, const CStrW& value, const COrvSanitizer& /*sanitizer*/) {
    ParseArchitecture(value, into.architecture);
}

void COrvKeyItemCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    WriteAttributes(m_attributes, writer, GetPackage(), static_cast<const COrvKeyItem&>(item));
}

void COrvKeyItemCollection::ReadItem(CXmlReader& reader) {
    ReadAttributes(m_attributes, reader, GetSanitizer(), ReadSoFar<SReadKeyItem>());
}

COrvCreateKeysCollection::COrvCreateKeysCollection(COrvPackage& package)
    : COrvKeyItemCollection(package, kType, kCreateAttributes) {}

// Taken, not copied, so that the next element begins without these values.
bool COrvCreateKeysCollection::FinishItem() {
    const auto read = TakeRead<SReadKeyItem>();
    return AddItem(read.target, read.architecture) != nullptr;
}

COrvDeleteKeysCollection::COrvDeleteKeysCollection(COrvPackage& package)
    : COrvKeyItemCollection(package, kType, kDeleteAttributes) {}

bool COrvDeleteKeysCollection::FinishItem() {
    const auto read = TakeRead<SReadKeyItem>();
    return AddOwned(Make<COrvDeleteKey>(read.target, read.architecture, read.recursive)) != nullptr;
}
