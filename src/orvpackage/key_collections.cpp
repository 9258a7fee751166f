#include "orvpackage/key_collections.h"

#include <utility>

#include "foundation/reg_path.h"
#include "foundation/reg_path_converter.h"
#include "foundation/xml_writer.h"
#include "orvpackage/package.h"
#include "orvpackage/prefetch.h"

namespace {

constexpr std::u16string_view kRecursive = u"Recursive";

// What is read of a key to delete besides the key itself.
struct SReadDeletion {
    bool recursive = true;
};

// One digit, for there is one for every architecture.
char16_t ArchitectureDigit(std::uint32_t architecture) {
    return static_cast<char16_t>(u'0' + architecture);
}

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

COrvKeyPath::COrvKeyPath(const CStrW& text) {
    CStrW buffer;
    m_text.Assign(ExpandKeyTokens(text, buffer));
    m_isEmpty = m_text.IsEmpty();
}

COrvKeyPath::COrvKeyPath(const CStrW& text, const COrvSanitizer& sanitizer) : COrvKeyPath(text) {
    m_portable = MakePortable(sanitizer);
}

CStrW COrvKeyPath::MakePortable(const COrvSanitizer& sanitizer) const {
    return sanitizer.Sanitize(CRegPathW(m_text).ToLongString(), SanitizeNoFilePaths);
}

std::u16string_view COrvKeyPath::GetPortable(const COrvSanitizer& sanitizer, CStrW& buffer) const {
    if (m_portable.GetLength() != 0) {
        return m_portable;
    }
    buffer = MakePortable(sanitizer);
    return buffer;
}

void COrvKeyPath::PrefetchText() const {
    const std::u16string_view text = m_portable.GetLength() == 0 ? m_text : m_portable;
    Prefetch(text.data(), text.size() * sizeof(char16_t));
}

COrvKeyItem::COrvKeyItem(std::shared_ptr<const COrvKeyPath> key, std::uint32_t architecture,
                         std::u16string_view value)
    : COrvItem(
          HashKeyText({key->GetText(), std::u16string{ArchitectureDigit(architecture)}, value})),
      m_key(std::move(key)),
      m_architecture(architecture) {}

void COrvKeyItemCollection::PrefetchItem(const COrvItem& item, unsigned step) const {
    COrvCollection::PrefetchItem(item, step);
    if (step == 1) {
        Prefetch(&static_cast<const COrvKeyItem&>(item).GetKey(), sizeof(COrvKeyPath));
    } else if (step == 2) {
        static_cast<const COrvKeyItem&>(item).GetKey().PrefetchText();
    }
}

void COrvKeyItemCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    const auto& keyItem = static_cast<const COrvKeyItem&>(item);
    CStrW buffer;
    writer.WriteAttribute(u"Target", keyItem.GetKey().GetPortable(GetSanitizer(), buffer));
    const std::uint32_t architecture = keyItem.GetArchitecture();
    const char16_t* const name = ArchitectureName(architecture);
    if (name != nullptr && architecture != GetPackage().GetProperties().Architecture) {
        writer.WriteAttribute(u"Architecture", name);
    }
}

void COrvKeyItemCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    if (name.EqualsNoCase(u"Target")) {
        ReadSoFar<SReadKey>().target = GetSanitizer().Desanitize(value, SanitizeNoFilePaths);
    } else if (name.EqualsNoCase(u"Architecture")) {
        ParseArchitecture(value, ReadSoFar<SReadKey>().architecture);
    }
}

COrvKeyItemCollection::SReadKey COrvKeyItemCollection::TakeReadKey() {
    return TakeRead<SReadKey>();
}

bool COrvCreateKeysCollection::FinishItem() {
    const SReadKey read = TakeReadKey();
    return AddItem(read.target, read.architecture) != nullptr;
}

void COrvDeleteKeysCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    COrvKeyItemCollection::WriteItem(writer, item);
    WriteBool(writer, kRecursive, static_cast<const COrvDeleteKey&>(item).Recursive);
}

void COrvDeleteKeysCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    COrvKeyItemCollection::ReadAttribute(name, value);
    if (name.EqualsNoCase(kRecursive)) {
        ReadSoFar<SReadDeletion>().recursive = value.IsTrue();
    }
}

bool COrvDeleteKeysCollection::FinishItem() {
    const SReadKey read = TakeReadKey();
    const bool recursive = TakeRead<SReadDeletion>().recursive;
    COrvDeleteKey* const added = AddItem(read.target, read.architecture);
    if (added != nullptr) {
        added->Recursive = recursive;
    }
    return added != nullptr;
}
