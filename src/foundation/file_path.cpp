#include "foundation/file_path.h"

#include <algorithm>

#include "foundation/path_names.h"
#include "platform/path_names.h"
#include "platform/status.h"

namespace {

constexpr std::u16string_view kLongPrefix = uR"(\\?\)";
constexpr std::u16string_view kLongUncPrefix = uR"(\\?\UNC\)";

bool IsDriveName(std::u16string_view name) { return name.size() == 2 && name[1] == u':'; }

EFilePathKind KindOfFirstName(std::u16string_view name) {
    return IsDriveName(name) ? FilePathAbsolute : FilePathRelative;
}

bool IsDots(std::u16string_view name) { return name == u"." || name == u".."; }

}  // namespace

EFilePathKind KindOfFirstSegment(const CFilePathSegmentW& segment) {
    return KindOfFirstName(segment.View());
}

CFilePathW::CFilePathW(const CFilePathW& base, const CFilePathW& tail) : m_kind(base.m_kind) {
    // Room for both parts, so that they take one allocation.
    m_names.reserve(base.m_names.size() + tail.m_names.size() + 1);
    m_names = base.m_names;
    m_count = base.m_count;
    static_cast<void>(Append(tail));
}

CFilePathW::CFilePathW(const CFilePathW& base, const CFilePathSegmentW& last)
    : CFilePathW(base.GetChild(last.View())) {}

int CFilePathW::Parse(std::u16string_view text) {
    Clear();
    if (text.empty()) {
        return ERROR_SUCCESS;
    }
    std::size_t start = 0;
    int status = ParseKind(text, start);
    m_names.reserve(text.size() + 1);
    // Each round takes one piece: the text from `start` to the next backslash, or to the end. Two
    // backslashes in a row give an empty piece, which AddPiece refuses.
    while (status == ERROR_SUCCESS) {
        const std::size_t end = std::min(text.find(u'\\', start), text.size());
        status = AddPiece(text.substr(start, end - start), text.substr(start));
        // One backslash at the end is not followed by a name.
        if (end + 1 >= text.size()) {
            break;
        }
        start = end + 1;
    }
    if (status != ERROR_SUCCESS) {
        Clear();
    }
    return status;
}

// Sets the kind of a path text and finds where its names start.
int CFilePathW::ParseKind(std::u16string_view text, std::size_t& start) {
    // "C:" alone and "C:a" have no backslash after the colon.
    const auto isDriveRelative = [text](std::size_t colon) {
        return text.size() == colon + 1 || text[colon + 1] != u'\\';
    };
    // Of the prefixes with a backslash the longest first, because each begins with the next one.
    if (text.size() >= kLongUncPrefix.size() &&
        EqualsNoCase(text.substr(0, kLongUncPrefix.size()), kLongUncPrefix)) {
        m_kind = FilePathUnc;
        start = kLongUncPrefix.size();
    } else if (text.starts_with(kLongPrefix)) {
        // After "\\?\" only a drive is known, apart from "UNC" above.
        if (text.size() < 6 || text[5] != u':') {
            return ERROR_INVALID_DATA;
        }
        m_kind = isDriveRelative(5) ? FilePathDriveRelative : FilePathAbsolute;
        start = kLongPrefix.size();
    } else if (text.starts_with(uR"(\\)")) {
        m_kind = FilePathUnc;
        start = 2;
    } else if (text.size() >= 2 && text[1] == u':') {
        m_kind = isDriveRelative(1) ? FilePathDriveRelative : FilePathAbsolute;
    } else if (text.front() == u'\\') {
        m_kind = FilePathRootRelative;
        start = 1;
    } else {
        m_kind = FilePathRelative;
    }
    return ERROR_SUCCESS;
}

// Adds `piece`, the text up to the next backslash. `rest` is the text from the start of `piece` to
// the end of the path. "C:name" gives two names.
int CFilePathW::AddPiece(std::u16string_view piece, std::u16string_view rest) {
    if (IsEmpty() && m_kind == FilePathUnc) {
        return AddIf(platform::IsServerName(piece), piece);
    }
    if (IsEmpty() && rest.size() >= 3 && rest[1] == u':' && rest[2] != u'\\') {
        const std::u16string_view drive = piece.substr(0, 2);
        if (const int status = AddIf(platform::IsPathName(drive), drive)) {
            return status;
        }
        piece.remove_prefix(2);
    }
    return AddIf(platform::IsPathName(piece), piece);
}

