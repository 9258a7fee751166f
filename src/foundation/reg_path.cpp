#include "foundation/reg_path.h"

#include <algorithm>
#include <iterator>

#include "foundation/path_names.h"
#include "platform/status.h"
#include "platform/text.h"
#include "platform/unit_marks.h"

namespace {

struct SHive {
    std::u16string_view longName;  // a literal, so that its text ends in a NUL
    std::u16string_view shortName;
    std::uint32_t handle;
};

// The numbers are the predefined handles of Windows. 0x80000004 is not a hive: it is performance
// data, which is collected when it is read.
constexpr SHive kHives[] = {
    {u"HKEY_CLASSES_ROOT", u"HKCR", 0x80000000},   {u"HKEY_CURRENT_USER", u"HKCU", 0x80000001},
    {u"HKEY_LOCAL_MACHINE", u"HKLM", 0x80000002},  {u"HKEY_USERS", u"HKU", 0x80000003},
    {u"HKEY_CURRENT_CONFIG", u"HKCC", 0x80000005},
};

constexpr SKernelRoot kKernelRoots[] = {
    {uR"(\REGISTRY\MACHINE)", u"HKEY_LOCAL_MACHINE"},
    {uR"(\REGISTRY\USER)", u"HKEY_USERS"},
};

// Whether a text begins with an ASCII letter. No comparison overlooks one.
bool BeginsWithLetter(std::u16string_view text) {
    const char16_t first = text.empty() ? u'\0' : text.front();
    return (first >= u'A' && first <= u'Z') || (first >= u'a' && first <= u'z');
}

// Null when it is not the name of a hive. Nearly all names are long ones in their usual spelling,
// or no hive at all, and need no folding.
// Gain: 4 % fewer instructions for converting a make_hive hive.
const SHive* FindHive(std::u16string_view name) {
    for (const SHive& hive : kHives) {
        if (platform::HasSameUnits(name, hive.longName)) {
            return &hive;
        }
    }
    if (BeginsWithLetter(name) && name.front() != u'H' && name.front() != u'h') {
        return nullptr;
    }
    const auto* const hive =
        std::find_if(std::begin(kHives), std::end(kHives), [name](const SHive& candidate) {
            return EqualsNoCase(name, candidate.shortName) ||
                   EqualsNoCase(name, candidate.longName);
        });
    return hive == std::end(kHives) ? nullptr : hive;
}

// Whether two names, each that of a hive, mean the same one.
bool IsSameHive(std::u16string_view left, std::u16string_view right) {
    return platform::HasSameUnits(left, right) || FindHive(left) == FindHive(right);
}

}  // namespace

const SKernelRoot* FindKernelRoot(std::u16string_view text) {
    if (BeginsWithLetter(text)) {
        return nullptr;
    }
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
        // A text that begins with a NUL is empty for CStrW; otherwise memory ran out.
        return name.empty() || name.front() == 0 ? ERROR_INVALID_DATA : ERROR_NOT_ENOUGH_MEMORY;
    }
    if (name.find(u'\\') != std::u16string_view::npos) {
        Clear();
        return ERROR_INVALID_DATA;
    }
    return ERROR_SUCCESS;
}

bool CRegPathSegmentW::IsValid(std::u16string_view name) {
    return !name.empty() && name.front() != 0 && name.find(u'\\') == std::u16string_view::npos;
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
    // An empty name is that of no hive.
    return !IsEmpty() && !other.IsEmpty() && IsSameHive(View(), other.View()) ? 0 : 1;
}

bool CHiveNameW::IsHiveName(std::u16string_view name) { return FindHive(name) != nullptr; }

CRegPathW::CRegPathW(const CRegPathW& base, const CRegPathW& tail) {
    // Room for both parts, so that they take one allocation.
    m_names.reserve(base.m_names.size() + tail.m_names.size() + 1);
    Assign(base);
    static_cast<void>(Append(tail));
}

CRegPathW::CRegPathW(const CRegPathW& base, const CRegPathSegmentW& last)
    : CRegPathW(base, last.View()) {}

