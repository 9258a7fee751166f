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
    // Whether a text is a valid name.
    [[nodiscard]] static bool IsValid(std::u16string_view name);

    [[nodiscard]] const CStrW& GetText() const { return m_name; }
    [[nodiscard]] std::u16string_view View() const { return m_name.View(); }
    [[nodiscard]] bool IsEmpty() const { return m_name.IsEmpty(); }

private:
    CStrW m_name;
};

// The name of one of the five hives, long ("HKEY_USERS") or short ("HKU"), in the letter case as
// written.
class CHiveNameW : public CRegPathSegmentW {
public:
    CHiveNameW() = default;
    // If `name` is not the name of a hive, this is empty.
    explicit CHiveNameW(std::u16string_view name);

    // Becomes the long name of a predefined handle. Returns 0, ERROR_INVALID_DATA with the name
    // empty for any other handle, or ERROR_NOT_ENOUGH_MEMORY.
    [[nodiscard]] int AssignHandle(std::uint32_t handle);

    // The hive's long name, which is valid for ever, and its predefined handle; null and 0 for an
    // empty name.
    [[nodiscard]] const char16_t* GetLongName() const;
    [[nodiscard]] std::uint32_t GetHandle() const;
    // 0 when both name the same hive, whether long or short; otherwise 1.
    [[nodiscard]] int Compare(const CHiveNameW& other) const;

    [[nodiscard]] static bool IsHiveName(std::u16string_view name);

private:
    using CRegPathSegmentW::Assign;
};

// The path of a registry key, with a hive or relative. The kernel's form of a hive
// ("\REGISTRY\MACHINE") becomes the hive's name; other hive names stay as written. Names are
// compared ignoring case. A path belongs to one thread.
//
// Operations that return an int return 0 or ERROR_INVALID_DATA.
class CRegPathW {
public:
    CRegPathW() = default;
    // Parses `text`. If it is not a path, this path is empty.
    explicit CRegPathW(std::u16string_view text) { static_cast<void>(Parse(text)); }
    // The first argument followed by the second, or the first alone if Append refuses the second or
    // `last` is not a valid name.
    CRegPathW(const CRegPathW& base, const CRegPathW& tail);
    CRegPathW(const CRegPathW& base, const CRegPathSegmentW& last);
    CRegPathW(const CRegPathW& base, std::u16string_view last);
    CRegPathW(const CRegPathSegmentW& first, const CRegPathSegmentW& last);
    CRegPathW(const CHiveNameW& hive, const CRegPathW& tail);
    CRegPathW(const CHiveNameW& hive, const CRegPathSegmentW& last);

    // Replaces the path; a failure leaves it empty. Backslashes at the start and one at the end are
    // dropped. `text` must not be a part of this path.
    [[nodiscard]] int Parse(std::u16string_view text);
    void Assign(const CRegPathW& other) { *this = other; }
    // Replace the path by one relative name, or by a hive. An empty argument gives an empty path.
    void AssignSegment(const CRegPathSegmentW& segment);
    void AssignHive(const CHiveNameW& hive);

    // Appends `tail`. ERROR_INVALID_DATA, with no change, when the tail has a hive and this path is
    // not empty.
    [[nodiscard]] int Append(const CRegPathW& tail);
    // Appends one name; an empty one changes nothing.
    void AppendSegment(const CRegPathSegmentW& segment);

    // Whether both have the same number of names and the same names. Short and long names of a hive
    // are the same. The first name of a path without a hive is not compared, so that "A\B" equals
    // "X\B". This must stay.
    [[nodiscard]] bool Equals(const CRegPathW& other) const;
    // The same for the first `count` names. False for 0. False when a path is shorter than `count`,
    // unless both have the same length.
    [[nodiscard]] bool EqualsFirstN(const CRegPathW& other, std::size_t count) const;
    // Whether some consecutive names of this path, taken as a path, equal `part`. Only names from
    // the start on can have a hive. False for an empty `part`.
    [[nodiscard]] bool Contains(const CRegPathW& part) const;

    void Clear();
    [[nodiscard]] std::size_t GetSegmentCount() const { return m_count; }
    [[nodiscard]] bool IsEmpty() const { return m_count == 0; }
    [[nodiscard]] bool HasHive() const { return m_hasHive; }

    // The name at `index`, valid until the path changes; empty at or past the end.
    [[nodiscard]] std::u16string_view GetSegmentText(std::size_t index) const;
    [[nodiscard]] CRegPathSegmentW GetLastSegment() const { return CRegPathSegmentW(ViewLast()); }
    // The last name, valid until the path changes.
    [[nodiscard]] std::u16string_view ViewLast() const;
    // The hive's name; empty for a path without one.
    [[nodiscard]] CHiveNameW GetHive() const;
    // Its predefined handle; 0 for a path without one.
    [[nodiscard]] std::uint32_t GetHiveHandle() const;
    // The path without its hive. The text is valid until the path changes.
    [[nodiscard]] CRegPathW GetSubKeyPath() const;
    [[nodiscard]] std::u16string_view ViewSubKey() const { return NamesFrom(m_hasHive ? 1 : 0); }
    // A path of up to `count` names from `start` on; relative unless `start` is 0.
    [[nodiscard]] CRegPathW SubPath(std::size_t start, std::size_t count) const;

    // Removes the first `count` names and makes the path relative, also when `count` is 0.
    void RemoveFirst(std::size_t count);
    void RemoveLast(std::size_t count);

    // The names with one backslash between them, valid until the path changes.
    [[nodiscard]] std::u16string_view View() const { return m_names; }
    // The same as a copy; the second form has the hive's long name.
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
    std::u16string m_names;  // with one backslash between names, so that a copy is one allocation
};

// The kernel's name of a root of the registry, and the name of that hive.
struct SKernelRoot {
    std::u16string_view kernelName;
    const char16_t* hiveName;
};

// The root with whose kernel name `text` begins, ignoring case; null when there is none. The name
// need not end at a backslash.
[[nodiscard]] const SKernelRoot* FindKernelRoot(std::u16string_view text);