int CFilePathW::AddIf(bool isValid, std::u16string_view name) {
    if (!isValid) {
        return ERROR_INVALID_DATA;
    }
    AddName(name);
    return ERROR_SUCCESS;
}

// Every name but the first follows a backslash. The prefix of the kind is not in `m_names`;
// ToPlainString adds it.
void CFilePathW::AddName(std::u16string_view name) {
    if (!IsEmpty()) {
        m_names += u'\\';
    }
    m_names += name;
    ++m_count;
}

void CFilePathW::AssignSegment(const CFilePathSegmentW& segment) {
    Clear();
    if (!segment.IsEmpty()) {
        m_kind = KindOfFirstSegment(segment);
        AddName(segment.View());
    }
}

bool CFilePathW::HasDriveOrServer() const {
    return m_kind == FilePathAbsolute || m_kind == FilePathDriveRelative || m_kind == FilePathUnc;
}

bool CFilePathW::StartsWithDots() const { return IsDots(ViewSegment(0)); }

int CFilePathW::Append(const CFilePathW& tail) {
    if (tail.IsEmpty()) {
        return ERROR_SUCCESS;
    }
    if (IsEmpty()) {
        *this = tail;
        return ERROR_SUCCESS;
    }
    if (tail.HasDriveOrServer()) {
        return ERROR_INVALID_DATA;
    }
    if (tail.StartsWithDots()) {
        return JoinResolving(*this, tail) ? ERROR_SUCCESS : ERROR_INVALID_DATA;
    }
    // The tail may be this path itself, so its sizes are read first.
    const std::size_t length = tail.m_names.size();
    const std::size_t count = tail.m_count;
    m_names += u'\\';
    m_names.append(tail.m_names, 0, length);
    m_count += count;
    return ERROR_SUCCESS;
}

int CFilePathW::AppendSegment(const CFilePathSegmentW& segment) {
    // The segment was checked when it was made.
    return AppendChecked(segment.View());
}

// Appends a name, which must be valid or empty.
int CFilePathW::AppendChecked(std::u16string_view name) {
    if (name.empty()) {
        return ERROR_SUCCESS;
    }
    if (IsEmpty()) {
        m_kind = KindOfFirstName(name);
        AddName(name);
        return ERROR_SUCCESS;
    }
    if (IsDriveName(name)) {
        return ERROR_INVALID_DATA;
    }
    if (name == u"..") {
        if (HasDriveOrServer() && IsRoot()) {
            return ERROR_INVALID_DATA;
        }
        // A relative path of one name becomes empty.
        RemoveLast(1);
    } else if (name != u".") {
        AddName(name);
    }
    return ERROR_SUCCESS;
}

int CFilePathW::Prepend(const CFilePathW& head) {
    if (head.IsEmpty()) {
        return ERROR_SUCCESS;
    }
    if (HasDriveOrServer()) {
        return ERROR_INVALID_DATA;
    }
    if (IsEmpty()) {
        *this = head;
        return ERROR_SUCCESS;
    }
    if (StartsWithDots()) {
        return JoinResolving(head, *this) ? ERROR_SUCCESS : ERROR_INVALID_DATA;
    }
    m_names.insert(0, head.m_names + u'\\');
    m_count += head.m_count;
    m_kind = head.m_kind;
    return ERROR_SUCCESS;
}

int CFilePathW::PrependSegment(const CFilePathSegmentW& segment) {
    if (segment.IsEmpty()) {
        return ERROR_SUCCESS;
    }
    if (HasDriveOrServer()) {
        return ERROR_INVALID_DATA;
    }
    if (IsEmpty()) {
        AssignSegment(CFilePathSegmentW(segment));
        return ERROR_SUCCESS;
    }
    const std::u16string_view first = ViewSegment(0);
    if (first == u"..") {
        // The new name and ".." cancel each other. DropFirst makes the path relative, so the kind
        // that it had is put back.
        const EFilePathKind kind = m_kind;
        DropFirst(1);
        m_kind = IsEmpty() ? FilePathNone : kind;
        return ERROR_SUCCESS;
    }
    m_kind = KindOfFirstSegment(segment);
    if (first == u".") {
        m_names.replace(0, 1, segment.View());
        return ERROR_SUCCESS;
    }
    m_names.insert(0, u"\\").insert(0, segment.View());
    ++m_count;
    return ERROR_SUCCESS;
}

