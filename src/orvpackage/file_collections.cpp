#include "orvpackage/file_collections.h"

#include <algorithm>
#include <memory_resource>
#include <new>
#include <string>
#include <type_traits>

#include "foundation/xml_escape.h"
#include "orvpackage/package.h"
#include "orvpackage/prefetch.h"

namespace {

// The portable forms of the two texts of a file.
constexpr std::uint32_t kTargetFlags = SanitizeNoRegPaths;
constexpr std::uint32_t kSourceFlags = SanitizeNoPaths;

constexpr SAttribute<SOrvTarget> kTargetAttributes[] = {
    {u"Target", Path<&SOrvTarget::target, Always>},
};

constexpr SAttribute<SOrvDeletedFolder> kDeletedFolderAttributes[] = {
    {u"Target", Path<&SOrvDeletedFolder::target, Always>},
    {u"Recursive", Flag<&SOrvDeletedFolder::recursive>},
};

// A file that is written. Its name is made portable once, for both texts.
// Gain: 2 % of the instructions of a conversion of small files.
class CWrittenFile {
public:
    CWrittenFile(const COrvCreateFile& file, const COrvSanitizer& sanitizer)
        : m_file(file),
          m_portableName(sanitizer.Sanitize(file.GetNameInFolder(), SanitizeNoPaths, m_buffer)),
          m_isPlain(IsPlainXmlText(m_portableName)) {}
    CWrittenFile(const CWrittenFile&) = delete;
    CWrittenFile& operator=(const CWrittenFile&) = delete;

    [[nodiscard]] const SOrvFileFolder& GetFolder() const { return m_file.GetFolder(); }
    [[nodiscard]] std::u16string_view GetNameInFolder() const { return m_file.GetNameInFolder(); }
    // What follows the portable start of a text.
    [[nodiscard]] std::u16string_view GetPortableName() const { return m_portableName; }
    // Whether that is plain, see IsPlainXmlText.
    [[nodiscard]] bool IsPlain() const { return m_isPlain; }

private:
    const COrvCreateFile& m_file;
    std::u16string m_buffer;
    std::u16string_view m_portableName;
    bool m_isPlain;
};

void WriteText(const SAttributeOutput& output, const SOrvFileStart& start, const CWrittenFile& file,
               std::uint32_t flags) {
    // Kept for its memory. Gain: a third of the instructions of writing a file.
    thread_local std::u16string keptText;
    std::u16string& text = keptText;  // the address of such an object is looked up at each use
    if (!start.portable || file.GetNameInFolder().empty()) {
        text.assign(start.text).append(file.GetNameInFolder());
        output.WritePortable(text, flags);
        return;
    }
    text.assign(*start.portable).append(file.GetPortableName());
    if (start.isPlain && file.IsPlain()) {
        output.WritePlain(text);
    } else {
        output.Write(text);
    }
}

void WriteTarget(const SAttributeOutput& output, const CWrittenFile& file) {
    WriteText(output, file.GetFolder().target, file, kTargetFlags);
}

void WriteSource(const SAttributeOutput& output, const CWrittenFile& file) {
    WriteText(output, file.GetFolder().source, file, kSourceFlags);
}

constexpr SAttribute<CWrittenFile, SOrvFile> kFileAttributes[] = {
    {u"Target", {WriteTarget, Portable<&SOrvFile::target, Always, kTargetFlags>.read}},
    {u"RelativeSource",
     {WriteSource, Portable<&SOrvFile::relativeSource, Always, kSourceFlags>.read}},
};

void Expand(SOrvFile& content) {
    ExpandFileTokens(content.target);
    ExpandFileTokens(content.relativeSource);
}

bool IsRelative(EFilePathKind kind) {
    return kind == FilePathRelative || kind == FilePathRootRelative;
}

bool IsRelative(const CStrW& path) { return IsRelative(CFilePathW(path).GetKind()); }

// What follows the last backslash.
std::u16string_view LastName(std::u16string_view text) {
    return text.substr(text.rfind(u'\\') + 1);
}

// The name in which both texts end; empty when they have none in common. One with a colon may be
// part of a path by itself.
std::u16string_view CommonName(const SOrvFile& content) {
    const std::u16string_view name = LastName(content.target);
    const bool isCommon = name == LastName(content.relativeSource) && !HasUnit(name, u':');
    return isCommon ? name : std::u16string_view();
}

std::u16string_view WithoutEnd(std::u16string_view text, std::u16string_view end) {
    return text.substr(0, text.size() - end.size());
}

// A copy of a text that is never freed by itself.
std::u16string_view CopyText(std::u16string_view text, std::pmr::memory_resource& memory) {
    void* const copy = memory.allocate(text.size() * sizeof(char16_t), alignof(char16_t));
    auto* const units = static_cast<char16_t*>(copy);
    std::copy(text.begin(), text.end(), units);
    return {units, text.size()};
}

CStrW Join(std::u16string_view start, std::u16string_view rest) {
    CStrW text(start);
    text.Append(rest);
    return text;
}

// What the text of a file is written from.
std::u16string_view WrittenStart(const SOrvFileStart& start) {
    return start.portable.value_or(start.text);
}

}  // namespace

SAttributes<SOrvTarget> SOrvTarget::GetAttributes() { return kTargetAttributes; }

