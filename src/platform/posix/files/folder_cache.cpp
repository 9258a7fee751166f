#include "platform/posix/files/folder_cache.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>

#include "platform/described/description_in_effect.h"
#include "platform/posix/errno_status.h"
#include "platform/posix/files/folder_way.h"
#include "platform/status.h"
#include "platform/text.h"

namespace platform {

namespace {

constexpr std::size_t kMaxNames = 100'000;
// If this many names are missing, OpenFar passes them at once. Few folders are that far below any
// open one.
constexpr std::size_t kFarNames = 8;

// Opens a folder, also one that may be passed through but not be listed.
CFileDescriptor OpenFolder(int start, const char* name, int flags) {
    CFileDescriptor folder(openat(start, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags));
    if (!folder.IsOpen() && errno == EACCES) {
        folder = CFileDescriptor(openat(start, name, O_PATH | O_DIRECTORY | O_CLOEXEC | flags));
    }
    return folder;
}

// The end of the name in `path` that is `count` names after the one that ends at `from`.
std::size_t PassNames(std::u16string_view path, std::size_t from, std::size_t count) {
    for (; count > 0; --count) {
        from = std::min(path.find(u'\\', from + 1), path.size());
    }
    return from;
}

bool Contains(const std::vector<FileId>& way, FileId folder) {
    return std::find(way.begin(), way.end(), folder) != way.end();
}

// The status for a folder of a path that could not be opened.
int StatusOnTheWay(int status) {
    const bool isNoFolder = status == ERROR_FILE_NOT_FOUND || status == ERROR_CANT_ACCESS_FILE;
    return isNoFolder ? ERROR_PATH_NOT_FOUND : status;
}

}  // namespace

CFolderCache& CFolderCache::Get() {
    static CFolderCache cache;
    return cache;
}

int CFolderCache::Open(const SFileLocation& location, std::u16string_view path,
                       std::shared_ptr<CFolder>& folder) {
    CheckMachine();
    // `known` is how much of the path leads to `current`: all of it, or as far as the nearest open
    // folder or the root.
    std::size_t known = path.size();
    std::shared_ptr<CFolder> current = FindCurrent(path);
    if (!current) {
        current = FindNearest(path, known);
    }
    if (!current) {
        if (const int status = OpenRoot(location, current)) {
            return StatusOnTheWay(status);
        }
        known = location.rootLength;
        Keep(path.substr(0, known), current);
    }
    const int status = Descend(path, known, current);
    if (status == ERROR_SUCCESS) {
        folder = std::move(current);
    }
    return StatusOnTheWay(status);
}

bool CFolderCache::FindRecent(std::u16string_view text, std::shared_ptr<CFolder>& folder) {
    CheckMachine();
    for (const SRecent& recent : m_recent) {
        if (recent.folder && HasSameUnits(recent.text, text) && recent.folder->IsCurrent()) {
            folder = recent.folder;
            return true;
        }
    }
    return false;
}

void CFolderCache::NoteRecent(std::u16string_view text, const std::shared_ptr<CFolder>& folder) {
    SRecent& recent = m_recent[m_nextRecent];
    recent.text = text;
    recent.folder = folder;
    m_nextRecent = (m_nextRecent + 1) % m_recent.size();
}

// On another machine, drives and shares may be other folders.
void CFolderCache::CheckMachine() {
    if (m_machine != GetMachineGeneration()) {
        Clear();
        m_machine = GetMachineGeneration();
    }
}

void CFolderCache::Clear() {
    m_folders.clear();
    m_recent = {};
    m_names.clear();
    m_nameCount = 0;
    m_kept = {};
}

bool CFolderCache::TakeKept(std::u16string_view path, CFileDescriptor& file, struct stat& info) {
    CheckMachine();
    return m_kept.Take(path, file, info);
}

void CFolderCache::SetPackageFolder(const std::shared_ptr<CFolder>& folder) {
    m_package = folder;
    m_packageWay = folder ? GetWayUp(folder->GetDescriptor()) : std::vector<FileId>();
    Clear();
}

std::shared_ptr<CFolder> CFolderCache::FindCurrent(std::u16string_view path) {
    const auto entry = m_folders.find(path);
    if (entry == m_folders.end()) {
        return nullptr;
    }
    if (!entry->second.folder->IsCurrent()) {
        m_folders.erase(entry);
        return nullptr;
    }
    entry->second.lastUse = ++m_uses;
    return entry->second.folder;
}

// The open folder that is nearest above the end of `path`; `known` becomes the length of its path.
std::shared_ptr<CFolder> CFolderCache::FindNearest(std::u16string_view path, std::size_t& known) {
    // Mostly it is only a few names away. To look so for the start of each would take a deep path
    // the square of its length.
    constexpr int kFewNames = 4;
    std::size_t end = path.rfind(u'\\');
    for (int i = 0; i < kFewNames && end != 0 && end != std::u16string_view::npos; ++i) {
        if (std::shared_ptr<CFolder> folder = FindCurrent(path.substr(0, end))) {
            known = end;
            return folder;
        }
        end = path.rfind(u'\\', end - 1);
    }
    // Ends because every round without a result removes a folder that is not current.
    for (;;) {
        std::u16string_view nearest;
        for (const auto& [key, cached] : m_folders) {
            const bool isLonger = key.size() > nearest.size() && key.size() < path.size();
            if (isLonger && path[key.size()] == u'\\' &&
                HasSameUnits(path.substr(0, key.size()), key)) {
                nearest = path.substr(0, key.size());
            }
        }
        std::shared_ptr<CFolder> folder = nearest.empty() ? nullptr : FindCurrent(nearest);
        if (folder || nearest.empty()) {
            known = nearest.size();
            return folder;
        }
    }
}

// Goes from `folder`, which the first `known` units of the path lead to, to the end of the path.
int CFolderCache::Descend(std::u16string_view path, std::size_t known,
                          std::shared_ptr<CFolder>& folder) {
    auto left = static_cast<std::size_t>(
        std::count(path.begin() + static_cast<std::ptrdiff_t>(known), path.end(), u'\\'));
    std::size_t stretch = left;
    while (left > 0) {
        // The last name is looked up alone, so that its parent stays open for the names beside it.
        // And OpenFar must not pass the package folder, because below it no link may be followed.
        const std::size_t wanted = std::min(stretch, left - 1);
        const bool isFar = wanted >= kFarNames && IsOutOrInPackage(*folder);
        const std::size_t count = isFar ? wanted : 1;
        const std::size_t end = PassNames(path, known, count);
        const std::u16string_view names = path.substr(known + 1, end - known - 1);
        std::shared_ptr<CFolder> next;
        if (isFar) {
            // One of the names is a link or in another letter case. Half of them may be without
            // it, so there are few tries, and in the end one name at a time.
            next = OpenFarChild(*folder, names);
            stretch = next ? 2 * count : count / 2;
            if (!next) {
                continue;
            }
        } else {
            if (const int status = OpenChild(*folder, names, next)) {
                return status;
            }
            stretch = std::max(stretch, kFarNames);
        }
        Keep(path.substr(0, end), next);
        folder = std::move(next);
        known = end;
        left -= count;
    }
    return ERROR_SUCCESS;
}

// Opens a folder below `parent` without a look at each name. Null if a name needs one, such as a
// link or a name in another letter case, and if a folder may not be passed.
std::shared_ptr<CFolder> CFolderCache::OpenFarChild(const CFolder& parent,
                                                    std::u16string_view names) {
    std::string way;
    CFileDescriptor opened = OpenFar(parent.GetDescriptor(), names, way);
    struct stat info {};
    if (!opened.IsOpen() || fstat(opened.Get(), &info) != 0) {
        return nullptr;
    }
    return Adopt(std::move(opened), info, way, parent, parent.IsSealed());
}

int CFolderCache::OpenRoot(const SFileLocation& location, std::shared_ptr<CFolder>& folder) const {
    CFileDescriptor opened = OpenFolder(AT_FDCWD, location.root.c_str(), 0);
    struct stat info {};
    if (!opened.IsOpen() || fstat(opened.Get(), &info) != 0) {
        return StatusFromErrno(errno);
    }
    const bool isSealed = IsInPackage(opened.Get());
    folder = std::make_shared<CFolder>(std::move(opened), location.root, info, isSealed);
    return ERROR_SUCCESS;
}

int CFolderCache::OpenChild(CFolder& parent, std::u16string_view name,
                            std::shared_ptr<CFolder>& folder) {
    SEntry entry;
    if (const int status = parent.Find(name, entry)) {
        return status;
    }
    // A pipe or a device must not be opened even to see that it is no folder.
    if (!entry.IsFolder()) {
        return ERROR_PATH_NOT_FOUND;
    }
    CFileDescriptor opened =
        OpenFolder(parent.GetDescriptor(), entry.name.c_str(), parent.IsSealed() ? O_NOFOLLOW : 0);
    struct stat info {};
    if (!opened.IsOpen() || fstat(opened.Get(), &info) != 0) {
        return StatusFromErrno(errno);
    }
    // A folder below an unsealed one is sealed only if it is the package folder, or a link led
    // there.
    const bool isSealed =
        parent.IsSealed() || (m_package && (entry.isLink ? IsInPackage(opened.Get())
                                                         : m_package->GetId() == GetFileId(info)));
    folder = Adopt(std::move(opened), info, entry.name, parent, isSealed);
    return ERROR_SUCCESS;
}

// Makes a folder of the descriptor that `way`, below the parent, has led to. It gets the names that
// were kept when it was closed.
std::shared_ptr<CFolder> CFolderCache::Adopt(CFileDescriptor opened, const struct stat& info,
                                             const std::string& way, const CFolder& parent,
                                             bool isSealed) {
    std::string path;
    path.reserve(parent.GetPath().size() + 1 + way.size());
    path += parent.GetPath();
    if (path.back() != '/') {
        path += '/';
    }
    path += way;
    auto folder =
        std::make_shared<CFolder>(std::move(opened), std::move(path), info, isSealed, &parent);
    if (const auto known = m_names.find(folder->GetId()); known != m_names.end()) {
        m_nameCount -= known->second.names->GetCount();
        folder->PutNames(std::move(known->second));
        m_names.erase(known);
    }
    return folder;
}

void CFolderCache::Keep(std::u16string_view path, const std::shared_ptr<CFolder>& folder) {
    MakeRoom();
    m_folders[std::u16string(path)] = {folder, ++m_uses};
}

// Makes room for one more folder and its names.
void CFolderCache::MakeRoom() {
    std::size_t names = 0;
    auto oldest = m_folders.begin();
    for (auto entry = oldest; entry != m_folders.end(); ++entry) {
        names += entry->second.folder->GetNameCount();
        oldest = entry->second.lastUse < oldest->second.lastUse ? entry : oldest;
    }
    if (m_folders.size() >= m_maxFolders) {
        names -= oldest->second.folder->GetNameCount();
        Close(oldest);
    }
    if (names > kMaxNames) {
        DropNames(names);
    }
}

void CFolderCache::Close(Folders::iterator entry) {
    // If someone still searches the folder, its names stay with it.
    if (entry->second.folder.use_count() == 1) {
        KeepNames(*entry->second.folder);
    }
    m_folders.erase(entry);
}

void CFolderCache::KeepNames(CFolder& folder) {
    SKnownNames known = folder.TakeNames();
    const std::size_t count = known.names ? known.names->GetCount() : 0;
    if (count == 0 || count > kMaxNames) {
        return;
    }
    // Dropping all of them is simple, and happens once in 100,000 names.
    if (m_nameCount + count > kMaxNames) {
        m_names.clear();
        m_nameCount = 0;
    }
    m_nameCount += m_names.try_emplace(folder.GetId(), std::move(known)).second ? count : 0;
}

// Drops names of open folders, which have `count`, until there are few enough. The folders stay
// open.
void CFolderCache::DropNames(std::size_t count) {
    for (auto entry = m_folders.begin(); entry != m_folders.end() && count > kMaxNames; ++entry) {
        // A folder that is searched would have to read its names again at once.
        if (entry->second.folder.use_count() == 1) {
            count -= entry->second.folder->GetNameCount();
            static_cast<void>(entry->second.folder->TakeNames());
        }
    }
}

bool CFolderCache::IsInPackage(int folder) const {
    if (!m_package) {
        return false;
    }
    const std::vector<FileId> way = GetWayUp(folder);
    // If the folders above are not known, this one counts as part of the package, and no link below
    // it is followed.
    return way.empty() || Contains(way, m_package->GetId());
}

// Whether everything below a folder is in the package or nothing is, links apart.
bool CFolderCache::IsOutOrInPackage(const CFolder& folder) const {
    return folder.IsSealed() || !m_package ||
           (!m_packageWay.empty() && !Contains(m_packageWay, folder.GetId()));
}

}  // namespace platform