// Makes this path `base` followed by `relative`, and resolves the leading "." and ".." of
// `relative`. False, with the path unchanged, when they go above the root.
bool CFilePathW::JoinResolving(const CFilePathW& base, const CFilePathW& relative) {
    CFilePathW sum(base);
    std::size_t dots = 0;
    // Each round takes a name off. An empty text gives an empty name, which ends the loop, so a
    // tail of dots alone is fine: nothing is left to append.
    std::u16string_view names = relative.m_names;
    for (std::u16string_view name = TakeFirstName(names); IsDots(name);
         name = TakeFirstName(names)) {
        if (name == u"..") {
            if (sum.IsRoot() || sum.IsEmpty()) {
                return false;
            }
            sum.RemoveLast(1);
        }
        ++dots;
    }
    CFilePathW rest(relative);
    rest.RemoveFirst(dots);
    if (sum.Append(rest) != ERROR_SUCCESS) {
        return false;
    }
    *this = std::move(sum);
    return true;
}

bool CFilePathW::Equals(const CFilePathW& other) const {
    if (m_kind != other.m_kind || m_count != other.m_count) {
        return false;
    }
    // From the end, because paths that differ mostly differ there.
    std::u16string_view left = m_names;
    std::u16string_view right = other.m_names;
    for (std::size_t i = 0; i < m_count; ++i) {
        if (!EqualsNoCase(TakeLastName(left), TakeLastName(right))) {
            return false;
        }
    }
    return true;
}

bool CFilePathW::EqualsFirstN(const CFilePathW& other, std::size_t count) const {
    const std::size_t shorter = std::min(m_count, other.m_count);
    const bool isLongEnough = shorter >= count || m_count == other.m_count;
    if (count == 0 || m_kind != other.m_kind || !isLongEnough) {
        return false;
    }
    std::u16string_view left = m_names;
    std::u16string_view right = other.m_names;
    // Two paths of the same length may both be shorter than `count`. All their names count then.
    for (std::size_t i = 0; i < std::min(count, shorter); ++i) {
        if (!EqualsNoCase(TakeFirstName(left), TakeFirstName(right))) {
            return false;
        }
    }
    return true;
}

void CFilePathW::Clear() {
    m_kind = FilePathNone;
    m_names.clear();
    m_count = 0;
}

bool CFilePathW::IsRoot() const {
    switch (m_kind) {
        case FilePathAbsolute:
        case FilePathDriveRelative:
            return m_count < 2;
        case FilePathUnc:
            // A server, or a server and a share.
            return m_count < 3;
        default:
            return false;
    }
}

// Goes over the names before it, so the cost grows with the index.
std::u16string_view CFilePathW::ViewSegment(std::size_t index) const {
    std::u16string_view rest = m_names;
    SkipNames(rest, index);
    return TakeFirstName(rest);
}

std::u16string_view CFilePathW::ViewLastSegment() const {
    std::u16string_view rest = m_names;
    return TakeLastName(rest);
}

CFilePathSegmentW CFilePathW::GetLastSegment() const {
    return CFilePathSegmentW(ViewLastSegment());
}

CFilePathSegmentW CFilePathW::GetDriveSegment() const {
    const bool hasDrive = m_kind == FilePathAbsolute || m_kind == FilePathDriveRelative;
    return hasDrive ? GetFirstSegment() : CFilePathSegmentW();
}

CFilePathSegmentW CFilePathW::GetFileName() const {
    return IsRoot() ? CFilePathSegmentW() : GetLastSegment();
}

CFilePathW CFilePathW::GetParent() const {
    CFilePathW parent(*this);
    if (!IsRoot()) {
        parent.RemoveLast(1);
    }
    return parent;
}

CFilePathW CFilePathW::GetChild(std::u16string_view name) const {
    CFilePathW child;
    child.m_names.reserve(m_names.size() + name.size() + 1);
    child.AssignChild(*this, name);
    return child;
}

void CFilePathW::AssignChild(const CFilePathW& base, std::u16string_view name) {
    m_kind = base.m_kind;
    m_count = base.m_count;
    m_names = base.m_names;
    static_cast<void>(AppendChecked(name));
}

