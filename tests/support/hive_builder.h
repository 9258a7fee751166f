// tests/support/hive_builder.h - registry hives made in a test, whole or damaged.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "support/little_endian.h"

// The kinds of subkey lists, by the two letters they begin with.
enum class EHiveList { Lf, Lh, Li };

// One cell of a hive, named by what it is for. The header is named so too.
struct SHiveCell {
    enum EKind { Header, Key, SubKeys, Values, Value, Data, Segments };

    EKind kind = Header;
    std::u16string key;
    std::u16string value = {};  // of Value, Data and Segments
};

// A hive, put together key by key, and laid out as the system does it: bins of 4096 bytes or more,
// the cells of a key one behind the other, lists sorted by upper-cased name. What is damaged on
// purpose is changed in the laid-out bytes.
class CTestHive {
public:
    CTestHive();

    // Makes the key at `path`, names joined by backslashes, with all above it, or goes back to it;
    // the values that follow are in it. At first the root, "", is the current key.
    CTestHive& Key(std::u16string_view path);
    // Makes a subkey of the current key and leaves that current. Here a name may hold a backslash.
    CTestHive& SubKey(std::u16string_view name);

    // Texts get their terminator; Value takes any bytes for any type.
    CTestHive& String(std::u16string_view name, std::u16string_view text) {
        return Value(name, 1, UnitBytes(text) + std::string(2, '\0'));
    }
    CTestHive& ExpandString(std::u16string_view name, std::u16string_view text) {
        return Value(name, 2, UnitBytes(text) + std::string(2, '\0'));
    }
    CTestHive& MultiString(std::u16string_view name,
                           std::initializer_list<std::u16string_view> texts);
    CTestHive& Binary(std::u16string_view name, std::string_view bytes) {
        return Value(name, 3, bytes);
    }
    CTestHive& Dword(std::u16string_view name, std::uint32_t number) {
        return Value(name, 4, Numbers({number}));
    }
    CTestHive& Qword(std::u16string_view name, std::uint64_t number) {
        return Value(name, 11, Numbers({number}, 8));
    }
    CTestHive& Value(std::u16string_view name, std::uint32_t type, std::string_view bytes);

    // Has the names that follow stored in UTF-16, also those that Latin-1 could hold.
    CTestHive& WideNames(bool isWide = true) { return Set(m_hasWideNames, isWide); }
    // The format's minor version; 5 at first. From 4 on large data is in segments.
    CTestHive& Version(std::uint32_t minor) { return Set(m_minorVersion, minor); }
    // All lists of subkeys; with more entries than `partSize` they are in parts below an "ri" list.
    CTestHive& Lists(EHiveList kind, std::size_t partSize = 1012);
    // The two numbers of the header that differ while a write is under way.
    CTestHive& Sequences(std::uint32_t first, std::uint32_t second) {
        return Set(m_sequences, {first, second});
    }

    // Changes 4 or 2 bytes of a cell's content: to a number, or to the place of another cell.
    CTestHive& Patch32(const SHiveCell& cell, std::size_t offset, std::uint32_t number) {
        return Patch({cell, ContentOffset(cell) + offset, 4, number});
    }
    CTestHive& Patch16(const SHiveCell& cell, std::size_t offset, std::uint16_t number) {
        return Patch({cell, ContentOffset(cell) + offset, 2, number});
    }
    CTestHive& Link(const SHiveCell& cell, std::size_t offset, const SHiveCell& target) {
        return Patch({cell, ContentOffset(cell) + offset, 4, 0, target});
    }
    // Changes what the cell says of its own size, a negative number for a cell in use.
    CTestHive& Resize(const SHiveCell& cell, std::int32_t size) {
        return Patch({cell, 0, 4, static_cast<std::uint32_t>(size)});
    }

    [[nodiscard]] std::string Bytes() const;
    // The same keys and values in the form of Wine, whose registry reads no other. It knows neither
    // layout nor damage, and a backslash in a name parts two names.
    [[nodiscard]] std::string WineText() const;
    // The form that the registry of this system loads.
    [[nodiscard]] std::string LoadableBytes() const;

private:
    struct SValue {
        std::u16string name;
        bool isWide = false;
        std::uint32_t type = 0;
        std::string data;
    };
    struct SKey {
        std::u16string name;
        bool isWide = false;
        std::size_t parent = 0;
        std::vector<std::size_t> children = {};
        std::vector<SValue> values = {};
    };
    struct SPatch {
        SHiveCell cell;
        std::size_t offset = 0;  // from where the cell begins, with its size
        std::size_t size = 0;
        std::uint32_t number = 0;
        std::optional<SHiveCell> target = {};
    };
    class CLayout;

    template <class T>
    CTestHive& Set(T& field, const T& value) {
        field = value;
        return *this;
    }
    CTestHive& Patch(const SPatch& patch) {
        m_patches.push_back(patch);
        return *this;
    }
    // Only the header has no size in front of its content.
    static std::size_t ContentOffset(const SHiveCell& cell) {
        return cell.kind == SHiveCell::Header ? 0 : 4;
    }
    std::size_t Add(std::size_t parent, std::u16string_view name);

    std::vector<SKey> m_keys;  // parents before their children
    std::unordered_map<std::u16string, std::size_t> m_paths;
    std::size_t m_current = 0;
    bool m_hasWideNames = false;
    std::uint32_t m_minorVersion = 5;
    EHiveList m_listKind = EHiveList::Lh;
    std::size_t m_partSize = 1012;
    std::pair<std::uint32_t, std::uint32_t> m_sequences = {1, 1};
    std::vector<SPatch> m_patches;
};

// Gives the header of a hive or log the checksum that it must have.
void SealHiveHeader(std::string& bytes);
