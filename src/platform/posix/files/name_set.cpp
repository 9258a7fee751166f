#include "platform/posix/files/name_set.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <utility>

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

// The length of the start that a name has in common with a text, as far as it is plain.
std::size_t CountSamePlain(std::string_view left, std::u16string_view right) {
    const std::size_t shorter = std::min(left.size(), right.size());
    std::size_t same = 0;
    while (same < shorter && static_cast<unsigned char>(left[same]) == right[same] &&
           IsPlain(left[same])) {
        ++same;
    }
    return same;
}

// The upper-case forms of the bytes that appear as themselves; 0 for the others.
constexpr auto kUpperBytes = [] {
    std::array<unsigned char, 256> upper{};
    for (unsigned char c = 0; c < 0x80; ++c) {
        const bool isLower = c >= 'a' && c <= 'z';
        upper[c] = !kPlainBytes[c] ? 0 : static_cast<unsigned char>(isLower ? c - 0x20 : c);
    }
    return upper;
}();

// CompareUnits of two names in upper case. Nearly all are plain, which needs no reader.
int CompareUpper(std::string_view left, std::string_view right) {
    const std::size_t shorter = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < shorter; ++i) {
        const int a = kUpperBytes[static_cast<unsigned char>(left[i])];
        const int b = kUpperBytes[static_cast<unsigned char>(right[i])];
        if (a == 0 || b == 0) {
            return CompareUnits(CNameReader(left.substr(i)), CNameReader(right.substr(i)), true);
        }
        if (a != b) {
            return a - b;
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

// CompareUnits of a name and a text, most of which begin alike.
int CompareWithText(std::string_view name, std::u16string_view text, bool upper) {
    const std::size_t same = CountSamePlain(name, text);
    return CompareUnits(CNameReader(name.substr(same)), CTextReader(text.substr(same)), upper);
}

bool HasColon(std::string_view name) { return name.find(':') != std::string_view::npos; }

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

}  // namespace

// By upper case, then by the text, then by the bytes: different names may appear as the same text,
// and only equal bytes are the same name.
bool CNameSet::IsBefore(std::string_view left, std::string_view right) {
    int order = CompareUpper(left, right);
    if (order == 0 && left != right) {
        order = CompareUnits(CNameReader(left), CNameReader(right), false);
    }
    return order != 0 ? order < 0 : left < right;
}

bool CNameSet::IsBefore(std::string_view left, const SKey& right) {
    int order = CompareWithText(left, right.upper, true);
    if (order == 0 && right.exact != nullptr) {
        order = CompareWithText(left, *right.exact, false);
    }
    return order < 0;
}

// The place of the first name that is not before the wanted one.
template <class TWanted>
CNameSet::SPlace CNameSet::FindFirstFrom(const TWanted& wanted) const {
    const auto isBefore = [&](const SStored& name) { return IsBefore(GetName(name), wanted); };
    const auto block =
        std::partition_point(m_blocks.begin(), m_blocks.end(),
                             [&](const Block& names) { return isBefore(names.back()); });
    SPlace place{static_cast<std::size_t>(block - m_blocks.begin())};
    if (block != m_blocks.end()) {
        const auto name = std::partition_point(block->begin(), block->end(), isBefore);
        place.index = static_cast<std::size_t>(name - block->begin());
    }
    return place;
}

// The place of a name; the end when it is not there.
CNameSet::SPlace CNameSet::Find(std::string_view name) const {
    const SPlace place = FindFirstFrom(name);
    return !IsEnd(place) && GetName(place) == name ? place : SPlace{m_blocks.size()};
}

CNameSet::SPlace CNameSet::GetNext(SPlace place) const {
    const bool isLast = place.index + 1 == m_blocks[place.block].size();
    return isLast ? SPlace{place.block + 1} : SPlace{place.block, place.index + 1};
}

void CNameSet::Clear() {
    m_bytes.clear();
    m_blocks.clear();
    m_count = 0;
    m_colonNames = 0;
    m_passed = {};
}

CNameSet::SStored CNameSet::Store(std::string_view name, EEntryKind kind) {
    const SStored stored{m_bytes.size(), static_cast<std::uint32_t>(name.size()), kind};
    m_bytes += name;
    return stored;
}

// Appends the names of a folder from its position on. 0 or errno.
int CNameSet::ReadNames(int folder, Block& names) {
    constexpr std::size_t kLeastRecord = 24;  // bytes: the fields, a name of one unit and its NUL
    alignas(dirent64) std::array<char, 32768> buffer;
    for (;;) {
        const ssize_t count = getdents64(folder, buffer.data(), buffer.size());
        if (count <= 0) {
            return count == 0 ? 0 : errno;
        }
        // Enough for all names of most folders, which are read at once.
        if (names.empty()) {
            names.reserve(static_cast<std::size_t>(count) / kLeastRecord);
        }
        for (ssize_t at = 0; at < count;) {
            const auto* const entry = reinterpret_cast<const dirent64*>(buffer.data() + at);
            const std::string_view name = entry->d_name;
            if (IsEntryName(name)) {
                names.push_back(Store(name, KindFromType(entry->d_type)));
            }
            at += entry->d_reclen;
        }
    }
}

int CNameSet::Read(int folder) {
    Clear();
    // A new descriptor, because some file systems show a folder for ever as it was when its
    // descriptor was opened.
    const CFileDescriptor opened(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened.IsOpen()) {
        return errno;
    }
    Block names;
    if (const int error = ReadNames(opened.Get(), names)) {
        Clear();
        return error;
    }
    std::sort(names.begin(), names.end(), [this](const SStored& left, const SStored& right) {
        return IsBefore(GetName(left), GetName(right));
    });
    m_count = names.size();
    m_colonNames = static_cast<std::size_t>(
        std::count_if(names.begin(), names.end(),
                      [this](const SStored& name) { return HasColon(GetName(name)); }));
    for (std::span<const SStored> left(names); !left.empty();) {
        const auto block = left.first(std::min(left.size(), kMaxBlock));
        m_blocks.emplace_back(block.begin(), block.end());
        left = left.subspan(block.size());
    }
    return 0;
}

void CNameSet::Add(std::string_view name, EEntryKind kind) {
    // Names mostly come in order, so the new one belongs after the last.
    const bool isLast = m_blocks.empty() || IsBefore(GetName(m_blocks.back().back()), name);
    const SPlace place = isLast ? SPlace{m_blocks.size()} : FindFirstFrom(name);
    if (!isLast && GetName(place) == name) {
        m_blocks[place.block][place.index].kind = kind;
        return;
    }
    Insert(place, Store(name, kind));
    m_colonNames += HasColon(name) ? 1 : 0;
}

// Moves the second half of the full block at `place` to a block of its own. Gives the place of the
// same name after that.
CNameSet::SPlace CNameSet::Split(SPlace place) {
    constexpr std::size_t kHalf = kMaxBlock / 2;
    const Block& first = m_blocks[place.block];
    Block second(first.begin() + kHalf, first.end());
    // The first half is cut only when the second one is in its place, which may fail.
    m_blocks.insert(m_blocks.begin() + static_cast<std::ptrdiff_t>(place.block) + 1,
                    std::move(second));
    m_blocks[place.block].resize(kHalf);
    return place.index < kHalf ? place : SPlace{place.block + 1, place.index - kHalf};
}

// Inserts a name before the one at `place`.
void CNameSet::Insert(SPlace place, const SStored& name) {
    m_passed = {};  // a place that stays valid whatever fails
    // At the end it goes to the last block if that has room.
    if (IsEnd(place) && !m_blocks.empty() && m_blocks.back().size() < kMaxBlock) {
        place = {m_blocks.size() - 1, m_blocks.back().size()};
    } else if (!IsEnd(place) && m_blocks[place.block].size() == kMaxBlock) {
        place = Split(place);
    }
    if (IsEnd(place)) {
        m_blocks.push_back({name});  // no block is empty, not even when memory ends
    } else {
        Block& block = m_blocks[place.block];
        block.insert(block.begin() + static_cast<std::ptrdiff_t>(place.index), name);
    }
    ++m_count;
}

void CNameSet::Remove(std::string_view name) {
    const SPlace place = Find(name);
    if (IsEnd(place)) {
        return;
    }
    Block& block = m_blocks[place.block];
    block.erase(block.begin() + static_cast<std::ptrdiff_t>(place.index));
    if (block.empty()) {
        m_blocks.erase(m_blocks.begin() + static_cast<std::ptrdiff_t>(place.block));
    }
    --m_count;
    m_colonNames -= HasColon(name) ? 1 : 0;
    m_passed = {m_blocks.size()};
}

std::optional<std::string_view> CNameSet::Find(std::u16string_view text) const {
    // New names mostly come in order, after all that are there.
    if (m_blocks.empty() || CompareWithText(GetName(m_blocks.back().back()), text, true) < 0) {
        return {};
    }
    std::u16string upper;
    AppendUpper(upper, text);
    // Names that differ only in letter case are neighbours, so the first of them is here if any is.
    const SPlace variant = FindFirstFrom(SKey{upper});
    if (IsEnd(variant) || CompareWithText(GetName(variant), upper, true) != 0) {
        return {};
    }
    const SPlace exact = FindFirstFrom(SKey{upper, &text});
    const bool isExact = !IsEnd(exact) && CompareWithText(GetName(exact), text, false) == 0;
    return GetName(isExact ? exact : variant);
}

std::optional<SName> CNameSet::FindNext(std::string_view name) const {
    if (name.empty()) {
        m_passed = {};
    } else {
        const bool isPassed = !IsEnd(m_passed) && GetName(m_passed) == name;
        const SPlace place = isPassed ? m_passed : FindFirstFrom(name);
        m_passed = !IsEnd(place) && GetName(place) == name ? GetNext(place) : place;
    }
    if (IsEnd(m_passed)) {
        return {};
    }
    return SName{GetName(m_passed), m_blocks[m_passed.block][m_passed.index].kind};
}

void CNameSet::GetText(std::string_view name, std::u16string& text) const {
    // A name that its own text leads back to always has this text. Only the others can clash.
    if (ReadName(name, text)) {
        return;
    }
    std::string literal;
    if (NameFromText(text, literal) && literal == name) {
        return;
    }
    std::u16string upper;
    AppendUpper(upper, text);
    const std::u16string_view exact = text;
    // Names with the same text are neighbours, so a second one shows that the text is ambiguous.
    const SPlace first = FindFirstFrom(SKey{upper, &exact});
    const SPlace second = IsEnd(first) ? first : GetNext(first);
    const bool isAlone = IsEnd(second) || CompareWithText(GetName(second), text, false) != 0;
    if (!isAlone) {
        text = UnambiguousTextFromName(name);
    }
}

bool CNameSet::IsStream(std::string_view name) const {
    // The last colon counts, because the name of a stream has none, but that of a file may.
    const std::size_t colon = m_colonNames == 0 ? std::string_view::npos : name.rfind(':');
    return colon != std::string_view::npos && Find(TextFromName(name.substr(0, colon)));
}

bool CNameSet::HasStream(std::u16string_view file, std::u16string_view stream) const {
    if (m_colonNames == 0) {
        return false;
    }
    std::u16string upper;
    AppendUpper(upper, file);
    upper += kMovedUpColon;
    AppendUpper(upper, stream);
    const auto isStream = [&](std::string_view name) {
        return IsSameName(TextFromName(name.substr(name.rfind(':') + 1)), stream);
    };
    // In the order of names a colon appears as the moved-up one. A file whose name has that
    // character itself is among the candidates too, and is no stream.
    for (SPlace place = FindFirstFrom(SKey{upper});
         !IsEnd(place) && CompareWithText(GetName(place), upper, true) == 0;
         place = GetNext(place)) {
        if (HasColon(GetName(place)) && isStream(GetName(place))) {
            return true;
        }
    }
    return false;
}

}  // namespace platform