SAttributes<SOrvDeletedFolder> SOrvDeletedFolder::GetAttributes() {
    return kDeletedFolderAttributes;
}

CStrW COrvCreateFile::GetTarget() const { return Join(m_folder.target.text, m_name); }

CStrW COrvCreateFile::GetRelativeSource() const { return Join(m_folder.source.text, m_name); }

COrvCreateFile* COrvCreateFilesCollection::AddFile(const CFilePathW& target,
                                                   const CFilePathW& relativeSource) {
    return AddFile({target.ToString(), relativeSource.ToString()}, relativeSource.GetKind());
}

// The copy of a double is deleted because no item names it, and the first item has its own.
COrvCreateFile* COrvCreateFilesCollection::AddFile(SOrvFile content, EFilePathKind sourceKind) {
    // A token may expand to a path of another kind. Without one the path need not be parsed again.
    const bool mayChange = HasUnit(content.relativeSource, u'%');
    Expand(content);
    const bool isRelative = mayChange ? IsRelative(content.relativeSource) : IsRelative(sourceKind);
    // The tokens are expanded first, so that a path and its form with a token are a double too.
    COrvCreateFile* const added = AddOwned(MakeFile(content, isRelative));
    if (added == nullptr) {
        DeletePayload(content.relativeSource, content.target);
    }
    return added;
}

COrvCreateFile* COrvCreateFilesCollection::AddFile(const SOrvFile& folder,
                                                   std::u16string_view name) {
    COrvCreateFile* const added =
        AddOwned(MakeFile(FindFolder(folder.target, folder.relativeSource), name, true));
    if (added == nullptr) {
        DeletePayload(Join(folder.relativeSource, name), Join(folder.target, name));
    }
    return added;
}

COrvItemPtr<COrvCreateFile> COrvCreateFilesCollection::MakeFile(const SOrvFile& content,
                                                                bool isRelative) {
    const std::u16string_view name = CommonName(content);
    const SOrvFileFolder& folder =
        FindFolder(WithoutEnd(content.target, name), WithoutEnd(content.relativeSource, name));
    return MakeFile(folder, name, isRelative && !content.target.IsEmpty());
}

COrvItemPtr<COrvCreateFile> COrvCreateFilesCollection::MakeFile(const SOrvFileFolder& folder,
                                                                std::u16string_view name,
                                                                bool isValid) {
    return Make<COrvCreateFile>(folder, CopyText(name, GetMemory()), isValid, m_hash.Hash(name));
}

const SOrvFileFolder& COrvCreateFilesCollection::FindFolder(std::u16string_view target,
                                                            std::u16string_view source) {
    // An empty collection may have been cleared, and its memory with it.
    if (m_folder != nullptr && !IsEmpty() &&
        platform::HasSameUnits(m_folder->target.text, target) &&
        platform::HasSameUnits(m_folder->source.text, source)) {
        // Not for a single file: its folder has the same texts to be made portable.
        KeepPortable(*m_folder);
        return *m_folder;
    }
    m_folder = nullptr;
    m_hash.SetStart({target});
    static_assert(std::is_trivially_destructible_v<SOrvFileFolder>, "it is freed, but never ends");
    std::pmr::memory_resource& memory = GetMemory();
    void* const place = memory.allocate(sizeof(SOrvFileFolder), alignof(SOrvFileFolder));
    m_folder = new (place) SOrvFileFolder{.target = {.text = CopyText(target, memory)},
                                          .source = {.text = CopyText(source, memory)}};
    return *m_folder;
}

void COrvCreateFilesCollection::KeepPortable(SOrvFileFolder& folder) {
    if (folder.isKept) {
        return;
    }
    folder.isKept = true;
    const auto keep = [this](SOrvFileStart& start, std::uint32_t flags) {
        std::u16string buffer;
        if (GetSanitizer().SanitizeFolder(start.text, flags, buffer)) {
            start.portable = CopyText(buffer, GetMemory());
            start.isPlain = IsPlainXmlText(buffer);
        }
    };
    keep(folder.target, kTargetFlags);
    keep(folder.source, kSourceFlags);
}

void COrvCreateFilesCollection::PrefetchItem(const COrvItem& item, unsigned step) const {
    COrvCollection::PrefetchItem(item, step);
    const auto& file = static_cast<const COrvCreateFile&>(item);
    if (step == 1) {
        Prefetch(file.GetNameInFolder());
        Prefetch(&file.GetFolder(), sizeof(SOrvFileFolder));
    } else if (step == 2) {
        Prefetch(WrittenStart(file.GetFolder().target));
        Prefetch(WrittenStart(file.GetFolder().source));
    }
}

void COrvCreateFilesCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    const CWrittenFile file(static_cast<const COrvCreateFile&>(item), GetSanitizer());
    WriteAttributes<CWrittenFile, SOrvFile>(kFileAttributes, writer, GetPackage(), file);
}

void COrvCreateFilesCollection::ReadItem(CXmlReader& reader) {
    ReadAttributes<CWrittenFile, SOrvFile>(kFileAttributes, reader, GetSanitizer(),
                                           ReadSoFar<SOrvFile>());
}

bool COrvCreateFilesCollection::FinishItem() {
    auto read = TakeRead<SOrvFile>();
    Expand(read);
    return AddOwned(MakeFile(read, IsRelative(read.relativeSource))) != nullptr;
}
