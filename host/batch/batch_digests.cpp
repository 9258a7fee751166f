#include "host/batch/batch_digests.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <optional>
#include <set>
#include <span>

#include "host/batch/batch_folder.h"
#include "host/check_sums.h"
#include "host/path_rules.h"
#include "host/system.h"
#include "platform/crypto.h"
#include "platform/local_paths.h"
#include "platform/utf8.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kPieceBytes = std::size_t{1} << 18;
constexpr std::size_t kGuidLength = 36;

// A hash of which every failure shows as an empty digest.
class CHash {
public:
    void Add(std::string_view bytes) {
        m_isGood = m_hash.Add(std::as_bytes(std::span(bytes))) == 0 && m_isGood;
    }
    [[nodiscard]] std::string Finish() {
        platform::Sha256 hash{};
        return m_isGood && m_hash.Finish(hash) == 0 ? SumText(hash) : "";
    }

private:
    platform::CSha256 m_hash;
    bool m_isGood = true;
};

// Calls `take` for each piece of a file. False when it cannot be read to its end.
template <class TTake>
bool ReadPieces(const fs::path& file, std::string& piece, const TTake& take) {
    std::error_code error;
    // Reading a pipe might never end.
    if (!fs::is_regular_file(DeepPath(file), error)) {
        return false;
    }
    std::ifstream bytes(DeepPath(file), std::ios::binary);
    piece.resize(kPieceBytes);
    while (bytes) {
        bytes.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        take(std::string_view(piece).substr(0, static_cast<std::size_t>(bytes.gcount())));
    }
    return bytes.eof();
}

// Finds the GUIDs in a document without reading its elements: in UTF-16 the NUL bytes are passed
// over. What a comment names is found too, which does no harm.
class CGuidFinder {
public:
    template <class TTake>
    void Search(std::string_view bytes, const TTake& take) {
        for (const char byte : bytes) {
            if (byte != '\0' && Step(byte)) {
                take(m_text);
            }
        }
    }

private:
    // Whether a GUID ends here. It is in capitals.
    bool Step(char byte) {
        constexpr std::size_t kGroup = 4;
        constexpr std::size_t kGroups =
            4;  // ahead of the last one, of which the first has 8 digits
        constexpr std::size_t kLastGroup = 12;
        if (std::isxdigit(static_cast<unsigned char>(byte)) != 0) {
            m_run += static_cast<char>(std::toupper(static_cast<unsigned char>(byte)));
            // Only the last digits of a long run can be part of a GUID.
            m_run.erase(0, m_run.size() > kLastGroup ? 1 : 0);
            if (m_groups == kGroups && m_run.size() == kLastGroup) {
                m_text += m_run;
                m_groups = 0;
                return true;
            }
            return false;
        }
        if (byte == '-' && m_groups > 0 && m_groups < kGroups && m_run.size() == kGroup) {
            m_text += m_run + '-';
            ++m_groups;
        } else if (byte == '-' && m_run.size() >= 2 * kGroup) {
            m_text = m_run.substr(m_run.size() - 2 * kGroup) + '-';
            m_groups = 1;
        } else {
            m_groups = 0;
        }
        m_run.clear();
        return false;
    }

    std::string m_run;  // hexadecimal digits
    std::string m_text;
    std::size_t m_groups = 0;
};

// The state of files, or an empty text when it proves nothing.
std::string StateOf(const std::vector<fs::path>& files, const fs::path& folder) {
    CHash hash;
    for (const fs::path& file : files) {
        const std::optional<SFileState> state = GetFileState(file);
        if (!state || state->isYoung) {
            return "";
        }
        hash.Add(platform::PathBytes(file.lexically_relative(folder)) + '\0' +
                 std::to_string(state->size) + ' ' + std::to_string(state->written) + ' ' +
                 std::to_string(state->changed) + '\n');
    }
    return hash.Finish();
}

std::string HashFiles(const std::vector<fs::path>& files, const fs::path& folder) {
    CHash hash;
    std::string piece;
    for (const fs::path& file : files) {
        std::uint64_t size = 0;
        hash.Add(platform::PathBytes(file.lexically_relative(folder)) + '\0');
        const bool isRead = ReadPieces(file, piece, [&](std::string_view bytes) {
            hash.Add(bytes);
            size += bytes.size();
        });
        // The sizes tell where a file ends.
        hash.Add((isRead ? "\n" : "\nunread ") + std::to_string(size) + '\n');
    }
    return hash.Finish();
}

}  // namespace

bool HasSameInput(const SDigests& left, const SDigests& right) {
    return left.profile == right.profile && left.hives == right.hives &&
           left.machine == right.machine && left.options == right.options;
}

std::string HashOf(std::string_view bytes) {
    CHash hash;
    hash.Add(bytes);
    return hash.Finish();
}

void CDigests::ListCaptures(const fs::path& folder) {
    if (m_folder == folder) {
        return;
    }
    m_folder = folder;
    if (const auto known = m_large.find(folder); known != m_large.end()) {
        m_captures = &known->second;
        return;
    }
    m_small.clear();
    m_captures = &m_small;
    std::vector<SFolderEntry> entries;
    static_cast<void>(ListFolder(DeepPath(folder), entries));  // the conversion tells what is wrong
    for (const SFolderEntry& entry : entries) {
        const std::u16string name = platform::PathText(entry.name);
        if (entry.isFolder && IsCaptureName(name)) {
            std::string guid = platform::Utf16ToUtf8(name.substr(0, kGuidLength));
            std::transform(guid.begin(), guid.end(), guid.begin(), [](char digit) {
                return static_cast<char>(std::toupper(static_cast<unsigned char>(digit)));
            });
            m_small[guid].push_back(folder / entry.name);
        }
    }
    // Listing a small one again costs less than to keep it.
    constexpr std::size_t kMany = 64;
    if (entries.size() > kMany) {
        m_captures = &(m_large[folder] = std::move(m_small));
        m_small.clear();
    }
}

// `files` gets what is directly in the folders of the targets that the profile names.
std::string CDigests::ReadProfile(const fs::path& profile, Paths& files) {
    std::set<fs::path> folders;
    CGuidFinder finder;
    CHash hash;
    std::string piece;
    const bool isRead = ReadPieces(profile, piece, [&](std::string_view bytes) {
        hash.Add(bytes);
        finder.Search(bytes, [&](const std::string& guid) {
            const auto found = m_captures->find(guid);
            if (found != m_captures->end()) {
                folders.insert(found->second.begin(), found->second.end());
            }
        });
    });
    for (const fs::path& folder : folders) {
        std::vector<SFolderEntry> entries;
        static_cast<void>(ListFolder(DeepPath(folder), entries));
        for (const SFolderEntry& entry : entries) {
            if (entry.isRegular) {
                files.push_back(folder / entry.name);
            }
        }
    }
    std::sort(files.begin(), files.end());
    return isRead ? hash.Finish() : "";
}

SDigests CDigests::Take(const SPackage& package, const SDigests& known) {
    const fs::path folder = package.profile.parent_path();
    ListCaptures(folder);
    Paths files;
    SDigests digests{.profile = ReadProfile(package.profile, files),
                     .hives = {},
                     .machine = m_machine,
                     .options = m_options,
                     .state = {}};
    // Before the files are read, so that one that changes meanwhile has another state next time.
    digests.state = StateOf(files, folder);
    digests.hives = !digests.state.empty() && digests.state == known.state
                        ? known.hives
                        : HashFiles(files, folder);
    return digests;
}

}  // namespace host
