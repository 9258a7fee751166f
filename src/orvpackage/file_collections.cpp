#include "orvpackage/file_collections.h"

#include <utility>

namespace {

constexpr SAttribute<SOrvTarget> kTargetAttributes[] = {
    {u"Target", Path<&SOrvTarget::target, Always>},
};

constexpr SAttribute<SOrvDeletedFolder> kDeletedFolderAttributes[] = {
    {u"Target", Path<&SOrvDeletedFolder::target, Always>},
    {u"Recursive", Flag<&SOrvDeletedFolder::recursive>},
};

constexpr SAttribute<SOrvFile> kFileAttributes[] = {
    {u"Target", Path<&SOrvFile::target, Always>},
    {u"RelativeSource", RelativePath<&SOrvFile::relativeSource, Always>},
};

bool IsRelative(EFilePathKind kind) {
    return kind == FilePathRelative || kind == FilePathRootRelative;
}

}  // namespace

SAttributes<SOrvTarget> SOrvTarget::GetAttributes() { return kTargetAttributes; }

SAttributes<SOrvDeletedFolder> SOrvDeletedFolder::GetAttributes() {
    return kDeletedFolderAttributes;
}

SAttributes<SOrvFile> SOrvFile::GetAttributes() { return kFileAttributes; }

COrvCreateFile::COrvCreateFile(SOrvFile content)
    : COrvItemOf(std::move(content)),
      m_isRelative(IsRelative(CFilePathW(GetContent().relativeSource).GetKind())) {}

COrvCreateFile::COrvCreateFile(SOrvFile content, bool isRelative)
    : COrvItemOf(std::move(content)), m_isRelative(isRelative) {}

COrvCreateFile::COrvCreateFile(SPlain plain, bool isRelative)
    : COrvItemOf(SExpanded(std::move(plain.content))), m_isRelative(isRelative) {}

// An absolute source could name any file of the installer's machine as payload.
bool COrvCreateFile::IsValid() const { return COrvItemOf::IsValid() && m_isRelative; }

COrvCreateFile* COrvCreateFilesCollection::AddFile(const CFilePathW& target,
                                                   const CFilePathW& relativeSource) {
    return AddFile({target.ToString(), relativeSource.ToString()}, relativeSource.GetKind(), false);
}

// The copy of a double is deleted because no item names it, and the first item has its own.
COrvCreateFile* COrvCreateFilesCollection::AddFile(SOrvFile content, EFilePathKind sourceKind,
                                                   bool isPlain) {
    // A token may expand to a path of another kind. Without one the path need not be parsed again.
    const bool isRelative = IsRelative(sourceKind);
    COrvItemPtr<COrvCreateFile> file =
        isPlain ? Make<COrvCreateFile>(COrvCreateFile::SPlain(std::move(content)), isRelative)
        : HasUnit(content.relativeSource, u'%')
            ? Make<COrvCreateFile>(std::move(content))
            : Make<COrvCreateFile>(std::move(content), isRelative);
    // The item expands its target, so that a path and its form with a token are a double too.
    COrvCreateFile* const added = file.get();
    COrvItemPtr<COrvItem> item = std::move(file);
    if (Add(item)) {
        return added;
    }
    DeletePayload(added->GetContent().relativeSource, added->GetContent().target);
    return nullptr;
}
