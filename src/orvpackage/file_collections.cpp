#include "orvpackage/file_collections.h"

#include <utility>

#include "foundation/file_path_converter.h"
#include "foundation/xml_writer.h"
#include "orvpackage/sanitizer.h"

namespace {

constexpr std::u16string_view kTarget = u"Target";
constexpr std::u16string_view kRecursive = u"Recursive";
constexpr std::u16string_view kRelativeSource = u"RelativeSource";

struct SReadTarget {
    CStrW target;
    CStrW relativeSource;
    bool recursive = false;
};

bool IsRelative(const CFilePathW& path) {
    return path.GetKind() == FilePathRelative || path.GetKind() == FilePathRootRelative;
}

}  // namespace

// The target, expanded once for both the hash and the field.
struct COrvTargetItem::SExpanded {
    explicit SExpanded(const CStrW& text) : target(text) { ExpandFileTokens(target); }
    CStrW target;
};

COrvTargetItem::COrvTargetItem(const CStrW& target) : COrvTargetItem(SExpanded(target)) {}

COrvTargetItem::COrvTargetItem(SExpanded expanded)
    : COrvItem(HashKeyText(expanded.target)), m_target(std::move(expanded.target)) {}

void COrvCreateFile::SetRelativeSource(const CStrW& text) {
    m_relativeSource = text;
    ExpandFileTokens(m_relativeSource);
    m_isRelative = IsRelative(CFilePathW(m_relativeSource));
}

void COrvCreateFile::SetRelativeSource(const CFilePathW& path) {
    const CStrW text = path.ToString();
    if (text.View().find(u'%') != std::u16string_view::npos) {
        SetRelativeSource(text);
        return;
    }
    m_relativeSource = text;
    m_isRelative = IsRelative(path);
}

bool COrvCreateFile::IsValid() const { return !GetTarget().IsEmpty() && m_isRelative; }

void COrvTargetCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    WriteSanitized(writer, kTarget, static_cast<const COrvTargetItem&>(item).GetTarget(),
                   SanitizeNoRegPaths);
}

void COrvTargetCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    if (name.EqualsNoCase(kTarget)) {
        ReadSoFar<SReadTarget>().target = GetSanitizer().Desanitize(value, SanitizeNoRegPaths);
    }
}

CStrW COrvTargetCollection::TakeReadName() { return TakeRead<SReadTarget>().target; }

void COrvDeleteFoldersCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    COrvTargetCollection::WriteItem(writer, item);
    WriteBool(writer, kRecursive, static_cast<const COrvDeleteFolder&>(item).Recursive);
}

void COrvDeleteFoldersCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    COrvTargetCollection::ReadAttribute(name, value);
    if (name.EqualsNoCase(kRecursive)) {
        ReadSoFar<SReadTarget>().recursive = value.IsTrue();
    }
}

bool COrvDeleteFoldersCollection::FinishItem() {
    const auto read = TakeRead<SReadTarget>();
    COrvDeleteFolder* const added = AddItem(read.target);
    if (added != nullptr) {
        added->Recursive = read.recursive;
    }
    return added != nullptr;
}

COrvCreateFile* COrvCreateFilesCollection::AddFile(const CFilePathW& target,
                                                   const CFilePathW& relativeSource) {
    COrvItemPtr<COrvCreateFile> file = Make<COrvCreateFile>(target.ToString());
    file->SetRelativeSource(relativeSource);
    COrvCreateFile* const added = file.get();
    COrvItemPtr<COrvItem> item = std::move(file);
    if (Add(item)) {
        return added;
    }
    DeletePayload(added->GetRelativeSource(), added->GetTarget());
    return nullptr;
}

void COrvCreateFilesCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    COrvTargetCollection::WriteItem(writer, item);
    WriteSanitized(writer, kRelativeSource,
                   static_cast<const COrvCreateFile&>(item).GetRelativeSource(), SanitizeNoPaths);
}

void COrvCreateFilesCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    COrvTargetCollection::ReadAttribute(name, value);
    if (name.EqualsNoCase(kRelativeSource)) {
        ReadSoFar<SReadTarget>().relativeSource = GetSanitizer().Desanitize(value, SanitizeNoPaths);
    }
}

bool COrvCreateFilesCollection::FinishItem() {
    const auto read = TakeRead<SReadTarget>();
    COrvCreateFile* const added = AddOwned(Make<COrvCreateFile>(read.target));
    if (added != nullptr) {
        added->SetRelativeSource(read.relativeSource);
    }
    return added != nullptr;
}
