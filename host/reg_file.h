// host/reg_file.h - a file of registry keys and values, as registry editors import it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/registry_data.h"

namespace host {

// The number of a type of values by its name, such as "REG_SZ"; nothing when it is not known.
[[nodiscard]] std::optional<std::uint32_t> FindRegistryType(std::u16string_view name);

// Collects keys, values and deletions in any order, for a .reg file of version 5. The deletions of
// keys come first. Each other key has one section; in it, values are deleted before others are set.
// Letter case does not tell keys apart. A key is a full path from the name of the hive on; the
// default value has an empty name. One thread at a time.
class CRegFile {
public:
    // Whether the file can have this key, or value of this name: it has lines, and no form for a
    // line break in a name. Callers ask it first.
    [[nodiscard]] static bool CanName(std::u16string_view name);

    void CreateKey(std::u16string_view key);
    // With all that is below.
    void DeleteKey(std::u16string_view key);
    // `data` is what DecodeRegistryData gives for the type, with its texts resolved.
    void SetValue(std::u16string_view key, std::u16string_view name, std::uint32_t type,
                  const RegistryData& data);
    void DeleteValue(std::u16string_view key, std::u16string_view name);

    // Writes the file, in UTF-16 with a byte order mark. Calls `step` between pieces of it. Whether
    // it is written shows in the state of the stream.
    void Write(std::ostream& file, void (&step)());

private:
    struct SLine {
        std::u16string text;       // "name"=data
        std::size_t nameSize = 0;  // with its quotes
        bool isDeletion = false;
    };
    struct SSection {
        std::u16string key;
        bool isDeleted = false;
        bool isCreated = false;
        std::vector<SLine> lines;
    };

    SSection& FindSection(std::u16string_view key);
    static std::vector<const SLine*> SortLines(const std::vector<SLine>& lines);

    std::unordered_map<std::u16string, SSection> m_sections;  // by the key's text for sorting
};

}  // namespace host
