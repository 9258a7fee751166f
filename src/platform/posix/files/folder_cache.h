// platform/posix/files/folder_cache.h - the folders that are in use, by their paths.
#pragma once

#include <algorithm>
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

#include "platform/posix/files/file_io.h"
#include "platform/posix/files/file_location.h"
#include "platform/posix/files/folder.h"
#include "platform/posix/files/kept_file.h"
#include "platform/text.h"

namespace platform {

// Keeps the folders that were used last open, so that a look-up costs one or two system calls,
// however deep the file is. A look-up starts at the nearest open folder above the file, and passes
// many names below it at once.
//
// INVARIANT: a folder is given out only after IsCurrent() has confirmed that its path leads to it,
// so changes by others are seen. `m_folders` has at most `m_maxFolders`. The open folders and
// `m_names` have at most kMaxNames names each, except for folders that someone uses at the moment;
// `m_nameCount` is the number in `m_names`. All of it is for machine number `m_machine` and the
// package folder `m_package`. When one of these changes, everything is dropped.
// Threads: one at a time, which is the walk's or the one that waits for it.
// Gain: 82 % less CPU (bench files-memory, 12,500 files).
class CFolderCache {
public:
    [[nodiscard]] static CFolderCache& Get();

    // Gives the folder at `path`, which is location.path or the start of it. ERROR_PATH_NOT_FOUND
    // when there is none, or only by a link below the package folder.
    [[nodiscard]] int Open(const SFileLocation& location, std::u16string_view path,
                           std::shared_ptr<CFolder>& folder);

    // Gives the folder of a path as SplitPath leaves it, if it was noted a moment ago and its path
    // still leads to it.
    [[nodiscard]] bool FindRecent(std::u16string_view text, std::shared_ptr<CFolder>& folder);
    // Notes that such a path leads to the folder that Open has just given for it.
    void NoteRecent(std::u16string_view text, const std::shared_ptr<CFolder>& folder);

    // Keep an open file for the next reader of its path, and give it out, as CKeptFile does.
    void KeepOpen(std::u16string_view folder, std::u16string_view name, CFileDescriptor file) {
        m_kept.Keep(folder, name, std::move(file));
    }
    [[nodiscard]] bool TakeKept(std::u16string_view path, CFileDescriptor& file, struct stat& info);

    // Makes `folder` the package folder; null means that there is none. Drops everything.
    void SetPackageFolder(const std::shared_ptr<CFolder>& folder);

private:
    struct SCached {
        std::shared_ptr<CFolder> folder;
        std::uint64_t lastUse = 0;
    };
    // Of the length and the last units of a path, which tell nearly all folders apart. With so few
    // folders, the others cost little too.
    // Gain: 1.4 % of the instructions of a conversion of small files.
    struct SHash {
        using is_transparent = void;
        std::size_t operator()(std::u16string_view path) const {
            constexpr std::size_t kHashed = 16;
            const std::size_t start = path.size() - std::min(path.size(), kHashed);
            return std::hash<std::u16string_view>()(path.substr(start)) + path.size();
        }
    };
    // The paths are long, and == compares one unit at a time.
    struct SEqual {
        using is_transparent = void;
        bool operator()(std::u16string_view left, std::u16string_view right) const {
            return HasSameUnits(left, right);
        }
    };
    // A path as a caller gave it, and its folder. So the path need not be parsed again.
    // Gain: 4 % less CPU (bench files-memory, 12,500 files), 20 % (bench FindEntry/File).
    struct SRecent {
        std::u16string text;
        std::shared_ptr<CFolder> folder;
    };
    using Folders = std::unordered_map<std::u16string, SCached, SHash, SEqual>;

    std::shared_ptr<CFolder> FindCurrent(std::u16string_view path);
    std::shared_ptr<CFolder> FindNearest(std::u16string_view path, std::size_t& known);
    int OpenRoot(const SFileLocation& location, std::shared_ptr<CFolder>& folder) const;
    int Descend(std::u16string_view path, std::size_t known, std::shared_ptr<CFolder>& folder);
    int OpenChild(CFolder& parent, std::u16string_view name, std::shared_ptr<CFolder>& folder);
    std::shared_ptr<CFolder> OpenFarChild(const CFolder& parent, std::u16string_view names);
    std::shared_ptr<CFolder> Adopt(CFileDescriptor opened, const struct stat& info,
                                   const std::string& way, const CFolder& parent, bool isSealed);
    void Keep(std::u16string_view path, const std::shared_ptr<CFolder>& folder);
    void MakeRoom();
    void Close(Folders::iterator entry);
    void KeepNames(CFolder& folder);
    void DropNames(std::size_t count);
    [[nodiscard]] bool IsInPackage(int folder) const;
    [[nodiscard]] bool IsOutOrInPackage(const CFolder& folder) const;

    void CheckMachine();
    void Clear();

    // Most of the usual 1024 descriptors are left for the rest of the process.
    static constexpr std::size_t kUsualFolders = 64;
    const std::size_t m_maxFolders = ShareOfDescriptors(kUsualFolders);
    Folders m_folders;
    // The names of folders that were closed, because a walk comes back to most of them: for their
    // files, and later for each subfolder. CFolder::PutNames ignores names that are out of date.
    // Gain: 6 % fewer system calls in a package of 100 chains of 60 folders, 2 % in bench
    // files-memory with 12,500 files.
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
