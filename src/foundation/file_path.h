// foundation/file_path.h - Windows file paths as a kind and checked names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/file_path_segment.h"
#include "foundation/wide_string.h"

// In UTF-16 units: the longest folder that Windows makes without the prefix, 260 less a NUL and an
// 8.3 name.
constexpr std::size_t kMaxPlainPath = 247;

enum EFilePathKind : std::int32_t {
    FilePathNone = 0,           // empty
    FilePathAbsolute = 1,       // C:\dir\file
    FilePathRelative = 2,       // dir\file
    FilePathDriveRelative = 3,  // C:dir\file, also C: alone
    FilePathRootRelative = 4,   // \dir\file
    FilePathUnc = 5,            // \\server\share\file
};

// A Windows file path. Lengths count UTF-16 units. A backslash at the end and "\\?\" at the start
// do not count: with and without them it is the same path. "." and ".." stay as written. Bad text
// never throws. A path belongs to one thread.
//
// Operations that return an int return 0 or ERROR_INVALID_DATA. Unless they say otherwise, a
// failure leaves the path unchanged.
class CFilePathW {
public:
    CFilePathW() = default;
    // Parses `text`. If it is not a path, this path is empty: callers ask IsEmpty().
    explicit CFilePathW(std::u16string_view text) { static_cast<void>(Parse(text)); }
    // `base` followed by `tail`, or `base` alone if Append or AppendSegment refuses the tail.
    CFilePathW(const CFilePathW& base, const CFilePathW& tail);
    CFilePathW(const CFilePathW& base, const CFilePathSegmentW& last);

    // Replaces the path; a failure leaves it empty.
    [[nodiscard]] int Parse(std::u16string_view text);
    // Replaces the path by one segment: a drive, or a relative name.
    void AssignSegment(const CFilePathSegmentW& segment);

    // Appends `tail`. Only its leading "." and ".." are resolved. ERROR_INVALID_DATA when `tail`
    // has a drive or server of its own or goes above the root.
    [[nodiscard]] int Append(const CFilePathW& tail);
    // Appends one name. ".." removes the last name, "." does nothing. ERROR_INVALID_DATA for a
    // drive, and for ".." on a root.
    [[nodiscard]] int AppendSegment(const CFilePathSegmentW& segment);
    // Inserts `head` before this path, which then has the kind of `head`. Leading "." and ".." of
    // this path are resolved. ERROR_INVALID_DATA when this path has a drive or server.
    [[nodiscard]] int Prepend(const CFilePathW& head);
    // Inserts one name before this path. A leading ".." of this path cancels it, a leading "." is
    // replaced. ERROR_INVALID_DATA when this path has a drive or server.
    [[nodiscard]] int PrependSegment(const CFilePathSegmentW& segment);

    // Whether kind and names are the same, ignoring case. Nothing is normalised.
    [[nodiscard]] bool Equals(const CFilePathW& other) const;
    [[nodiscard]] bool NotEquals(const CFilePathW& other) const { return !Equals(other); }
    // The same for the first `count` names. False for 0. False when a path is shorter than `count`,
    // unless both have the same length.
    [[nodiscard]] bool EqualsFirstN(const CFilePathW& other, std::size_t count) const;

    void Clear();
    [[nodiscard]] EFilePathKind GetKind() const { return m_kind; }
    [[nodiscard]] std::size_t GetSegmentCount() const { return m_count; }
    [[nodiscard]] bool IsEmpty() const { return m_count == 0; }
    // Whether this is a drive or share with nothing below it, or a server alone. ".." cannot go
    // above it.
    [[nodiscard]] bool IsRoot() const;

    // The segment at an index, the first and the last; an empty one when there is none.
    [[nodiscard]] CFilePathSegmentW GetSegment(std::size_t index) const {
        return CFilePathSegmentW(ViewSegment(index));
    }
    [[nodiscard]] CFilePathSegmentW GetFirstSegment() const { return GetSegment(0); }
    [[nodiscard]] CFilePathSegmentW GetLastSegment() const;
    // The last name, valid until the path changes; empty when there is none.
    [[nodiscard]] std::u16string_view ViewLastSegment() const;
    // The name of a segment, valid until the path changes; empty when there is none.
    [[nodiscard]] std::u16string_view ViewSegment(std::size_t index) const;
    // "C:" of a path with a drive; otherwise empty.
    [[nodiscard]] CFilePathSegmentW GetDriveSegment() const;
    // The last name; empty for a root such as "C:\".
    [[nodiscard]] CFilePathSegmentW GetFileName() const;
    [[nodiscard]] CStrW GetStem() const { return GetFileName().GetStem(); }
    // The path without its last name; a root is its own parent.
    [[nodiscard]] CFilePathW GetParent() const;
    // Server and share of a UNC path; empty when this has none.
    [[nodiscard]] CFilePathW GetUncRoot() const;
    // This path followed by `name`, as AppendSegment does it. The name must be valid, as one that
    // is checked already or has come from a path.
    [[nodiscard]] CFilePathW GetChild(std::u16string_view name) const;
    // Makes this path what GetChild of `base` gives. `base` is another path. Needs no new memory
    // where the old text had as much.
    void AssignChild(const CFilePathW& base, std::u16string_view name);
    // A path of up to `count` names from `start` on, appended one by one as AppendSegment does.
    // Empty when `start` is past the end.
    [[nodiscard]] CFilePathW SubPath(std::size_t start, std::size_t count) const;

    // Remove the first `count` names and make the path relative. For 0, RemoveFirst does nothing,
    // and DropFirst still makes it relative. Removing all names clears the path.
    void RemoveFirst(std::size_t count);
    void DropFirst(std::size_t count);
    // Removes the last `count` names and keeps the kind. Removing all names clears the path.
    void RemoveLast(std::size_t count);

    // The text of the path. Absolute, drive-relative and UNC paths of more than 247 units start
    // with "\\?\" or "\\?\UNC\": Windows takes long names only in this form.
    [[nodiscard]] CStrW ToString() const;
    // The text of GetChild(name).
    [[nodiscard]] CStrW ToString(std::u16string_view name) const;
    // Both, in place of what is in `text`, whose storage is used again.
    void WriteTo(CStrW& text) const;
    void WriteTo(CStrW& text, std::u16string_view name) const;
    // The same as the first, never with such a prefix.
    [[nodiscard]] CStrW ToPlainString() const;

private:
    [[nodiscard]] int ParseKind(std::u16string_view text, std::size_t& start);
    [[nodiscard]] int AddPiece(std::u16string_view piece, std::u16string_view rest);
    [[nodiscard]] int AddIf(bool isValid, std::u16string_view name);
    void AddName(std::u16string_view name);
    [[nodiscard]] int AppendChecked(std::u16string_view name);
    [[nodiscard]] bool JoinResolving(const CFilePathW& base, const CFilePathW& relative);
    void WritePlain(CStrW& text) const;
    void AppendPlain(CStrW& text) const;
    void AddLongPrefix(CStrW& text) const;
    [[nodiscard]] bool HasDriveOrServer() const;
    [[nodiscard]] bool StartsWithDots() const;

    EFilePathKind m_kind = FilePathNone;
    std::size_t m_count = 0;
    // The names, with backslashes between them. The backslash of the root is not here; the kind
    // implies it.
    std::u16string m_names;
};

// The kind of a path that begins with `segment`.
[[nodiscard]] EFilePathKind KindOfFirstSegment(const CFilePathSegmentW& segment);
