#include "foundation/file_path.h"

#include <algorithm>

#include "platform/status.h"

namespace {

constexpr std::size_t kMaxSegment = 260;
constexpr std::size_t kMaxMachineName = 64;
constexpr std::size_t kMaxPlainPath = 247;
constexpr std::u16string_view kLongPrefix = uR"(\\?\)";
constexpr std::u16string_view kLongUncPrefix = uR"(\\?\UNC\)";

const CFilePathSegmentW& EmptySegment() {
    static const CFilePathSegmentW empty;
    return empty;
}

bool IsValidSegment(std::u16string_view name) {
    if (name.empty() || name.size() > kMaxSegment) {
        return false;
    }
    const bool mayBeDrive = name.size() == 2 && name[0] != u':';
    return std::all_of(name.begin(), name.end(), [mayBeDrive](char16_t unit) {
        switch (unit) {
            case u'"':
            case u'/':
            case u'<':
            case u'>':
            case u'\\':
            case u'|':
                return false;
            case u':':
                return mayBeDrive;
            default:
                return true;
        }
    });
}

bool IsValidMachineName(std::u16string_view name) {
    return !name.empty() && name.size() <= kMaxMachineName &&
           name.find_first_of(uR"(",*+/:;<>=?[]\|)") == std::u16string_view::npos;
}

bool SameSegments(const CFilePathSegmentW& left, const CFilePathSegmentW& right) {
    return left.EqualsNoCase(right.View());
}

}  // namespace

int CFilePathSegmentW::Assign(std::u16string_view name) {
    return AssignChecked(name, IsValidSegment(name));
}

