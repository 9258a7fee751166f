// platform/posix/files/folder_cache.h - the folders that are in use, by the way that leads to each.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/posix/files/file_location.h"
#include "platform/posix/files/folder.h"
#include "platform/posix/files/kept_file.h"

namespace platform {

// Keeps the folders last used open, so that the look-ups for one file cost a system call or two
// each, however deep the file lies. Every folder is checked when it is asked for, so that what
// others do is seen. A look-up starts at the nearest folder that is open, and passes many names
// below it at once. Bounded in descriptors and in names, but for what is in use. One thread at a
// time.
class CFolderCache {
public:
    [[nodiscard]] static CFolderCache& Get();

    // Gives the folder at `path`, which is location.path or the start of it. ERROR_PATH_NOT_FOUND
    // when there is none, or only by a link below the package folder.
    [[nodiscard]] int Open(const SFileLocation& location, std::u16string_view path,
                           std::shared_ptr<CFolder>& folder);

    // The same from a path as SplitPath leaves it.
    [[nodiscard]] int Open(std::u16string_view text, std::shared_ptr<CFolder>& folder);

    // The folder of the path itself, if it is among the last that were asked for; otherwise null,
    // which says nothing.
    [[nodiscard]] std::shared_ptr<CFolder> FindRecent(std::u16string_view path);

    // Keep an open file for the next reader of its path, and give it out, as CKeptFile does.
    void KeepOpen(std::u16string_view path, CFileDescriptor file) {
        m_kept.Keep(path, std::move(file));
    }
    [[nodiscard]] bool TakeKept(std::u16string_view path, CFileDescriptor& file, struct stat& info);

    // Makes `folder`, or with null none, the package folder. All that was known is forgotten.
    void SetPackageFolder(const std::shared_ptr<CFolder>& folder);

private:
    struct SCached {
        std::shared_ptr<CFolder> folder;
        std::uint64_t lastUse = 0;
    };
    struct SHash {
        using is_transparent = void;
        std::size_t operator()(std::u16string_view path) const {
            return std::hash<std::u16string_view>()(path);
        }
    };
    // A path as it was last given, so that it need not be read again.
    struct SRecent {
        std::u16string text;
        std::shared_ptr<CFolder> folder;
    };
    using Folders = std::unordered_map<std::u16string, SCached, SHash, std::equal_to<>>;

    std::shared_ptr<CFolder> FindCurrent(std::u16string_view path);
    std::shared_ptr<CFolder> FindNearest(std::u16string_view path, std::size_t& known);
    int OpenRoot(const SFileLocation& location, std::shared_ptr<CFolder>& folder) const;
    int Descend(std::u16string_view path, std::size_t known, std::shared_ptr<CFolder>& folder);
    int OpenChild(CFolder& parent, std::u16string_view name, std::shared_ptr<CFolder>& folder);
    std::shared_ptr<CFolder> OpenFarChild(const CFolder& parent, std::u16string_view names);
    std::shared_ptr<CFolder> Adopt(CFileDescriptor opened, const struct stat& info,
                                   const std::string& way, const CFolder& parent, bool isSealed);
    void Keep(std::u16string_view path, const std::shared_ptr<CFolder>& folder);
    void CloseOldest();
    void KeepNames(CFolder& folder);
    void LimitNames();
    [[nodiscard]] bool IsInPackage(int folder) const;
    [[nodiscard]] bool IsOutOrInPackage(const CFolder& folder) const;

    void CheckMachine();
    void Clear();

    Folders m_folders;
    // The names of folders that are closed by now: a walk passes each of them several times.
    std::map<FileId, SKnownNames> m_names;
    std::size_t m_nameCount = 0;
    std::array<SRecent, 4> m_recent;
    std::size_t m_nextRecent = 0;
    std::uint64_t m_uses = 0;
    std::uint64_t m_machine = 0;
    CKeptFile m_kept;
    std::shared_ptr<CFolder> m_package;
    std::vector<FileId> m_packageWay;  // the package folder and all above it; empty if unknown
};

}  // namespace platform
