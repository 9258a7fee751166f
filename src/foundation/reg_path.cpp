#include "foundation/reg_path.h"

#include <algorithm>
#include <iterator>

#include "platform/status.h"

namespace {

struct SHive {
    std::u16string_view longName;  // a literal, so that its text ends in a NUL
    std::u16string_view shortName;
    std::uint32_t handle;
};

constexpr SHive kHives[] = {
    {u"HKEY_CLASSES_ROOT", u"HKCR", 0x80000000},   {u"HKEY_CURRENT_USER", u"HKCU", 0x80000001},
    {u"HKEY_LOCAL_MACHINE", u"HKLM", 0x80000002},  {u"HKEY_USERS", u"HKU", 0x80000003},
    {u"HKEY_CURRENT_CONFIG", u"HKCC", 0x80000005},
};

constexpr SKernelRoot kKernelRoots[] = {
    {uR"(\REGISTRY\MACHINE)", u"HKEY_LOCAL_MACHINE"},
    {uR"(\REGISTRY\USER)", u"HKEY_USERS"},
};

const SHive* FindHive(std::u16string_view name) {
    const auto* const hive =
        std::find_if(std::begin(kHives), std::end(kHives), [name](const SHive& candidate) {
            return EqualsNoCase(name, candidate.longName) ||
                   EqualsNoCase(name, candidate.shortName);
        });
    return hive == std::end(kHives) ? nullptr : hive;
}

bool IsSameHive(std::u16string_view left, std::u16string_view right) {
    const SHive* const hive = FindHive(left);
    return hive != nullptr && hive == FindHive(right);
}

}  // namespace

const SKernelRoot* FindKernelRoot(std::u16string_view text) {
    for (const SKernelRoot& root : kKernelRoots) {
        if (text.size() >= root.kernelName.size() &&
            EqualsNoCase(text.substr(0, root.kernelName.size()), root.kernelName)) {
            return &root;
        }
    }
    return nullptr;
}

int CRegPathSegmentW::Assign(std::u16string_view name) {
    m_name.Assign(name);
    if (m_name.IsEmpty()) {
        Clear();
        return name.empty() || name.front() == 0 ? ERROR_INVALID_DATA : ERROR_NOT_ENOUGH_MEMORY;
    }
    if (name.find(u'\\') != std::u16string_view::npos) {
        Clear();
        return ERROR_INVALID_DATA;
    }
    return ERROR_SUCCESS;
}

CHiveNameW::CHiveNameW(std::u16string_view name) {
    if (IsHiveName(name)) {
        static_cast<void>(Assign(name));
    }
}

int CHiveNameW::AssignHandle(std::uint32_t handle) {
    for (const SHive& hive : kHives) {
        if (hive.handle == handle) {
            return Assign(hive.longName);
        }
    }
    Clear();
    return ERROR_INVALID_DATA;
}

const char16_t* CHiveNameW::GetLongName() const {
    const SHive* const hive = FindHive(View());
    return hive == nullptr ? nullptr : hive->longName.data();
}

std::uint32_t CHiveNameW::GetHandle() const {
    const SHive* const hive = FindHive(View());
    return hive == nullptr ? 0 : hive->handle;
}

int CHiveNameW::Compare(const CHiveNameW& other) const {
    return IsSameHive(View(), other.View()) ? 0 : 1;
}

bool CHiveNameW::IsHiveName(std::u16string_view name) { return FindHive(name) != nullptr; }

CRegPathW::CRegPathW(const CRegPathW& base, const CRegPathW& tail) {
    m_segments.reserve(base.m_segments.size() + tail.m_segments.size());
    Assign(base);
    static_cast<void>(Append(tail));
}

CRegPathW::CRegPathW(const CRegPathW& base, const CRegPathSegmentW& last) {
    m_segments.reserve(base.m_segments.size() + 1);
    Assign(base);
    AppendSegment(last);
}

CRegPathW::CRegPathW(const CRegPathSegmentW& first, const CRegPathSegmentW& last) {
    AssignSegment(first);
    AppendSegment(last);
}

CRegPathW::CRegPathW(const CHiveNameW& hive, const CRegPathW& tail) {
    m_segments.reserve(tail.m_segments.size() + 1);
    AssignHive(hive);
    static_cast<void>(Append(tail));
}

CRegPathW::CRegPathW(const CHiveNameW& hive, const CRegPathSegmentW& last) {
    AssignHive(hive);
    AppendSegment(last);
}

int CRegPathW::Parse(std::u16string_view text) {
    Clear();
    if (text.empty() || text.front() == 0) {
        return ERROR_SUCCESS;
    }
    // The kernel's name counts as a mere prefix: "\REGISTRY\MACHINEX" is the machine's key "X".
    if (const SKernelRoot* const root = FindKernelRoot(text)) {
        AssignHive(CHiveNameW(root->hiveName));
        if (!m_hasHive) {
            return ERROR_INVALID_DATA;
        }
        text.remove_prefix(root->kernelName.size());
    }
    const int status = ParseSegments(text);
    if (status != ERROR_SUCCESS) {
        Clear();
    }
    return status;
}

int CRegPathW::ParseSegments(std::u16string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(u'\\'), text.size()));
    const auto separators = std::count(text.begin(), text.end(), u'\\');
    m_segments.reserve(m_segments.size() + static_cast<std::size_t>(separators) + 1);
    while (!text.empty()) {
        const std::u16string_view piece = text.substr(0, text.find(u'\\'));
        const bool isHive = m_segments.empty() && CHiveNameW::IsHiveName(piece);
        m_segments.emplace_back(piece);
        if (m_segments.back().IsEmpty()) {
            return ERROR_INVALID_DATA;
        }
        m_hasHive = m_hasHive || isHive;
        text.remove_prefix(std::min(piece.size() + 1, text.size()));
    }
    return ERROR_SUCCESS;
}

