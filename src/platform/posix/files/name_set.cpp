#include "platform/posix/files/name_set.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <vector>

#include "platform/posix/files/file_descriptor.h"
#include "platform/posix/files/file_name.h"

namespace platform {

namespace {

constexpr char16_t kMovedUpColon = 0xF03A;

// Compares the units of two readers, in upper case or unchanged. Negative, 0 or positive. The end
// is less than every unit.
template <class TLeft, class TRight>
int CompareUnits(TLeft left, TRight right, bool upper) {
    for (;;) {
        int a = left.Next();
        int b = right.Next();
        if (upper && a != b && a >= 0 && b >= 0) {
            a = UpperUnit(static_cast<char16_t>(a));
            b = UpperUnit(static_cast<char16_t>(b));
        }
        if (a != b || a == CNameReader::kEnd) {
            return a - b;
        }
    }
}

// CompareUnits of two names in upper case. Nearly all are plain, which needs no reader.
int CompareUpper(std::string_view left, std::string_view right) {
    const std::size_t shorter = std::min(left.size(), right.size());
    std::size_t same = 0;
    while (same < shorter && left[same] == right[same] && IsPlain(left[same])) {
        ++same;
    }
    for (std::size_t i = same; i < shorter; ++i) {
        if (!IsPlain(left[i]) || !IsPlain(right[i])) {
            return CompareUnits(CNameReader(left.substr(i)), CNameReader(right.substr(i)), true);
        }
        const int order =
            UpperUnit(static_cast<char16_t>(left[i])) - UpperUnit(static_cast<char16_t>(right[i]));
        if (order != 0) {
            return order;
        }
    }
    return left.size() < right.size() ? -1 : left.size() > right.size() ? 1 : 0;
}

// Gives the units of a text as CNameReader gives those of a name.
class CTextReader {
public:
    explicit CTextReader(std::u16string_view text) : m_text(text) {}
    int Next() { return m_at < m_text.size() ? m_text[m_at++] : CNameReader::kEnd; }

private:
    std::u16string_view m_text;
    std::size_t m_at = 0;
};

// The same for a name and a text.
int CompareWithText(std::string_view name, std::u16string_view text, bool upper) {
    const std::size_t shorter = std::min(name.size(), text.size());
    std::size_t same = 0;
    while (same < shorter && static_cast<char16_t>(name[same]) == text[same] &&
           IsPlain(name[same])) {
        ++same;
    }
    return CompareUnits(CNameReader(name.substr(same)), CTextReader(text.substr(same)), upper);
}

bool IsOwnOrParent(const char* name) {
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

bool HasColon(const std::string& name) { return name.find(':') != std::string::npos; }

// What a link leads to counts, unless it is not followed. That takes a look at it.
EEntryKind KindFromType(unsigned char type) {
    switch (type) {
        case DT_DIR:
            return EEntryKind::Folder;
        case DT_REG:
            return EEntryKind::Regular;
        case DT_LNK:
        case DT_UNKNOWN:
            return EEntryKind::Unknown;
        default:
            return EEntryKind::Other;
    }
}

// Appends the names of a folder from its position on. 0 or errno.
int ReadNames(int folder, std::vector<std::pair<std::string, EEntryKind>>& names) {
    alignas(dirent64) std::array<char, 32768> buffer;
    for (;;) {
        const ssize_t count = getdents64(folder, buffer.data(), buffer.size());
        if (count <= 0) {
            return count == 0 ? 0 : errno;
        }
        for (ssize_t at = 0; at < count;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(buffer.data() + at);
            if (!IsOwnOrParent(entry->d_name)) {
                names.emplace_back(entry->d_name, KindFromType(entry->d_type));
            }
            at += entry->d_reclen;
        }
    }
}

}  // namespace

// By upper case, then by the text, then by the bytes: different names may appear as the same text,
// and only equal bytes are the same name.
bool CNameSet::SOrder::operator()(const std::string& left, const std::string& right) const {
    int order = CompareUpper(left, right);
    if (order == 0 && left != right) {
        order = CompareUnits(CNameReader(left), CNameReader(right), false);
    }
    return order != 0 ? order < 0 : left < right;
}

bool CNameSet::SOrder::operator()(const std::string& left, const SKey& right) const {
    int order = CompareWithText(left, right.upper, true);
    if (order == 0 && right.exact != nullptr) {
        order = CompareWithText(left, *right.exact, false);
    }
    return order < 0;
}

int CNameSet::Read(int folder) {
    m_names.clear();
    m_place = m_names.end();
    m_colonNames = 0;
    // A new descriptor, because some file systems show a folder for ever as it was when its
    // descriptor was opened.
    const CFileDescriptor opened(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened.IsOpen()) {
        return errno;
    }
    std::vector<std::pair<std::string, EEntryKind>> names;
    if (const int error = ReadNames(opened.Get(), names)) {
        return error;
    }
    // Sorted before they go into the tree: then each is added at its end, at constant cost.
    std::sort(names.begin(), names.end(), [](const auto& left, const auto& right) {
        return SOrder()(left.first, right.first);
    });
    for (auto& [name, kind] : names) {
        m_colonNames += HasColon(name) ? 1 : 0;
        m_names.emplace_hint(m_names.end(), std::move(name), kind);
    }
    return 0;
}

void CNameSet::Add(const std::string& name, EEntryKind kind) {
    const std::size_t before = m_names.size();
    // Names mostly come in order, so the new one belongs after the last. A wrong hint only costs
    // time.
    const auto hint = m_place == m_names.end() ? m_place : std::next(m_place);
    const auto added = m_names.emplace_hint(hint, name, kind);
    added->second = kind;
    m_place = added;
    m_colonNames += m_names.size() != before && HasColon(name) ? 1 : 0;
}

void CNameSet::Remove(const std::string& name) {
    // It may be at the name that is removed.
    m_place = m_names.end();
    m_colonNames -= m_names.erase(name) != 0 && HasColon(name) ? 1 : 0;
}

const std::string* CNameSet::Find(std::u16string_view text) const {
    // New names mostly come in order, after all that are there.
    if (m_names.empty() || CompareWithText(m_names.rbegin()->first, text, true) < 0) {
        return nullptr;
    }
    std::u16string upper;
    AppendUpper(upper, text);
    // Names that differ only in letter case are neighbours, so the first of them is here if any is.
    const auto variant = m_names.lower_bound(SKey{upper});
    if (variant == m_names.end() || CompareWithText(variant->first, upper, true) != 0) {
        return nullptr;
    }
    const auto exact = m_names.lower_bound(SKey{upper, &text});
    const bool isExact = exact != m_names.end() && CompareWithText(exact->first, text, false) == 0;
    return isExact ? &exact->first : &variant->first;
}

const CNameSet::Name* CNameSet::FindNext(const std::string& name) const {
    const bool isBeside = m_place != m_names.end() && m_place->first == name;
    m_place = isBeside       ? std::next(m_place)
              : name.empty() ? m_names.begin()
                             : m_names.upper_bound(name);
    return m_place == m_names.end() ? nullptr : &*m_place;
}

std::u16string CNameSet::GetText(const std::string& name) const {
    std::u16string text = TextFromName(name);
    std::string literal;
    // A name that its own text leads back to always has this text. Only the others can clash.
    if (std::all_of(name.begin(), name.end(), IsPlain) ||
        (NameFromText(text, literal) && literal == name)) {
        return text;
    }
    std::u16string upper;
    AppendUpper(upper, text);
    const std::u16string_view exact = text;
    // Names with the same text are neighbours, so a second one shows that the text is ambiguous.
    const auto first = m_names.lower_bound(SKey{upper, &exact});
    const auto second = first == m_names.end() ? first : std::next(first);
    const bool isAlone =
        second == m_names.end() || CompareWithText(second->first, text, false) != 0;
    return isAlone ? text : UnambiguousTextFromName(name);
}

bool CNameSet::IsStream(const std::string& name) const {
    // The last colon counts, because the name of a stream has none, but that of a file may.
    const std::size_t colon = m_colonNames == 0 ? std::string::npos : name.rfind(':');
    return colon != std::string::npos && Find(TextFromName(name.substr(0, colon))) != nullptr;
}

bool CNameSet::HasStream(std::u16string_view file, std::u16string_view stream) const {
    if (m_colonNames == 0) {
        return false;
    }
    std::u16string upper;
    AppendUpper(upper, file);
    upper += kMovedUpColon;
    AppendUpper(upper, stream);
    const auto isStream = [&](const std::string& name) {
        return IsSameName(TextFromName(name.substr(name.rfind(':') + 1)), stream);
    };
    // In the order of names a colon appears as the moved-up one. A file whose name has that
    // character itself is among the candidates too, and is no stream.
    auto name = m_names.lower_bound(SKey{upper});
    while (name != m_names.end() && CompareWithText(name->first, upper, true) == 0) {
        if (HasColon(name->first) && isStream(name->first)) {
            return true;
        }
        ++name;
    }
    return false;
}

}  // namespace platform