CFilePathW CFilePathW::GetUncRoot() const {
    CFilePathW root;
    if (m_kind == FilePathUnc && m_count >= 2) {
        root = *this;
        root.RemoveLast(m_count - 2);
    }
    return root;
}

// Names are appended one by one, so that ".." in the part removes the name before it.
CFilePathW CFilePathW::SubPath(std::size_t start, std::size_t count) const {
    CFilePathW part;
    std::u16string_view rest = m_names;
    // Not `i < start + count`: the sum of two large numbers wraps around.
    for (std::size_t i = 0; i < m_count && (i < start || i - start < count); ++i) {
        const std::u16string_view name = TakeFirstName(rest);
        if (i >= start) {
            static_cast<void>(part.AppendChecked(name));
        }
    }
    // AppendChecked sees only a first name. It cannot tell a server from a folder, or "C:a" from
    // "C:\a", so the kind is copied.
    if (start == 0 && !part.IsEmpty()) {
        part.m_kind = m_kind;
    }
    return part;
}

void CFilePathW::RemoveFirst(std::size_t count) {
    if (count != 0) {
        DropFirst(count);
    }
}

void CFilePathW::DropFirst(std::size_t count) {
    if (count >= m_count) {
        Clear();
        return;
    }
    std::u16string_view rest = m_names;
    SkipNames(rest, count);
    // What SkipNames leaves is the end of `m_names`, so the difference of the lengths is cut off.
    m_names.erase(0, m_names.size() - rest.size());
    m_count -= count;
    m_kind = FilePathRelative;
}

void CFilePathW::RemoveLast(std::size_t count) {
    if (count >= m_count) {
        Clear();
        return;
    }
    std::u16string_view rest = m_names;
    for (std::size_t i = 0; i < count; ++i) {
        static_cast<void>(TakeLastName(rest));
    }
    m_names.resize(rest.size());
    m_count -= count;
}

CStrW CFilePathW::ToPlainString() const {
    CStrW text;
    WritePlain(text);
    return text;
}

void CFilePathW::WritePlain(CStrW& text) const {
    text.Truncate(0);
    // Room for the two backslashes of a UNC path, or one at the end, and for the terminator.
    if (!IsEmpty() && text.Reserve(m_names.size() + 3)) {
        AppendPlain(text);
        // "C:" alone would be drive-relative.
        if (m_kind == FilePathAbsolute && m_count == 1) {
            text.Append(u'\\');
        }
    }
}

// Appends the names with what the kind puts before them.
void CFilePathW::AppendPlain(CStrW& text) const {
    std::u16string_view names = m_names;
    if (m_kind == FilePathUnc) {
        text.Append(uR"(\\)");
    } else if (m_kind == FilePathRootRelative) {
        text.Append(u'\\');
    } else if (m_kind == FilePathDriveRelative) {
        // "C:" and its first name have no backslash between them.
        text.Append(TakeFirstName(names));
    }
    text.Append(names);
}

CStrW CFilePathW::ToString() const {
    CStrW text;
    WriteTo(text);
    return text;
}

void CFilePathW::WriteTo(CStrW& text) const {
    WritePlain(text);
    AddLongPrefix(text);
}

CStrW CFilePathW::ToString(std::u16string_view name) const {
    CStrW text;
    WriteTo(text, name);
    return text;
}

void CFilePathW::WriteTo(CStrW& text, std::u16string_view name) const {
    // Names with a meaning of their own, and paths in which not every name has a backslash before
    // it.
    if (IsEmpty() || m_kind == FilePathDriveRelative || IsDriveName(name) || IsDots(name)) {
        GetChild(name).WriteTo(text);
        return;
    }
    text.Truncate(0);
    if (text.Reserve(m_names.size() + name.size() + 4)) {
        AppendPlain(text);
        text.Append(u'\\');
        text.Append(name);
        AddLongPrefix(text);
    }
}

// Makes the text of a path the one that Windows takes if it is long.
void CFilePathW::AddLongPrefix(CStrW& text) const {
    if (text.GetLength() > kMaxPlainPath) {
        if (m_kind == FilePathAbsolute || m_kind == FilePathDriveRelative) {
            text.Prepend(kLongPrefix);
        } else if (m_kind == FilePathUnc) {
            text.InsertUncPrefix();
        }
    }
}
