// platform/posix/files/folder.h - an open folder and what is known of it.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/posix/files/file_descriptor.h"
#include "platform/posix/files/folder_entry.h"
#include "platform/posix/files/name_set.h"

namespace platform {

// What of a folder changes whenever a name is added or removed.
struct SFolderStamp {
    explicit SFolderStamp(const struct stat& info);
    bool operator==(const SFolderStamp&) const = default;
    // Whether the changes behind the two lie closer together than any coarse clock ticks.
    [[nodiscard]] bool IsRightAfter(const SFolderStamp& other) const;

    time_t modified, changed;
    long modifiedPart, changedPart;
    off_t size;
    nlink_t links;
};

// The names in a folder when it had a certain stamp; none, when they are not known.
struct SKnownNames {
    SFolderStamp stamp;
    std::unique_ptr<CNameSet> names;
};

// A folder that stays open, so that it remains the same one whatever happens to the way that led
// to it. Its names are read when first asked for and kept for as long as the folder's times and
// size stay what they were; changes made through this class are entered into them.
class CFolder {
public:
    // `info` is of `folder`, `path` the way that led there, through `parent` if there is one, which
    // is current. Below a folder with `isSealed` no link is followed.
    CFolder(CFileDescriptor folder, std::string path, const struct stat& info, bool isSealed,
            const CFolder* parent = nullptr);

    [[nodiscard]] int GetDescriptor() const { return m_folder.Get(); }
    [[nodiscard]] FileId GetId() const { return m_id; }
    [[nodiscard]] const std::string& GetPath() const { return m_path; }
    [[nodiscard]] bool IsSealed() const { return m_isSealed; }

    // Whether the way still leads here. Names that are out of date are forgotten on this occasion.
    // A folder that is searched stays where it is, as it does on Windows, where nobody can move it.
    // The way is looked at again only after a moment, and not for every question about one file,
    // unless the folder itself shows a change: being removed does, and mostly being moved. The
    // moment is longer for a longer way, so that looking stays a small part of the work.
    [[nodiscard]] bool IsCurrent();
    void BeginSearch() { ++m_searches; }
    void EndSearch() { --m_searches; }

    // Looks an entry up by its name on disk. 0, or errno.
    [[nodiscard]] int Look(const std::string& name, SEntry& entry);

    // Looks an entry up by the name that it appears under; an exact name goes before one that
    // differs in letter case. ERROR_FILE_NOT_FOUND leaves in entry.name the name that a new file
    // gets. ERROR_INVALID_NAME when there can be none.
    [[nodiscard]] int Find(std::u16string_view text, SEntry& entry);

    // Notes the name of a regular file that a search comes by.
    void NotePassed(const std::string& name) { m_lastRegular = name; }
    // Gives what was last looked up or passed if that was a regular file and this is its name. It
    // may be gone or another by now, but it can be opened to find out.
    [[nodiscard]] bool Recall(std::u16string_view text, SEntry& entry) const;

    // Whether Find would not find `text`, as far as the names tell; entry.name is then set.
    [[nodiscard]] bool LacksName(std::u16string_view text, SEntry& entry);

    // The names as of the last IsCurrent(); null, with errno set, when they cannot be read. Names
    // that are already held are good enough to go on with a search.
    [[nodiscard]] const CNameSet* GetNames();
    [[nodiscard]] const CNameSet* GetHeldNames() { return m_names ? m_names.get() : GetNames(); }
    // How many names are held.
    [[nodiscard]] std::size_t GetNameCount() const { return m_names ? m_names->GetCount() : 0; }
    // Take the names out of a folder that is closed, and put them into it when it is open again.
    // They count only while the folder is as it was.
    [[nodiscard]] SKnownNames TakeNames();
    void PutNames(SKnownNames known);

    // Enter what the caller has just made or removed here.
    void NoteAdded(const std::string& name, EEntryKind kind);
    void NoteRemoved(const std::string& name);

    // The same for a file that another thread makes between the two calls. Until then no change of
    // the folder is taken for that of someone else.
    void BeginAdding(const std::string& name, EEntryKind kind);
    void EndAdding(const std::string& name, bool isThere);

private:
    [[nodiscard]] int LookAtSelf(struct stat& info);
    void NoteOwnChange();

    CFileDescriptor m_folder;
    std::string m_path;
    FileId m_id;
    bool m_isSealed;
    SFolderStamp m_stamp;
    std::unique_ptr<CNameSet> m_names;
    bool m_isRecent = false;      // since then it may have changed without another stamp
    bool m_hasFineTimes = false;  // no two changes have the same stamp
    int m_searches = 0;
    int m_additions = 0;               // begun and not ended
    std::int64_t m_lastLookAtWay = 0;  // in nanoseconds
    std::string m_lastRegular;
};

}  // namespace platform
