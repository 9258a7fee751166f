// foundation/reg_path.h - the paths of registry keys.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/wide_string.h"

// One name of a key path: not empty and without a backslash, of any length.
class CRegPathSegmentW {
public:
    CRegPathSegmentW() = default;
    // An invalid name leaves the segment empty.
    explicit CRegPathSegmentW(std::u16string_view name) { static_cast<void>(Assign(name)); }

    // Returns 0, ERROR_INVALID_DATA for an invalid name or ERROR_NOT_ENOUGH_MEMORY; on failure the
    // segment is empty.
    [[nodiscard]] int Assign(std::u16string_view name);
    void Clear() { m_name.Clear(); }

    [[nodiscard]] const CStrW& GetText() const { return m_name; }
    [[nodiscard]] std::u16string_view View() const { return m_name.View(); }
    [[nodiscard]] bool IsEmpty() const { return m_name.IsEmpty(); }

private:
    CStrW m_name;
};

// The name of one of the five hives, long ("HKEY_USERS") or short ("HKU"), in the letter case in
// which it was written.
class CHiveNameW : public CRegPathSegmentW {
public:
    CHiveNameW() = default;
    // What is no hive's name leaves it empty.
    explicit CHiveNameW(std::u16string_view name);

    // Takes the long name of a predefined handle. Returns 0, ERROR_INVALID_DATA with the name empty
    // for any other handle, or ERROR_NOT_ENOUGH_MEMORY.
    [[nodiscard]] int AssignHandle(std::uint32_t handle);

    // The hive's constant long name, and its predefined handle; null and 0 for an empty name.
    [[nodiscard]] const char16_t* GetLongName() const;
    [[nodiscard]] std::uint32_t GetHandle() const;
    // 0 when both name the same hive, be it long or short; the sign of any other result means
    // nothing.
    [[nodiscard]] int Compare(const CHiveNameW& other) const;

    [[nodiscard]] static bool IsHiveName(std::u16string_view name);

private:
    using CRegPathSegmentW::Assign;
};

// The path of a registry key, with a hive or relative. The kernel's spelling is taken in as the
// hive it means; hive names otherwise stay as written. Names are compared ignoring case. A path
// belongs to one thread.
//
// An int is 0 or ERROR_INVALID_DATA.
class CRegPathW {
public:
    CRegPathW() = default;
    // Parses `text`; what is no path leaves an empty one.
    explicit CRegPathW(std::u16string_view text) { static_cast<void>(Parse(text)); }
    // The first argument with the second behind it, or alone where that cannot be.
    CRegPathW(const CRegPathW& base, const CRegPathW& tail);
    CRegPathW(const CRegPathW& base, const CRegPathSegmentW& last);
    CRegPathW(const CRegPathSegmentW& first, const CRegPathSegmentW& last);
    CRegPathW(const CHiveNameW& hive, const CRegPathW& tail);
    CRegPathW(const CHiveNameW& hive, const CRegPathSegmentW& last);

    // Replaces the path; a failure leaves it empty. Backslashes in front and one at the end are
    // dropped. `text` must not be a part of this path.
    [[nodiscard]] int Parse(std::u16string_view text);
    void Assign(const CRegPathW& other) { *this = other; }
    // Replace the path by one relative name, or by a hive; an empty argument gives the empty path.
    void AssignSegment(const CRegPathSegmentW& segment);
    void AssignHive(const CHiveNameW& hive);

    // Puts `tail` behind this path. ERROR_INVALID_DATA, and no change, when the tail has a hive and
    // this path is not empty.
    [[nodiscard]] int Append(const CRegPathW& tail);
    // Adds one name as it is; an empty one changes nothing.
    void AppendSegment(const CRegPathSegmentW& segment);

    // Same number of names, and the same names. Short and long hive names are the same; the first
    // name of a path without a hive is not looked at, so that "A\B" equals "X\B".
    [[nodiscard]] bool Equals(const CRegPathW& other) const;
    // The same for the first `count` names. False for 0, and when a path is shorter than `count`,
    // unless both have the same length.
    [[nodiscard]] bool EqualsFirstN(const CRegPathW& other, std::size_t count) const;
    // Whether a run of names anywhere in this path, taken as a path, equals `part`. Only a run from
    // the start can have a hive. An empty `part` is in no path.
    [[nodiscard]] bool Contains(const CRegPathW& part) const;

    void Clear();
    [[nodiscard]] std::size_t GetSegmentCount() const { return m_count; }
    [[nodiscard]] bool IsEmpty() const { return m_count == 0; }
    [[nodiscard]] bool HasHive() const { return m_hasHive; }

    // The name at `index` as a loan until the path changes; empty at or past the end.
    [[nodiscard]] std::u16string_view GetSegmentText(std::size_t index) const;
    [[nodiscard]] CRegPathSegmentW GetLastSegment() const;
    // The hive's name; empty for a path without one.
    [[nodiscard]] CHiveNameW GetHive() const;
    // Its predefined handle; 0 for a path without one.
    [[nodiscard]] std::uint32_t GetHiveHandle() const;
    // The path without its hive, and its text as a loan until the path changes.
    [[nodiscard]] CRegPathW GetSubKeyPath() const;
    [[nodiscard]] std::u16string_view ViewSubKey() const { return NamesFrom(m_hasHive ? 1 : 0); }
    // `count` names from `start` on, or what there is of them; relative unless `start` is 0.
    [[nodiscard]] CRegPathW SubPath(std::size_t start, std::size_t count) const;

    // Removes the first `count` names and makes the path relative, also when `count` is 0.
    void RemoveFirst(std::size_t count);
    void RemoveLast(std::size_t count);

    // The names with one backslash between them; the second with the hive's long name.
    [[nodiscard]] CStrW ToString() const;
    [[nodiscard]] CStrW ToLongString() const;

private:
    [[nodiscard]] int ParseNames(std::u16string_view text);
    void AddNames(std::u16string_view names, std::size_t count);
    [[nodiscard]] static bool EqualsRun(std::u16string_view names, bool hasHive,
                                        const CRegPathW& other, std::size_t count);
    [[nodiscard]] std::u16string_view NamesFrom(std::size_t index) const;

    bool m_hasHive = false;  // never set on an empty path
    std::size_t m_count = 0;
    std::u16string m_names;  // with backslashes between them
};

// The kernel's name for a root of the registry, and the hive that it means.
struct SKernelRoot {
    std::u16string_view kernelName;
    const char16_t* hiveName;
};

// The root whose kernel name `text` begins with, ignoring case; null when there is none. The name
// need not end at a backslash.
[[nodiscard]] const SKernelRoot* FindKernelRoot(std::u16string_view text);
