// foundation/file_path_segment.h - the names of which a Windows file path is made.
#pragma once

#include <string_view>

#include "foundation/wide_string.h"

// One name between backslashes: 1 to 260 units, none of them one of "/<>\|, and a colon only as the
// second of exactly two units. Wildcards, "." and "..", and trailing dots and blanks are allowed.
class CFilePathSegmentW {
public:
    CFilePathSegmentW() = default;
    // An invalid name leaves the segment empty.
    explicit CFilePathSegmentW(std::u16string_view name) { static_cast<void>(Assign(name)); }

    // Returns 0, ERROR_INVALID_DATA for an invalid name or ERROR_NOT_ENOUGH_MEMORY; on failure the
    // segment is empty.
    [[nodiscard]] int Assign(std::u16string_view name);
    void Clear() { m_name.Clear(); }

    [[nodiscard]] const CStrW& GetText() const { return m_name; }
    [[nodiscard]] std::u16string_view View() const { return m_name.View(); }
    [[nodiscard]] bool IsEmpty() const { return m_name.IsEmpty(); }
    [[nodiscard]] bool EqualsNoCase(std::u16string_view other) const;
    [[nodiscard]] bool IsDot() const { return m_name.View() == u"."; }
    [[nodiscard]] bool IsDotDot() const { return m_name.View() == u".."; }

    // Compares the part after the last dot with `extension`, which may have its dot or not: -1, 0
    // or 1, ignoring case. A name without a dot is compared as a whole, so that the name "exe"
    // matches. An empty `extension` gives 0 when the name ends in its dot, otherwise 1.
    [[nodiscard]] int CompareExtension(std::u16string_view extension) const;
    // The part before the last dot, or the whole name without one; ".profile" has an empty stem.
    [[nodiscard]] CStrW GetStem() const;
    // Replaces the extension by ".orv". False, with the name unchanged, when the new name is
    // invalid.
    bool SetExtensionOrv();

protected:
    [[nodiscard]] int AssignChecked(std::u16string_view name, bool isValid);

private:
    CStrW m_name;
};

// The server of a UNC path: 1 to 64 units, none of them one of ",*+/:;<>=?[]\| or a double quote.
class CMachineNameW : public CFilePathSegmentW {
public:
    CMachineNameW() = default;
    // An invalid name leaves it empty.
    explicit CMachineNameW(std::u16string_view name) { static_cast<void>(Assign(name)); }
    // Like CFilePathSegmentW::Assign, with the stricter rule.
    [[nodiscard]] int Assign(std::u16string_view name);
};

// Whether CFilePathSegmentW::CompareExtension gives 0 for a name. Cheaper, as it needs no order.
[[nodiscard]] bool HasExtension(std::u16string_view name, std::u16string_view extension);