CRegPathW::CRegPathW(const CRegPathW& base, std::u16string_view last) {
    m_names.reserve(base.m_names.size() + last.size() + 1);
    Assign(base);
    if (CRegPathSegmentW::IsValid(last)) {
        AddNames(last, 1);
    }
}

CRegPathW::CRegPathW(const CRegPathSegmentW& first, const CRegPathSegmentW& last) {
    AssignSegment(first);
    AppendSegment(last);
}

CRegPathW::CRegPathW(const CHiveNameW& hive, const CRegPathW& tail) {
    m_names.reserve(hive.View().size() + tail.m_names.size() + 1);
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
    // The kernel's name is compared as a prefix of units: "\REGISTRY\MACHINEX" is the machine's key
    // "X".
    if (const SKernelRoot* const root = FindKernelRoot(text)) {
        AssignHive(CHiveNameW(root->hiveName));
        // Only when there is no memory. The path must not become a relative one then.
        if (!m_hasHive) {
            return ERROR_INVALID_DATA;
        }
        text.remove_prefix(root->kernelName.size());
    }
    const int status = ParseNames(text);
    if (status != ERROR_SUCCESS) {
        Clear();
    }
    return status;
}

int CRegPathW::ParseNames(std::u16string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(u'\\'), text.size()));
    if (text.ends_with(u'\\')) {
        text.remove_suffix(1);
    }
    if (text.empty()) {
        return ERROR_SUCCESS;
    }
    // A name must not be empty, or start with a NUL, which counts as empty. One backslash at the
    // end is gone, and those at the start.
    bool isValid = text.front() != 0 && text.back() != u'\\';
    std::size_t count = 1;
    for (std::size_t at = platform::FindUnit(text, u'\\', 0); isValid && at < text.size();
         at = platform::FindUnit(text, u'\\', at + 1)) {
        isValid = text[at + 1] != u'\\' && text[at + 1] != 0;
        ++count;
    }
    if (!isValid) {
        return ERROR_INVALID_DATA;
    }
    // After a kernel name the path has its hive already, and no further name can be one.
    if (IsEmpty()) {
        m_hasHive = CHiveNameW::IsHiveName(text.substr(0, text.find(u'\\')));
    }
    AddNames(text, count);
    return ERROR_SUCCESS;
}

// `count` is the number of names in `names`, which the caller has counted while it checked them.
void CRegPathW::AddNames(std::u16string_view names, std::size_t count) {
    m_names.reserve(m_names.size() + names.size() + 1);
    if (!IsEmpty()) {
        m_names += u'\\';
    }
    m_names += names;
    m_count += count;
}

void CRegPathW::AssignSegment(const CRegPathSegmentW& segment) {
    Clear();
    AppendSegment(segment);
}

void CRegPathW::AssignHive(const CHiveNameW& hive) {
    AssignSegment(hive);
    m_hasHive = !IsEmpty();
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
    // The tail may be this path itself, so its sizes are read first.
    const std::size_t length = tail.m_names.size();
    const std::size_t count = tail.m_count;
    m_names += u'\\';
    m_names.append(tail.m_names, 0, length);
    m_count += count;
    return ERROR_SUCCESS;
}

void CRegPathW::AppendSegment(const CRegPathSegmentW& segment) {
    if (!segment.IsEmpty()) {
        AddNames(segment.View(), 1);
    }
}

// Compares `names`, taken as a path with or without a hive, with the first `count` names of another
// path.
bool CRegPathW::EqualsRun(std::u16string_view names, bool hasHive, const CRegPathW& other,
                          std::size_t count) {
    if (hasHive != other.m_hasHive) {
        return false;
    }
    std::u16string_view others = other.m_names;
    const std::u16string_view first = TakeFirstName(names);
    const std::u16string_view otherFirst = TakeFirstName(others);
    if (hasHive && !IsSameHive(first, otherFirst)) {
        return false;
    }
    // The first name is the hive, compared above, or is not compared; see Equals.
    for (std::size_t i = 1; i < count; ++i) {
        if (!EqualsNoCase(TakeFirstName(names), TakeFirstName(others))) {
            return false;
        }
    }
    return true;
}