int CFilePathSegmentW::AssignChecked(std::u16string_view name, bool isValid) {
    if (!isValid) {
        m_name.Clear();
        return ERROR_INVALID_DATA;
    }
    m_name.Assign(name);
    return m_name.GetLength() == name.size() ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

bool CFilePathSegmentW::EqualsNoCase(std::u16string_view other) const {
    return m_name.EqualsNoCase(other);
}

bool CFilePathSegmentW::IsDrive() const {
    return m_name.GetLength() == 2 && m_name.View()[1] == u':';
}

int CFilePathSegmentW::CompareExtension(std::u16string_view extension) const {
    if (!extension.empty() && extension.front() == u'.') {
        extension.remove_prefix(1);
    }
    const std::u16string_view name = m_name.View();
    const std::size_t dot = name.rfind(u'.');
    return CompareNoCase(dot == std::u16string_view::npos ? name : name.substr(dot + 1), extension);
}

CStrW CFilePathSegmentW::GetStem() const {
    const std::u16string_view name = m_name.View();
    return CStrW(name.substr(0, name.rfind(u'.')));
}

bool CFilePathSegmentW::SetExtensionOrv() {
    const CStrW name = GetStem() + u".orv";
    if (!IsValidSegment(name)) {
        return false;
    }
    m_name = name;
    return true;
}

int CMachineNameW::Assign(std::u16string_view name) {
    return AssignChecked(name, IsValidMachineName(name));
}

EFilePathKind KindOfFirstSegment(const CFilePathSegmentW& segment) {
    return segment.IsDrive() ? FilePathAbsolute : FilePathRelative;
}

CFilePathW::CFilePathW(const CFilePathW& base, const CFilePathW& tail) : CFilePathW(base) {
    static_cast<void>(Append(tail));
}

CFilePathW::CFilePathW(const CFilePathW& base, const CFilePathSegmentW& last)
    : m_kind(base.m_kind) {
    m_segments.reserve(base.m_segments.size() + 1);
    m_segments = base.m_segments;
    static_cast<void>(AppendSegment(last));
}

int CFilePathW::Parse(std::u16string_view text) {
    Clear();
    if (text.empty()) {
        return ERROR_SUCCESS;
    }
    std::size_t start = 0;
    int status = ParseKind(text, start);
    m_segments.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), u'\\') + 2));
    while (status == ERROR_SUCCESS) {
        const std::size_t end = std::min(text.find(u'\\', start), text.size());
        status = AddPiece(text.substr(start, end - start), text.substr(start));
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

// Finds the kind of a path text, and where its names start.
int CFilePathW::ParseKind(std::u16string_view text, std::size_t& start) {
    const auto isDriveRelative = [text](std::size_t colon) {
        return text.size() == colon + 1 || text[colon + 1] != u'\\';
    };
    if (text.size() >= kLongUncPrefix.size() &&
        EqualsNoCase(text.substr(0, kLongUncPrefix.size()), kLongUncPrefix)) {
        m_kind = FilePathUnc;
        start = kLongUncPrefix.size();
    } else if (text.starts_with(kLongPrefix)) {
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

// Adds what stands up to the next backslash; `rest` is the text from there to its end.
int CFilePathW::AddPiece(std::u16string_view piece, std::u16string_view rest) {
    if (m_segments.empty() && m_kind == FilePathUnc) {
        CMachineNameW server;
        const int status = server.Assign(piece);
        m_segments.push_back(std::move(static_cast<CFilePathSegmentW&>(server)));
        return status;
    }
    if (m_segments.empty() && rest.size() >= 3 && rest[1] == u':' && rest[2] != u'\\') {
        const int status = m_segments.emplace_back().Assign(piece.substr(0, 2));
        return status != ERROR_SUCCESS ? status : m_segments.emplace_back().Assign(piece.substr(2));
    }
    return m_segments.emplace_back().Assign(piece);
}

void CFilePathW::AssignSegment(const CFilePathSegmentW& segment) {
    Clear();
    if (!segment.IsEmpty()) {
        m_kind = KindOfFirstSegment(segment);
        m_segments.push_back(segment);
    }
}

bool CFilePathW::HasDriveOrServer() const {
    return m_kind == FilePathAbsolute || m_kind == FilePathDriveRelative || m_kind == FilePathUnc;
}

bool CFilePathW::StartsWithDots() const {
    return GetFirstSegment().IsDot() || GetFirstSegment().IsDotDot();
}

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
    m_segments.reserve(m_segments.size() + tail.m_segments.size());
    const std::size_t count = tail.m_segments.size();
    for (std::size_t i = 0; i < count; ++i) {
        m_segments.push_back(tail.m_segments[i]);
    }
    return ERROR_SUCCESS;
}

int CFilePathW::AppendSegment(const CFilePathSegmentW& segment) {
    if (segment.IsEmpty()) {
        return ERROR_SUCCESS;
    }
    if (IsEmpty()) {
        AssignSegment(CFilePathSegmentW(segment));
        return ERROR_SUCCESS;
    }
    if (segment.IsDrive()) {
        return ERROR_INVALID_DATA;
    }
    if (segment.IsDotDot()) {
        if (HasDriveOrServer() && IsRoot()) {
            return ERROR_INVALID_DATA;
        }
        RemoveLast(1);
    } else if (segment.IsNotDot()) {
        m_segments.push_back(segment);
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
    CFilePathW sum(head);
    sum.m_segments.insert(sum.m_segments.end(), m_segments.begin(), m_segments.end());
    *this = std::move(sum);
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
    if (GetFirstSegment().IsDotDot()) {
        m_segments.erase(m_segments.begin());
        if (m_segments.empty()) {
            m_kind = FilePathNone;
        }
        return ERROR_SUCCESS;
    }
    const bool hadDot = GetFirstSegment().IsDot();
    m_kind = KindOfFirstSegment(segment);
    m_segments.insert(m_segments.begin(), segment);
    if (hadDot) {
        m_segments.erase(m_segments.begin() + 1);
    }
    return ERROR_SUCCESS;
}

// Makes this path `base` with `relative` behind it, whose leading dots are resolved. False, with
// the path unchanged, when they climb above the root.
bool CFilePathW::JoinResolving(const CFilePathW& base, CFilePathW relative) {
    CFilePathW sum(base);
    while (relative.StartsWithDots()) {
        if (relative.GetFirstSegment().IsDotDot()) {
            if (sum.IsRoot() || sum.IsEmpty()) {
                return false;
            }
            sum.RemoveLast(1);
        }
        relative.RemoveFirst(1);
    }
    if (sum.Append(relative) != ERROR_SUCCESS) {
        return false;
    }
    *this = std::move(sum);
    return true;
}

bool CFilePathW::Equals(const CFilePathW& other) const {
    return m_kind == other.m_kind && m_segments.size() == other.m_segments.size() &&
           std::equal(m_segments.rbegin(), m_segments.rend(), other.m_segments.rbegin(),
                      SameSegments);
}

bool CFilePathW::EqualsFirstN(const CFilePathW& other, std::size_t count) const {
    const std::size_t shorter = std::min(m_segments.size(), other.m_segments.size());
    const bool isLongEnough = shorter >= count || m_segments.size() == other.m_segments.size();
    if (count == 0 || m_kind != other.m_kind || !isLongEnough) {
        return false;
    }
    const auto end = static_cast<std::ptrdiff_t>(std::min(count, shorter));
    return std::equal(m_segments.begin(), m_segments.begin() + end, other.m_segments.begin(),
                      SameSegments);
}

void CFilePathW::Clear() {
    m_kind = FilePathNone;
    m_segments.clear();
}

bool CFilePathW::IsRoot() const {
    switch (m_kind) {
        case FilePathAbsolute:
        case FilePathDriveRelative:
            return m_segments.size() < 2;
        case FilePathUnc:
            return m_segments.size() < 3;
        default:
            return false;
    }
}

const CFilePathSegmentW& CFilePathW::GetSegment(std::size_t index) const {
    return index < m_segments.size() ? m_segments[index] : EmptySegment();
}

const CFilePathSegmentW& CFilePathW::GetLastSegment() const {
    return m_segments.empty() ? EmptySegment() : m_segments.back();
}

const CFilePathSegmentW& CFilePathW::GetDriveSegment() const {
    const bool hasDrive = m_kind == FilePathAbsolute || m_kind == FilePathDriveRelative;
    return hasDrive ? GetFirstSegment() : EmptySegment();
}

const CFilePathSegmentW& CFilePathW::GetFileName() const {
    return IsRoot() ? EmptySegment() : GetLastSegment();
}

CFilePathW CFilePathW::GetParent() const {
    CFilePathW parent(*this);
    if (!IsRoot()) {
        parent.RemoveLast(1);
    }
    return parent;
}

CFilePathW CFilePathW::GetUncRoot() const {
    CFilePathW root;
    if (m_kind == FilePathUnc && m_segments.size() >= 2) {
        root.m_kind = FilePathUnc;
        root.m_segments.assign(m_segments.begin(), m_segments.begin() + 2);
    }
    return root;
}

CFilePathW CFilePathW::SubPath(std::size_t start, std::size_t count) const {
    CFilePathW part;
    for (std::size_t i = start; i < m_segments.size() && i - start < count; ++i) {
        static_cast<void>(part.AppendSegment(m_segments[i]));
    }
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
    if (count >= m_segments.size()) {
        Clear();
        return;
    }
    m_segments.erase(m_segments.begin(), m_segments.begin() + static_cast<std::ptrdiff_t>(count));
    m_kind = FilePathRelative;
}

void CFilePathW::RemoveLast(std::size_t count) {
    if (count >= m_segments.size()) {
        Clear();
        return;
    }
    m_segments.resize(m_segments.size() - count);
}

CStrW CFilePathW::ToPlainString() const {
    std::size_t length = m_segments.size() + 2;
    for (const CFilePathSegmentW& segment : m_segments) {
        length += segment.View().size();
    }
    CStrW text;
    if (m_segments.empty() || !text.Reserve(length + 1)) {
        return text;
    }
    if (m_kind == FilePathUnc) {
        text.Append(uR"(\\)");
    } else if (m_kind == FilePathRootRelative) {
        text.Append(u'\\');
    }
    for (std::size_t i = 0; i < m_segments.size(); ++i) {
        if (i > 1 || (i == 1 && m_kind != FilePathDriveRelative)) {
            text.Append(u'\\');
        }
        text.Append(m_segments[i].View());
    }
    if (m_kind == FilePathAbsolute && m_segments.size() == 1) {
        text.Append(u'\\');
    }
    return text;
}

CStrW CFilePathW::ToString() const {
    CStrW text = ToPlainString();
    if (text.GetLength() > kMaxPlainPath) {
        if (m_kind == FilePathAbsolute || m_kind == FilePathDriveRelative) {
            text.Prepend(kLongPrefix);
        } else if (m_kind == FilePathUnc) {
            text.InsertUncPrefix();
        }
    }
    return text;
}
