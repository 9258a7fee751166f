// host/output_folder.h - has a conversion write where nobody looks, and moves whole targets into
// place.
#pragma once

#include <filesystem>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/system.h"

namespace host {

// Begins the names of folders in which the program works.
constexpr std::u16string_view kHiddenStart = u".cas2orv-";

// What a conversion is asked to write.
struct SOutputRequest {
    std::u16string pattern;                    // FOLDER\NAME, as the library takes it
    std::filesystem::path profile;             // of the package
    std::vector<std::filesystem::path> files;  // the log and the record, as far as there are some
    std::vector<std::u16string> guids;         // of its targets, in braces
    bool mayReplace = false;                   // whether a target's folder may exist
};

// The folder of the output. While a conversion runs, all that it writes is in a hidden folder
// there, named ".cas2orv-" and the first digits of the first target's GUID. The process holds a
// file of the same name and ".lock", which tells others that the hidden folder is in use. Both are
// removed at the end; those of a process that was killed are removed by the next one that writes
// into the folder of the output.
//
// INVARIANT: only who holds the file touches the hidden folder. What "old" in it holds has been
// taken from the output, and belongs back there unless a new one is in its place.
//
// Problems are told on stderr, with what to do. One thread at a time.
class COutputFolder {
public:
    COutputFolder() = default;
    ~COutputFolder();
    COutputFolder(const COutputFolder&) = delete;
    COutputFolder& operator=(const COutputFolder&) = delete;

    // Checks the request, removes what others have left, makes missing folders and the hidden one.
    // False when the output cannot be made. What is made is removed by Remove in any case.
    [[nodiscard]] bool Prepare(const SOutputRequest& request);

    // The pattern that the library is given instead.
    [[nodiscard]] std::u16string GetPattern() const { return m_hiddenStart + m_name; }
    // The manifest of a target while it is hidden, and in its place.
    [[nodiscard]] std::filesystem::path GetHiddenManifest(const std::u16string& guid) const;
    [[nodiscard]] std::filesystem::path GetManifest(const std::u16string& guid) const;
    // The name, for the library, of another file that goes with the conversion.
    [[nodiscard]] std::u16string GetFile(std::u16string_view name) const;
    // The error of writing there now, such as that of a full disk; none when it works.
    [[nodiscard]] std::error_code TryWriting() const;

    // Moves the folders of these targets into their places, in place of older ones if the request
    // allows it. Each moves in one step, where the system has one. False when one cannot be moved;
    // then the others are moved back, and the older ones are where they were, unless IsHalfDone.
    [[nodiscard]] bool Publish(const std::vector<std::u16string>& guids);
    // Whether Publish has moved some targets and cannot move them back, which it has told.
    [[nodiscard]] bool IsHalfDone() const { return m_isHalfDone; }

    // Removes the hidden folder, and the folders that Prepare has made if they are still empty.
    // False when something stays. Also for the thread that ends a conversion.
    bool Remove();

private:
    // One target on its way.
    struct SMove {
        std::filesystem::path hidden;
        std::filesystem::path place;
        std::filesystem::path former;  // where an older one was; empty without
        std::filesystem::path kept;    // where that one is now; empty when it was exchanged
    };
    // What is in the folder, by its folded name.
    using Entries = std::map<std::u16string, std::filesystem::path>;

    [[nodiscard]] bool CheckPlaces(const SOutputRequest& request) const;
    [[nodiscard]] bool CheckNewness(const std::vector<std::u16string>& guids) const;
    [[nodiscard]] bool MakeFolders();
    [[nodiscard]] bool MakeHidden();
    void RemoveLeftovers() const;
    [[nodiscard]] bool RemoveLeftover(const std::filesystem::path& hidden) const;
    [[nodiscard]] bool PutBack(const std::filesystem::path& hidden) const;
    [[nodiscard]] Entries ListEntries() const;
    [[nodiscard]] std::error_code Move(SMove& move) const;
    void Undo(std::span<const SMove> moves);

    std::filesystem::path m_folder;
    std::filesystem::path m_hidden;
    std::u16string m_start;        // FOLDER of the pattern, with its backslash
    std::u16string m_hiddenStart;  // the same of the hidden folder
    std::u16string m_name;         // NAME
    bool m_mayReplace = false;
    bool m_isHiddenMade = false;
    bool m_isHalfDone = false;
    std::vector<std::filesystem::path> m_made;  // the folders that were missing, the topmost first
    CHeldFile m_lock;
    CReservedFiles m_reserve;  // for Remove
};

}  // namespace host