bool CRegPathW::Equals(const CRegPathW& other) const {
    return m_count == other.m_count && EqualsRun(m_names, m_hasHive, other, m_count);
}

bool CRegPathW::EqualsFirstN(const CRegPathW& other, std::size_t count) const {
    const std::size_t shorter = std::min(m_count, other.m_count);
    if (count == 0 || (shorter < count && m_count != other.m_count)) {
        return false;
    }
    return EqualsRun(m_names, m_hasHive, other, std::min(count, shorter));
}

bool CRegPathW::Contains(const CRegPathW& part) const {
    if (part.IsEmpty()) {
        return false;
    }
    // INVARIANT: `run` is the names from index `start` on.
    std::u16string_view run = m_names;
    for (std::size_t start = 0; start + part.m_count <= m_count; ++start) {
        // Only names from the start on can begin with a hive.
        if (EqualsRun(run, m_hasHive && start == 0, part, part.m_count)) {
            return true;
        }
        SkipNames(run, 1);
    }
    return false;
}

void CRegPathW::Clear() {
    m_hasHive = false;
    m_names.clear();
    m_count = 0;
}

// The names from index `index` to the end.
std::u16string_view CRegPathW::NamesFrom(std::size_t index) const {
    std::u16string_view rest = m_names;
    SkipNames(rest, index);
    return rest;
}

std::u16string_view CRegPathW::GetSegmentText(std::size_t index) const {
    std::u16string_view rest = NamesFrom(index);
    return TakeFirstName(rest);
}

std::u16string_view CRegPathW::ViewLast() const {
    return std::u16string_view(m_names).substr(m_names.rfind(u'\\') + 1);
}

CHiveNameW CRegPathW::GetHive() const {
    return m_hasHive ? CHiveNameW(GetSegmentText(0)) : CHiveNameW();
}

std::uint32_t CRegPathW::GetHiveHandle() const {
    const SHive* const hive = m_hasHive ? FindHive(GetSegmentText(0)) : nullptr;
    return hive == nullptr ? 0 : hive->handle;
}

CRegPathW CRegPathW::GetSubKeyPath() const { return m_hasHive ? SubPath(1, m_count - 1) : *this; }

CRegPathW CRegPathW::SubPath(std::size_t start, std::size_t count) const {
    CRegPathW part;
    std::u16string_view rest = NamesFrom(start);
    for (std::size_t i = 0; i < count && !rest.empty(); ++i) {
        part.AddNames(TakeFirstName(rest), 1);
    }
    // Only the first name can be a hive.
    part.m_hasHive = m_hasHive && start == 0 && !part.IsEmpty();
    return part;
}

void CRegPathW::RemoveFirst(std::size_t count) {
    // If there are fewer names, NamesFrom is empty, and all of them go.
    m_names.erase(0, m_names.size() - NamesFrom(count).size());
    m_count -= std::min(count, m_count);
    m_hasHive = false;
}

void CRegPathW::RemoveLast(std::size_t count) {
    if (count >= m_count) {
        Clear();
        return;
    }
    // One name is left at least, so each search finds a backslash.
    for (std::size_t i = 0; i < count; ++i) {
        m_names.resize(m_names.rfind(u'\\'));
    }
    m_count -= count;
}

CStrW CRegPathW::ToString() const { return CStrW(m_names); }

CStrW CRegPathW::ToLongString() const {
    std::u16string_view rest = m_names;
    const SHive* const hive = m_hasHive ? FindHive(TakeFirstName(rest)) : nullptr;
    if (hive == nullptr) {
        return ToString();
    }
    CStrW text;
    // Room for a backslash and the terminator. Without memory the text is empty.
    if (text.Reserve(hive->longName.size() + rest.size() + 2)) {
        text.Append(hive->longName);
        if (m_count > 1) {
            text.Append(u'\\');
            text.Append(rest);
        }
    }
    return text;
}
