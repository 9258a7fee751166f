#include "host/output_folder.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <set>
#include <string_view>
#include <thread>

#include "host/console.h"
#include "host/path_rules.h"
#include "host/status_text.h"
#include "platform/local_paths.h"
#include "platform/text.h"

namespace host {

namespace {

constexpr std::size_t kTagLength = 8;  // hexadecimal digits
constexpr char16_t kSeparator = std::filesystem::path::preferred_separator;
constexpr const char* kKeptFolder = "old";
constexpr std::u16string_view kLockEnd = u".lock";

// A full path for comparing; it ends in a separator. Without one, a folder "/a/b" would seem to
// contain "/a/bc". Letter case never counts, so on POSIX a few places are refused that would do.
std::u16string FullText(const std::filesystem::path& path) {
    return platform::FoldedText(platform::PathText(FullPath(path) / ""));
}

// The first name on the way from a folder to what is below it; empty when it is not. Both are texts
// of FullText.
std::u16string_view NameBelow(std::u16string_view folder, std::u16string_view path) {
    if (!path.starts_with(folder)) {
        return {};
    }
    path.remove_prefix(folder.size());
    return path.substr(0, path.find(kSeparator));
}

// The name of a hidden folder, if this is the path of one or of the file that belongs to one; else
// empty.
std::u16string HiddenName(const std::filesystem::path& path) {
    // The form is strict, because what has such a name may be removed.
    const std::u16string name = platform::PathText(path.filename());
    const std::u16string_view view = name;
    if (!view.starts_with(kHiddenStart)) {
        return {};
    }
    const std::u16string_view tag = view.substr(kHiddenStart.size(), kTagLength);
    const std::u16string_view end = view.substr(kHiddenStart.size() + tag.size());
    const bool isOne = tag.size() == kTagLength &&
                       tag.find_first_not_of(u"0123456789ABCDEF") == tag.npos &&
                       (end.empty() || end == kLockEnd);
    return isOne ? name.substr(0, name.size() - end.size()) : u"";
}

std::filesystem::path LockOf(std::filesystem::path hidden) { return hidden += kLockEnd; }

}  // namespace

COutputFolder::~COutputFolder() {
    try {
        Remove();
    } catch (const std::bad_alloc&) {
        // The next run removes what is left.
        TellNoMemory();
    }
}

bool COutputFolder::Prepare(const SOutputRequest& request) {
    const std::size_t name = request.pattern.rfind(u'\\') + 1;
    m_start = request.pattern.substr(0, name);
    m_name = request.pattern.substr(name);
    // The digits after the brace. A package without targets gives no output, and shares a name.
    const std::u16string tag = request.guids.empty() ? std::u16string(kTagLength, u'0')
                                                     : request.guids.front().substr(1, kTagLength);
    m_hiddenStart = m_start + std::u16string(kHiddenStart) + tag + u'\\';
    m_folder = platform::LocalPath(request.pattern).parent_path();
    m_hidden = m_folder / (std::u16string(kHiddenStart) + tag);
    m_mayReplace = request.mayReplace;
    if (!CheckPlaces(request) || !MakeFolders()) {
        return false;
    }
    // Taken before the library can use up the files that this process may open.
    if (!m_reserve.Take()) {
        Complain("too few files may be open at once; raise the limit. Nothing was converted");
        return false;
    }
    RemoveLeftovers();
    // Last, because others may have put something there until the hidden folder is held.
    return MakeHidden() && CheckNewness(request.guids);
}

// Neither must a capture get files while it is read, nor may it be replaced.
bool COutputFolder::CheckPlaces(const SOutputRequest& request) const {
    const std::u16string package = FullText(FullPath(request.profile).parent_path());
    const std::u16string folder = FullText(m_folder);
    const std::u16string_view inPackage = NameBelow(package, folder);
    const std::u16string_view inFolder = NameBelow(folder, package);
    for (const std::u16string& guid : request.guids) {
        // A target's folder in a package is named by its GUID without braces, and its version.
        const std::u16string captured =
            platform::FoldedText(guid.substr(1, guid.size() - 2)) + u'_';
        if (inPackage.starts_with(captured)) {
            Complain("the output " + Quote(m_folder) + " is in the captured folder of target " +
                     Printable(guid) + "; name another place");
            return false;
        }
        if (inFolder == platform::FoldedText(guid)) {
            Complain("the package is where target " + Printable(guid) +
                     " would be; name another place than " + Quote(m_folder));
            return false;
        }
        for (const std::filesystem::path& file : request.files) {
            const std::u16string place = FullText(FullPath(file).parent_path());
            if (NameBelow(folder, place) == platform::FoldedText(guid)) {
                Complain("the file " + Quote(file) + " would be in the folder of target " +
                         Printable(guid) + "; name another place");
                return false;
            }
        }
    }
    return true;
}

bool COutputFolder::CheckNewness(const std::vector<std::u16string>& guids) const {
    // All are counted, so that one message tells of all of them.
    const Entries entries = m_mayReplace ? Entries() : ListEntries();
    std::size_t count = 0;
    std::filesystem::path first;
    for (const std::u16string& guid : guids) {
        const auto entry = entries.find(platform::FoldedText(guid));
        if (entry != entries.end() && count++ == 0) {
            first = entry->second;
        }
    }
    if (count != 0) {
        Complain(Quote(first) + (count > 1 ? " and others of the targets are" : " is") +
                 " there already; name another output, or have it replaced by --replace. Nothing "
                 "was converted");
    }
    return count == 0;
}

bool COutputFolder::MakeFolders() {
    std::vector<std::filesystem::path> missing;
    // Each round goes up by one name; the root exists.
    for (std::filesystem::path place = m_folder; !Exists(place) && place.has_relative_path();
         place = place.parent_path()) {
        missing.push_back(place);
    }
    for (auto place = missing.rbegin(); place != missing.rend(); ++place) {
        const std::error_code error = MakeFolder(*place, false);
        // Another process may make the same ones.
        if (error && !Exists(*place)) {
            Complain("the folder " + Quote(*place) + " cannot be made: " + DescribeError(error) +
                     "; nothing was converted");
            return false;
        }
        if (!error) {
            // Remove takes away those that are still empty.
            m_made.push_back(*place);
        }
    }
    return true;
}

bool COutputFolder::MakeHidden() {
    // Someone who removes leftovers may hold it for a moment.
    constexpr int kMaxTries = 10;
    constexpr std::chrono::milliseconds kPause{20};
    std::error_code error = m_lock.Hold(LockOf(m_hidden));
    for (int tries = 1; error == std::errc::resource_unavailable_try_again && tries < kMaxTries;
         ++tries) {
        std::this_thread::sleep_for(kPause);
        error = m_lock.Hold(LockOf(m_hidden));
    }
    if (error == std::errc::resource_unavailable_try_again) {
        Complain("another conversion of this package is writing into " + Quote(m_folder) +
                 " now; name another output, or wait for it. Nothing was converted");
        return false;
    }
    // Where nothing can be held, a folder in the way may be in use.
    if (!error && Exists(m_hidden) && !RemoveLeftover(m_hidden)) {
        return false;
    }
    if (!error || error == std::errc::no_lock_available) {
        error = MakeFolder(m_hidden, true);
        m_isHiddenMade = !error;
    }
    if (error == std::errc::file_exists) {
        Complain("another conversion may be writing into " + Quote(m_hidden) +
                 "; if there is none, remove this folder. Nothing was converted");
    } else if (error) {
        Complain("the folder " + Quote(m_folder) + " cannot be written: " + DescribeError(error) +
                 "; nothing was converted");
    }
    return m_isHiddenMade;
}

void COutputFolder::RemoveLeftovers() const {
    // A set, because a hidden folder and its lock file give the same name.
    std::set<std::filesystem::path> hidden;
    std::vector<SFolderEntry> entries;
    static_cast<void>(ListFolder(m_folder, entries));  // what is not found is left for later
    for (const SFolderEntry& entry : entries) {
        const std::u16string name = HiddenName(entry.name);
        if (!name.empty()) {
            hidden.insert(m_folder / name);
        }
    }
    for (const std::filesystem::path& folder : hidden) {
        // It removes its file when it ends, so the file of the killed process goes too.
        CHeldFile lock;
        // What cannot be held is in use, or someone else's.
        if (!lock.Hold(LockOf(folder)) && Exists(folder)) {
            static_cast<void>(RemoveLeftover(folder));  // which tells
        }
    }
}

bool COutputFolder::RemoveLeftover(const std::filesystem::path& hidden) const {
    // What cannot be put back must not be removed, because it is the only copy of an older result.
    const bool isRemoved = PutBack(hidden) && RemoveTree(hidden);
    Complain(isRemoved ? "what a conversion that was killed had left in " + Quote(m_folder) +
                             " has been removed"
                       : Quote(hidden) +
                             " is left from a conversion that was killed, and cannot "
                             "be removed; remove it by hand");
    return isRemoved;
}

// Moves what has been taken from the folder back, unless a new one is in its place.
bool COutputFolder::PutBack(const std::filesystem::path& hidden) const {
    const Entries present = ListEntries();
    const std::filesystem::path folder = hidden / kKeptFolder;
    std::vector<SFolderEntry> entries;
    // Something that is not listed would be removed with the rest.
    bool isBack = !Exists(folder) || !ListFolder(folder, entries);
    for (const SFolderEntry& entry : entries) {
        const std::filesystem::path kept = folder / entry.name;
        const std::filesystem::path place = m_folder / entry.name;
        std::error_code error;
        if (present.count(platform::FoldedText(platform::PathText(entry.name))) == 0) {
            error = MoveFolder(kept, place);
        }
        if (error) {
            Complain(Quote(kept) + " belongs to " + Quote(place) +
                     ", but cannot be moved there: " + DescribeError(error));
            isBack = false;
        }
    }
    return isBack;
}

COutputFolder::Entries COutputFolder::ListEntries() const {
    std::vector<SFolderEntry> listed;
    static_cast<void>(ListFolder(m_folder, listed));  // what is in the way shows when it is moved
    Entries entries;
    for (const SFolderEntry& entry : listed) {
        entries.emplace(platform::FoldedText(platform::PathText(entry.name)),
                        m_folder / entry.name);
    }
    return entries;
}

std::filesystem::path COutputFolder::GetHiddenManifest(const std::u16string& guid) const {
    return platform::LocalPath(m_hiddenStart + guid + u'\\' + m_name);
}

std::filesystem::path COutputFolder::GetManifest(const std::u16string& guid) const {
    return platform::LocalPath(m_start + guid + u'\\' + m_name);
}

std::u16string COutputFolder::GetFile(std::u16string_view name) const {
    return m_hiddenStart + std::u16string(name);
}

std::error_code COutputFolder::TryWriting() const {
    constexpr std::size_t kProbeBytes = std::size_t{1} << 16;
    const std::filesystem::path probe = m_hidden / "probe";
    // A stream only tells that it has failed. The reason is in errno.
    errno = 0;
    std::ofstream file(probe, std::ios::binary);
    file << std::string(kProbeBytes, ' ');
    file.close();
    const std::error_code error =
        file.fail() ? std::error_code(errno, std::generic_category()) : std::error_code();
    RemoveTree(probe);
    return error;
}

bool COutputFolder::Publish(const std::vector<std::u16string>& guids) {
    const Entries entries = ListEntries();
    std::vector<SMove> moves;
    for (const std::u16string& guid : guids) {
        const auto former = entries.find(platform::FoldedText(guid));
        moves.push_back({m_hidden / guid,
                         m_folder / guid,
                         former != entries.end() ? former->second : std::filesystem::path(),
                         {}});
    }
    std::size_t moved = 0;
    std::error_code error;
    try {
        for (; moved < moves.size() && !error; moved += error ? 0 : 1) {
            // Someone else may have made the folder since CheckNewness has looked.
            const bool isTaken = !moves[moved].former.empty() && !m_mayReplace;
            error = isTaken ? make_error_code(std::errc::file_exists) : Move(moves[moved]);
        }
    } catch (const std::bad_alloc&) {
        Undo(std::span(moves).first(moved));
        throw;
    }
    if (error) {
        // Before it is told, which needs memory.
        Undo(std::span(moves).first(moved));
        Complain("target " + Printable(guids[moved]) + " cannot be moved to " +
                 Quote(moves[moved].place) + ": " + DescribeError(error));
    }
    return !error;
}

std::error_code COutputFolder::Move(SMove& move) const {
    if (move.former.empty()) {
        return MoveFolder(move.hidden, move.place);
    }
    // An older folder whose name has other letter case is moved away instead, because an exchange
    // needs both under their exact names.
    if (move.former == move.place && ExchangeFolders(move.hidden, move.place)) {
        return {};
    }
    // For a moment none of the two is in place. If the process is killed then, the next run finds
    // the kept one in the hidden folder and puts it back.
    const std::filesystem::path keptFolder = m_hidden / kKeptFolder;
    static_cast<void>(MakeFolder(keptFolder, true));  // shows when something is moved into it
    const std::filesystem::path kept = keptFolder / move.former.filename();
    if (const std::error_code error = MoveFolder(move.former, kept)) {
        return error;
    }
    move.kept = kept;
    return MoveFolder(move.hidden, move.place);
}

// What has been kept is put back when the hidden folder is removed.
void COutputFolder::Undo(std::span<const SMove> moves) {
    for (auto move = moves.rbegin(); move != moves.rend(); ++move) {
        // A second exchange brings both back. Without one, this frees the place for the kept one.
        const bool isExchanged = !move->former.empty() && move->kept.empty();
        const bool isBack = isExchanged ? ExchangeFolders(move->hidden, move->place)
                                        : !MoveFolder(move->place, move->hidden);
        m_isHalfDone = m_isHalfDone || !isBack;
    }
    // Last, because it needs memory.
    if (m_isHalfDone) {
        Complain("not all targets in " + Quote(m_folder) +
                 " are the former ones: what was moved there cannot be moved back");
    }
}

bool COutputFolder::Remove() {
    // While a conversion is being ended, a step that is in progress may add a file once more.
    constexpr int kMaxTries = 50;
    constexpr std::chrono::milliseconds kPause{20};
    m_reserve.GiveBack();
    bool isRemoved = !m_isHiddenMade;
    // What could not be put back would be lost with the hidden folder.
    const bool mayRemove = isRemoved || PutBack(m_hidden);
    for (int tries = 0; mayRemove && !isRemoved && tries < kMaxTries; ++tries) {
        isRemoved = RemoveTree(m_hidden);
        if (!isRemoved) {
            std::this_thread::sleep_for(kPause);
        }
    }
    if (!isRemoved) {
        Complain(Quote(m_hidden) + " cannot be removed; remove it by hand");
    }
    m_isHiddenMade = false;
    // Not earlier: once the file is free, another process may make the hidden folder anew.
    if (!m_lock.Release()) {
        Complain(Quote(LockOf(m_hidden)) + " cannot be removed; remove it by hand");
    }
    // The deepest first, because a folder goes only when it is empty.
    for (auto place = m_made.rbegin(); place != m_made.rend(); ++place) {
        std::error_code error;
        std::filesystem::remove(*place, error);  // fails when something is in it
    }
    m_made.clear();
    return isRemoved;
}

}  // namespace host
