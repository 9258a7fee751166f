// formats/hive/hive.h - a hive in memory, asked by path, by index and by name.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "formats/hive/cells.h"
#include "formats/hive/image.h"
#include "formats/hive/index.h"

namespace formats {

// A loaded hive. It keeps the paths that were asked for last, and the names in the last large key,
// because the same few are asked for again and again.
//
// INVARIANT: each of `m_knownPaths` without kNoKey is the path of its key. `m_lastValue` is a value
// of the key `m_lastValueKey`, and `m_valueNames` has the names in the key `m_valueNamesKey`. The
// hive never changes, so none of them gets out of date.
// Threads: one at a time, because a question changes what is kept.
// Gain of the paths: 3 % fewer instructions, and more the deeper the keys are (bench hive with
// 15,000 values).
class CHive {
public:
    explicit CHive(const CNameRules& rules) : m_rules(rules), m_index(rules) {}
    CHive(const CHive&) = delete;
    CHive& operator=(const CHive&) = delete;

    // Takes over the bytes of a hive, logs applied. False when they are no hive or have no root
    // key; the hive is of no use then.
    [[nodiscard]] bool Load(CHiveImage image);
    // Whether there are fewer keys or values than it says.
    [[nodiscard]] bool IsDamaged() const { return m_index.IsDamaged(); }

    // The key at `path`, names joined by backslashes; the root when it is empty. kNoKey if there is
    // none. A backslash at the end means nothing.
    [[nodiscard]] KeyNumber FindKey(std::u16string_view path);

    // The subkey of that name, which is not empty; kNoKey if there is none.
    [[nodiscard]] KeyNumber FindChild(KeyNumber parent, std::u16string_view name) const {
        return m_index.FindChild(parent, name, m_lastChild);
    }

    [[nodiscard]] SKeyInfo GetInfo(KeyNumber key) const { return m_index.GetInfo(key); }
    // False after the last one.
    [[nodiscard]] bool GetChildName(KeyNumber key, std::uint32_t index, std::u16string& name);
    [[nodiscard]] bool GetValue(KeyNumber key, std::uint32_t index, SValueNode& value);

    // The value of that name; false if there is none. Of several with the same name it is one whose
    // name is whole, if there is one.
    [[nodiscard]] bool FindValue(KeyNumber key, std::u16string_view name, SValueNode& value);

    // Copies the `value.size` bytes of a value that this hive gave.
    void CopyData(const SValueNode& value, std::byte* target) const;

private:
    struct SKnownPath {
        std::u16string path;
        std::size_t parentLength = 0;  // of `path`
        KeyNumber key = kNoKey;
        std::uint64_t lastUse = 0;
    };

    [[nodiscard]] KeyNumber FindParent(std::u16string_view path, SKnownPath* known);
    [[nodiscard]] SKnownPath* FindKnownPath(std::u16string_view path);
    [[nodiscard]] SKnownPath* FindSibling(std::u16string_view parentPath);
    [[nodiscard]] KeyNumber Use(SKnownPath* known);
    void Remember(std::u16string_view path, KeyNumber key, SKnownPath* sibling);
    [[nodiscard]] std::uint32_t FindFirstValue(std::span<const CellOffset> values,
                                               std::u16string_view name) const;
    [[nodiscard]] std::uint32_t FindHashedValue(KeyNumber key, std::u16string_view name);
    void NameValues(KeyNumber key);
    [[nodiscard]] bool HasName(CellOffset cell, std::u16string_view name, CHiveName& found) const;

    CNameRules m_rules;
    CHiveImage m_image;
    CHiveCells m_cells;
    CHiveIndex m_index;

    // The key that a walk visits, those beside it and their parent are asked for in turns.
    std::array<SKnownPath, 4> m_knownPaths;
    std::uint64_t m_uses = 0;

    // The key and the value that were enumerated last, which are mostly the next ones that are
    // asked for by name.
    KeyNumber m_lastChild = kNoKey;
    KeyNumber m_lastValueKey = kNoKey;
    SValueNode m_lastValue;

    // The values of the last key that has too many of them to compare each name.
    CNameTable m_valueNames;
    KeyNumber m_valueNamesKey = kNoKey;
};

}  // namespace formats