void CRegPathW::AssignSegment(const CRegPathSegmentW& segment) {
    Clear();
    AppendSegment(segment);
}

void CRegPathW::AssignHive(const CHiveNameW& hive) {
    AssignSegment(hive);
    m_hasHive = !m_segments.empty();
}

int CRegPathW::Append(const CRegPathW& tail) {
    if (tail.IsEmpty()) {
        return ERROR_SUCCESS;
    }
    if (IsEmpty()) {
        Assign(tail);
        return ERROR_SUCCESS;
    }
    if (tail.m_hasHive) {
        return ERROR_INVALID_DATA;
    }
    // Reserved and counted first, since a path may be appended to itself.
    const std::size_t count = tail.m_segments.size();
    m_segments.reserve(m_segments.size() + count);
    for (std::size_t i = 0; i < count; ++i) {
        m_segments.push_back(tail.m_segments[i]);
    }
    return ERROR_SUCCESS;
}

int CRegPathW::AppendSegment(const CRegPathSegmentW& segment) {
    if (segment.IsEmpty()) {
        return ERROR_SUCCESS;
    }
    m_segments.push_back(segment);
    if (m_segments.back().IsEmpty()) {
        m_segments.pop_back();
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    return ERROR_SUCCESS;
}

bool CRegPathW::EqualsRun(std::size_t start, const CRegPathW& other, std::size_t count) const {
    const bool hasHive = m_hasHive && start == 0;
    if (hasHive != other.m_hasHive ||
        (hasHive && !IsSameHive(GetSegmentText(0), other.GetSegmentText(0)))) {
        return false;
    }
    // The first name is either the hive or, by rule, not compared.
    for (std::size_t i = 1; i < count; ++i) {
        if (!EqualsNoCase(m_segments[start + i].View(), other.m_segments[i].View())) {
            return false;
        }
    }
    return true;
}

bool CRegPathW::Equals(const CRegPathW& other) const {
    const std::size_t count = m_segments.size();
    return count == other.m_segments.size() && EqualsRun(0, other, count);
}

bool CRegPathW::EqualsFirstN(const CRegPathW& other, std::size_t count) const {
    const std::size_t shorter = std::min(m_segments.size(), other.m_segments.size());
    if (count == 0 || (shorter < count && m_segments.size() != other.m_segments.size())) {
        return false;
    }
    return EqualsRun(0, other, std::min(count, shorter));
}

bool CRegPathW::Contains(const CRegPathW& part) const {
    const std::size_t count = part.m_segments.size();
    if (count == 0) {
        return false;
    }
    for (std::size_t start = 0; start + count <= m_segments.size(); ++start) {
        if (EqualsRun(start, part, count)) {
            return true;
        }
    }
    return false;
}

void CRegPathW::Clear() {
    m_hasHive = false;
    m_segments.clear();
}

std::u16string_view CRegPathW::GetSegmentText(std::size_t index) const {
    return index < m_segments.size() ? m_segments[index].View() : std::u16string_view();
}

CRegPathSegmentW CRegPathW::GetLastSegment() const {
    return m_segments.empty() ? CRegPathSegmentW() : m_segments.back();
}

CHiveNameW CRegPathW::GetHive() const {
    return m_hasHive ? CHiveNameW(GetSegmentText(0)) : CHiveNameW();
}

CRegPathW CRegPathW::GetSubKeyPath() const {
    return m_hasHive ? SubPath(1, m_segments.size() - 1) : *this;
}

CStrW CRegPathW::GetSubKeyText() const {
    const std::size_t start = m_hasHive ? 1 : 0;
    return Print(start, GetSegmentText(start));
}

CRegPathW CRegPathW::SubPath(std::size_t start, std::size_t count) const {
    CRegPathW part;
    if (start < m_segments.size()) {
        const auto first = m_segments.begin() + static_cast<std::ptrdiff_t>(start);
        const std::size_t length = std::min(count, m_segments.size() - start);
        part.m_segments.assign(first, first + static_cast<std::ptrdiff_t>(length));
        part.m_hasHive = m_hasHive && start == 0 && length != 0;
    }
    return part;
}

void CRegPathW::RemoveFirst(std::size_t count) {
    const std::size_t removed = std::min(count, m_segments.size());
    m_segments.erase(m_segments.begin(), m_segments.begin() + static_cast<std::ptrdiff_t>(removed));
    m_hasHive = false;
}

void CRegPathW::RemoveLast(std::size_t count) {
    if (count >= m_segments.size()) {
        Clear();
        return;
    }
    m_segments.resize(m_segments.size() - count);
}

CStrW CRegPathW::ToString() const { return Print(0, GetSegmentText(0)); }

CStrW CRegPathW::ToLongString() const {
    const SHive* const hive = m_hasHive ? FindHive(GetSegmentText(0)) : nullptr;
    return Print(0, hive == nullptr ? GetSegmentText(0) : hive->longName);
}

// The names from `start` on, where `first` stands for the first of them.
CStrW CRegPathW::Print(std::size_t start, std::u16string_view first) const {
    std::size_t length = first.size();
    for (std::size_t i = start + 1; i < m_segments.size(); ++i) {
        length += 1 + m_segments[i].View().size();
    }
    CStrW text;
    if (length != 0 && text.Reserve(length + 1)) {
        text.Append(first);
        for (std::size_t i = start + 1; i < m_segments.size(); ++i) {
            text.Append(u'\\');
            text.Append(m_segments[i].View());
        }
    }
    return text;
}
