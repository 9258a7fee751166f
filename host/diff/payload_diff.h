// host/diff/payload_diff.h - the payload files of two manifests, compared by what they hold.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/payload_check.h"
#include "host/target_folder.h"

namespace host {

// The payload beside a manifest. One thread at a time.
class CPayloadSide {
public:
    explicit CPayloadSide(std::filesystem::path folder);

    // Takes what an attribute such as RelativeSource says, before List.
    void Name(const std::u16string& source);
    // Lists the files where named ones can be, and nothing else, because a manifest may lie in any
    // folder. What cannot be listed is told.
    void List(const TellProblem& tell);
    // After that: the file; null when it is not there. Links are not followed.
    [[nodiscard]] const SFoundFile* Find(const std::u16string& source) const;

private:
    std::filesystem::path m_folder;
    std::set<std::u16string> m_firstNames;
    std::vector<std::u16string> m_withSid;  // decoded
    std::vector<SFoundFile> m_files;
    std::optional<CPayloadCheck> m_check;  // after List
};

// What files hold.
//
// INVARIANT: a file is read at most twice, however many items name it: once to compare its bytes
// with those of another file, and once for its check sum, with which all further ones are compared.
// Threads: one at a time.
class CFileContents {
public:
    explicit CFileContents(TellProblem tell) : m_tell(std::move(tell)) {}

    // Null is a file that is not there. Of one that cannot be read, which is told, nothing else is
    // said: the two count as equal.
    [[nodiscard]] bool AreEqual(const SFoundFile* older, const SFoundFile* newer);
    // Empty when it cannot be read, which is told.
    [[nodiscard]] std::string GetSum(const SFoundFile& file);
    [[nodiscard]] std::uint64_t GetSize(const SFoundFile& file);
    // So many pairs of files were compared.
    [[nodiscard]] std::uint64_t GetCount() const { return m_count; }
    // Forgets all files, before they go.
    void Clear() { m_facts.clear(); }

private:
    struct SFacts {
        std::optional<std::uint64_t> size;
        std::optional<std::string> sum;
        bool isRead = false;  // its bytes were compared
    };

    [[nodiscard]] bool HaveSameBytes(const SFoundFile& older, const SFoundFile& newer);

    TellProblem m_tell;
    std::vector<char> m_buffers[2];  // kept, because most files are small
    std::unordered_map<const SFoundFile*, SFacts> m_facts;
    std::uint64_t m_count = 0;
};

}  // namespace host
