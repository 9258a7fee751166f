#include "host/payload_check.h"

#include <algorithm>
#include <set>

#include "host/console.h"
#include "host/manifest_check.h"
#include "host/path_rules.h"
#include "platform/local_paths.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr std::u16string_view kSidStart = u"S-1-";

// A payload has a handful of SIDs. Each is tried with every file, so a hostile one is not let have
// thousands.
constexpr std::size_t kMostSids = 64;

// Whether each part of a relative path is a name, so that it leads to a place below its folder. A
// manifest may come from anyone. A colon would name a stream or a drive, and Windows takes a slash
// for a separator too.
bool StaysBelow(std::u16string_view file) {
    while (true) {
        const std::u16string_view name = file.substr(0, file.find(u'\\'));
        if (name.empty() || name == u"." || name == u".." || name.find(u':') != name.npos ||
            name.find(u'/') != name.npos) {
            return false;
        }
        if (name.size() == file.size()) {
            return true;
        }
        file.remove_prefix(name.size() + 1);
    }
}

bool IsSid(std::u16string_view text) {
    // From the "1" on there are only digits, with one hyphen between two numbers.
    return text.starts_with(kSidStart) && text.find_first_not_of(u"0123456789-", 2) == text.npos &&
           text.find(u"--") == text.npos && !text.ends_with(u'-');
}

std::u16string WithSid(std::u16string file, const std::u16string& sid) {
    for (std::size_t at = file.find(kSidMark); at != file.npos;
         at = file.find(kSidMark, at + sid.size())) {
        file.replace(at, 1, sid);
    }
    return file;
}

std::string Quote(const std::u16string& file) {
    return "'" + Printable(WithSid(file, u"%SID%")) + "'";
}

}  // namespace

CPayloadCheck::CPayloadCheck(const fs::path& folder, std::span<const SFoundFile> files)
    : m_folder(platform::LibraryPath(platform::PathBytes(folder)).value_or(u"")) {
    for (const SFoundFile& file : files) {
        m_entries[PathKey(file.path)] = {&file, false};
    }
}

void CPayloadCheck::Name(const std::u16string& file, bool isTold, const TellProblem& tell) {
    // The form allows a backslash in front.
    const SNamed named{file.substr(file.starts_with(u'\\') ? 1 : 0), isTold};
    if (!StaysBelow(named.file)) {
        if (isTold) {
            tell({}, "the payload file " + Quote(file) +
                         " is no path below the folder; a captured name with a token in it is "
                         "written so");
        }
    } else if (named.file.find(kSidMark) != named.file.npos) {
        m_withSid.push_back(named);
    } else {
        Take(named, named.file, tell);
    }
}

std::u16string CPayloadCheck::KeyOf(const std::u16string& file) const {
    return PathKey(platform::LocalPath(m_folder + u'\\' + file));
}

void CPayloadCheck::Take(const SNamed& named, const std::u16string& file, const TellProblem& tell) {
    // Looked up in what was listed, so that no file is opened by a name from a manifest.
    const auto entry = m_entries.find(KeyOf(file));
    if (entry != m_entries.end() && entry->second.file->isRegular) {
        entry->second.isNamed = true;
    } else if (named.isTold) {
        tell({}, "the payload file " + Quote(named.file) +
                     (entry == m_entries.end() ? " is not there"
                                               : " is no file but a link or the like"));
    }
}

// The SIDs that the payload has in place of the mark, in all folders that lead to it.
std::vector<std::u16string> CPayloadCheck::ListSids(const std::u16string& file) const {
    // The name with the mark is `head`, the SID, `tail`. It is from `start` to before `end` in
    // `file`.
    const std::size_t mark = file.find(kSidMark);
    const std::size_t start = file.rfind(u'\\', mark) + 1;  // 0 without a backslash
    const std::size_t end = std::min(file.find(u'\\', mark), file.size());
    const std::u16string head = file.substr(start, mark - start);
    const std::u16string tail = file.substr(mark + 1, end - mark - 1);
    const fs::path folder =
        platform::LocalPath(m_folder + (start == 0 ? u"" : u"\\" + file.substr(0, start - 1)));
    std::vector<std::u16string> sids;
    std::vector<SFolderEntry> entries;
    static_cast<void>(ListFolder(folder, entries));  // the files were listed, or it was told
    for (const SFolderEntry& entry : entries) {
        const std::u16string name = platform::PathText(entry.name);
        // Longer, so that head and tail do not overlap and the SID is not empty.
        if (name.size() > head.size() + tail.size() && name.starts_with(head) &&
            name.ends_with(tail)) {
            const std::u16string sid =
                name.substr(head.size(), name.size() - head.size() - tail.size());
            if (IsSid(sid)) {
                sids.push_back(sid);
            }
        }
    }
    return sids;
}

// One SID holds for all files. Where the payload has several, it is the one with which the most
// files are there.
std::u16string CPayloadCheck::FindSid() const {
    std::set<std::u16string> sids;
    std::set<std::u16string> folders;
    for (const SNamed& named : m_withSid) {
        const std::size_t mark = named.file.find(kSidMark);
        // Each folder is listed once, for the first file that leads there.
        if (folders.insert(named.file.substr(0, named.file.rfind(u'\\', mark) + 1)).second) {
            for (const std::u16string& sid : ListSids(named.file)) {
                if (sids.size() < kMostSids) {
                    sids.insert(sid);
                }
            }
        }
    }
    std::u16string best;
    std::ptrdiff_t most = 0;
    for (const std::u16string& sid : sids) {
        // A single one needs no counting.
        const std::ptrdiff_t count =
            sids.size() == 1
                ? 1
                : std::count_if(m_withSid.begin(), m_withSid.end(), [&](const SNamed& named) {
                      return m_entries.contains(KeyOf(WithSid(named.file, sid)));
                  });
        if (count > most) {
            most = count;
            best = sid;
        }
    }
    return best;
}

void CPayloadCheck::FinishNames(const TellProblem& tell) {
    m_sid = FindSid();
    for (const SNamed& named : m_withSid) {
        Take(named, WithSid(named.file, m_sid), tell);
    }
}

const SFoundFile* CPayloadCheck::Find(const std::u16string& file) const {
    const std::u16string below = file.substr(file.starts_with(u'\\') ? 1 : 0);
    const auto entry =
        StaysBelow(below) ? m_entries.find(KeyOf(WithSid(below, m_sid))) : m_entries.end();
    return entry != m_entries.end() && entry->second.file->isRegular ? entry->second.file : nullptr;
}

void CPayloadCheck::TellStrays(const std::set<std::string>& others, const TellProblem& tell) const {
    // The entries have no order. The messages have that of the names.
    std::vector<const SFoundFile*> strays;
    for (const auto& [key, entry] : m_entries) {
        if (!entry.isNamed && !others.contains(entry.file->name)) {
            strays.push_back(entry.file);
        }
    }
    std::sort(strays.begin(), strays.end(),
              [](const auto* left, const auto* right) { return left->name < right->name; });
    for (const SFoundFile* const stray : strays) {
        tell(stray->path, "no item of the manifest names this file");
    }
}

}  // namespace host
