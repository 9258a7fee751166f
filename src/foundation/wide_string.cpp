#include "foundation/wide_string.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "foundation/lost_memory.h"
#include "platform/com.h"
#include "platform/machine.h"
#include "platform/text.h"
#include "platform/unit_marks.h"

namespace {

// The buffer of every text without storage; never written.
char16_t g_emptyText[1] = {0};

// In UTF-16 units. The size of a formatted text is not known before, so the buffer doubles until it
// fits. The limit ends this for a format that never fits.
constexpr std::size_t kFirstFormatSize = 128;
constexpr std::size_t kFormatLimit = std::size_t{1} << 31;

std::size_t TextLength(const char16_t* text) {
    return text == nullptr ? 0 : std::char_traits<char16_t>::length(text);
}

// Whether a text counts as empty.
bool IsBlank(std::u16string_view text) { return text.empty() || text.front() == 0; }

// Most texts are ASCII, which needs no call of FoldUnit.
char16_t Fold(char16_t unit) {
    if (unit < 0x80) {
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    }
    return platform::FoldUnit(unit);
}

bool IsHexDigit(char16_t unit) {
    const char16_t folded = Fold(unit);
    return (unit >= u'0' && unit <= u'9') || (folded >= u'a' && folded <= u'f');
}

const char16_t* FindMatch(std::u16string_view haystack, std::u16string_view needle,
                          bool ignoreCase) {
    return ignoreCase
               ? FindSubstringNoCase(haystack.data(), haystack.size(), needle.data(), needle.size())
               : FindSubstring(haystack.data(), haystack.size(), needle.data(), needle.size());
}

}  // namespace

CStrW::CStrW() noexcept : m_pBuffer(g_emptyText), m_capacity(0), m_length(0) {}

CStrW::CStrW(const CStrW& other) : CStrW() { Assign(other.View()); }

CStrW::CStrW(CStrW&& other) noexcept : CStrW() { *this = std::move(other); }

CStrW::CStrW(const char16_t* text) : CStrW() { Assign({text, TextLength(text)}); }

CStrW::CStrW(std::u16string_view text) : CStrW() { Assign(text); }

CStrW::CStrW(EFormatMode mode, const char16_t* format, ...) : CStrW() {
    std::va_list arguments;
    va_start(arguments, format);
    if (mode == FormatMessageStyle) {
        FormatMessage(format, arguments);
    } else {
        FormatV(format, arguments);
    }
    va_end(arguments);
}

CStrW::CStrW(EFormatMode mode, std::uint32_t resourceId, const void* module, ...) : CStrW() {
    std::va_list arguments;
    va_start(arguments, module);
    if (mode == FormatMessageStyle) {
        LoadFormatMessage(resourceId, module, arguments);
    } else {
        // Without the resource the text stays empty.
        std::u16string format;
        if (platform::LoadResourceText(resourceId, module, format)) {
            FormatV(format.c_str(), arguments);
        }
    }
    va_end(arguments);
}

CStrW::~CStrW() {
    if (m_capacity != 0) {
        std::free(m_pBuffer);
    }
}

CStrW& CStrW::operator=(const CStrW& other) {
    if (this != &other) {
        Assign(other.View());
    }
    return *this;
}

CStrW& CStrW::operator=(CStrW&& other) noexcept {
    // Swapped, so that `other` keeps the storage of this text for its next use.
    std::swap(m_pBuffer, other.m_pBuffer);
    std::swap(m_capacity, other.m_capacity);
    std::swap(m_length, other.m_length);
    if (this != &other) {
        other.SetLength(0);
    }
    return *this;
}

bool CStrW::Reserve(std::size_t capacity) {
    if (capacity <= m_capacity) {
        return true;
    }
    // The size in bytes must not wrap around.
    if (capacity > SIZE_MAX / sizeof(char16_t)) {
        return false;
    }
    void* const block =
        std::realloc(m_capacity == 0 ? nullptr : m_pBuffer, capacity * sizeof(char16_t));
    if (block == nullptr) {
        NoteLostMemory();
        return false;
    }
    // realloc keeps the text; new storage has no terminator yet.
    m_pBuffer = static_cast<char16_t*>(block);
    if (m_capacity == 0) {
        m_pBuffer[0] = 0;
    }
    m_capacity = capacity;
    return true;
}

void CStrW::Clear() {
    if (m_capacity != 0) {
        std::free(m_pBuffer);
    }
    m_pBuffer = g_emptyText;
    m_capacity = 0;
    m_length = 0;
}

// Without storage only the length 0 is possible, and the shared buffer is never written.
void CStrW::SetLength(std::size_t length) {
    m_length = length;
    if (m_capacity != 0) {
        m_pBuffer[length] = 0;
    }
}

void CStrW::Assign(std::u16string_view text) {
    if (text.empty()) {
        SetLength(0);
        return;
    }
    const bool isOwnPart =
        m_capacity != 0 && text.data() >= m_pBuffer && text.data() <= m_pBuffer + m_length;
    // A part of this text always fits, so Reserve is not called and cannot move the part.
    if (!isOwnPart && !Reserve(text.size() + 1)) {
        SetLength(0);
        return;
    }
    // Not memcpy, because a part of this text may overlap its new place.
    std::memmove(m_pBuffer, text.data(), text.size() * sizeof(char16_t));
    SetLength(text.size());
}

void CStrW::AssignMid(std::u16string_view source, std::size_t start, std::size_t count) {
    Assign(start < source.size() ? source.substr(start, count) : std::u16string_view());
}

void CStrW::Prepend(std::u16string_view text) { Insert(0, text); }

void CStrW::Append(std::u16string_view text) { Insert(m_length, text); }

void CStrW::Append(char16_t unit) { Insert(m_length, std::u16string_view(&unit, 1)); }

std::size_t CStrW::Insert(std::size_t index, char16_t unit) {
    if (unit != 0) {
        Insert(std::min(index, m_length), std::u16string_view(&unit, 1));
    }
    return m_length;
}

void CStrW::Insert(std::size_t index, std::u16string_view text) {
    if (text.empty()) {
        return;
    }
    if (text.data() >= m_pBuffer && text.data() <= m_pBuffer + m_length) {
        // Reserve may move the storage, and memmove below may overwrite the part: insert a copy.
        Insert(index, CStrW(text).View());
        return;
    }
    if (!Reserve(m_length + text.size() + 1)) {
        return;
    }
    if (index < m_length) {
        std::memmove(m_pBuffer + index + text.size(), m_pBuffer + index,
                     (m_length - index) * sizeof(char16_t));
    }
    std::memcpy(m_pBuffer + index, text.data(), text.size() * sizeof(char16_t));
    SetLength(m_length + text.size());
}

void CStrW::Delete(std::size_t index, std::size_t count) {
    if (index >= m_length || count == 0) {
        return;
    }
    // `count` may be kAllCharacters, so it is not added to the index.
    const std::size_t removed = std::min(count, m_length - index);
    const std::size_t rest = m_length - index - removed;
    std::memmove(m_pBuffer + index, m_pBuffer + index + removed, rest * sizeof(char16_t));
    SetLength(m_length - removed);
}

std::size_t CStrW::InsertUncPrefix() {
    // After the two backslashes before the server, or at the end of a shorter text.
    Insert(std::min<std::size_t>(2, m_length), uR"(?\UNC\)");
    return m_length;
}

// Units are compared, so no locale is asked.
std::size_t CStrW::Remove(std::u16string_view text) {
    if (IsEmpty() || text.empty()) {
        return 0;
    }
    return Replace(text, u"", false);
}

std::size_t CStrW::Replace(std::u16string_view from, std::u16string_view to, bool ignoreCase) {
    if (IsEmpty() || from.empty()) {
        return 0;
    }
    // The first pass counts, so that the second needs at most one allocation.
    std::size_t matches = 0;
    const char16_t* const end = m_pBuffer + m_length;
    const char16_t* position = m_pBuffer;
    while (const char16_t* match =
               FindMatch({position, static_cast<std::size_t>(end - position)}, from, ignoreCase)) {
        ++matches;
        position = match + from.size();
    }
    if (matches == 0) {
        return 0;
    }
    const std::size_t length = m_length - matches * from.size() + matches * to.size();
    // A text that does not grow is changed in place, unless `from` or `to` is a part of it.
    const auto isPart = [this](std::u16string_view text) {
        return text.data() >= m_pBuffer && text.data() <= m_pBuffer + m_length;
    };
    const bool staysInPlace = to.size() <= from.size() && !isPart(from) && !isPart(to);
    CStrW other;
    if (!staysInPlace && length != 0 && !other.Reserve(length + 1)) {
        return 0;
    }
    // In place, `target` is never past `position`: no replacement is longer than its match. So
    // nothing is overwritten that is still to be searched.
    char16_t* target = staysInPlace ? m_pBuffer : other.m_pBuffer;
    const auto put = [&target](std::u16string_view text) {
        std::memmove(target, text.data(), text.size() * sizeof(char16_t));
        target += text.size();
    };
    position = m_pBuffer;
    while (const char16_t* match =
               FindMatch({position, static_cast<std::size_t>(end - position)}, from, ignoreCase)) {
        put({position, static_cast<std::size_t>(match - position)});
        put(to);
        position = match + from.size();
    }
    put({position, static_cast<std::size_t>(end - position)});
    if (!staysInPlace) {
        *this = std::move(other);
    }
    SetLength(length);
    return matches;
}

void CStrW::Trim() {
    std::size_t start = 0;
    while (start < m_length && platform::IsSpace(m_pBuffer[start])) {
        ++start;
    }
    std::size_t end = m_length;
    while (end > start && platform::IsSpace(m_pBuffer[end - 1])) {
        --end;
    }
    // The end first: `end` counts units of the text with its blanks in front.
    Truncate(end);
    Delete(0, start);
}

void CStrW::TrimLeftQuotes() {
    std::size_t start = 0;
    while (start < m_length && m_pBuffer[start] == u'"') {
        ++start;
    }
    Delete(0, start);
}

void CStrW::TrimRightQuotes() {
    std::size_t end = m_length;
    while (end > 0 && m_pBuffer[end - 1] == u'"') {
        --end;
    }
    Truncate(end);
}

void CStrW::Truncate(std::size_t length) {
    if (length < m_length) {
        SetLength(length);
    }
}

void CStrW::Fold() { platform::FoldText(m_pBuffer, m_length); }

CStrW CStrW::Mid(std::size_t start, std::size_t count) const {
    CStrW part;
    part.AssignMid(View(), start, count);
    return part;
}

bool CStrW::IsTrue() const { return View() != u"0"; }

int CStrW::CompareNoCase(std::u16string_view other) const { return ::CompareNoCase(View(), other); }

int CStrW::CompareN(std::u16string_view other, std::size_t count, bool ignoreCase) const {
    const std::u16string_view left = View().substr(0, count);
    const std::u16string_view right = other.substr(0, count);
    // The collator must not see an empty text; it is less than every other.
    if (IsBlank(left) || IsBlank(right)) {
        return static_cast<int>(IsBlank(right)) - static_cast<int>(IsBlank(left));
    }
    return platform::CompareText(left, right, ignoreCase);
}

bool CStrW::EqualsNoCase(std::u16string_view other) const { return ::EqualsNoCase(View(), other); }

bool CStrW::StartsWithNoCase(std::u16string_view prefix) const {
    return m_length >= prefix.size() && ::EqualsNoCase(View().substr(0, prefix.size()), prefix);
}

bool CStrW::IsGuid() const {
    // An "x" is a digit in either case; any other unit must be the same.
    constexpr std::u16string_view kShape = u"{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";
    if (m_length != kShape.size()) {
        return false;
    }
    for (std::size_t i = 0; i < kShape.size(); ++i) {
        if (kShape[i] == u'x' ? !IsHexDigit(m_pBuffer[i]) : m_pBuffer[i] != kShape[i]) {
            return false;
        }
    }
    return true;
}

bool CStrW::Format(const char16_t* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const bool done = FormatV(format, arguments);
    va_end(arguments);
    return done;
}

bool CStrW::FormatV(const char16_t* format, std::va_list arguments) {
    SetLength(0);
    if (format == nullptr) {
        return false;
    }
    for (std::size_t size = kFirstFormatSize; size < kFormatLimit; size *= 2) {
        if (!Reserve(size)) {
            break;
        }
        // Each try consumes the arguments.
        std::va_list copy;
        va_copy(copy, arguments);
        const int length = platform::FormatPrintf(m_pBuffer, size, format, copy);
        va_end(copy);
        if (length >= 0) {
            // An argument may have printed a NUL, which ends the text.
            SetLength(TextLength(m_pBuffer));
            return true;
        }
    }
    SetLength(0);
    return false;
}

bool CStrW::FormatMessage(const char16_t* format, std::va_list arguments) {
    std::u16string text;
    // After a failure `text` is still empty, and so is this text.
    const bool done = format != nullptr && platform::ComposeMessage(text, format, arguments);
    Assign(text);
    return done;
}

bool CStrW::LoadFormatMessage(std::uint32_t resourceId, const void* module,
                              std::va_list arguments) {
    std::u16string format;
    // An empty resource has no message in it and counts as missing.
    if (!platform::LoadResourceText(resourceId, module, format) || format.empty()) {
        SetLength(0);
        return false;
    }
    return FormatMessage(format.c_str(), arguments);
}

char16_t* CStrW::Detach() {
    char16_t* const buffer = m_capacity == 0 ? nullptr : m_pBuffer;
    m_pBuffer = g_emptyText;
    m_capacity = 0;
    m_length = 0;
    return buffer;
}

void CStrW::Attach(char16_t* buffer, std::size_t capacity) {
    Clear();
    if (buffer == nullptr || capacity == 0) {
        return;
    }
    // So that the search for the end stops.
    buffer[capacity - 1] = 0;
    m_pBuffer = buffer;
    m_capacity = capacity;
    m_length = TextLength(buffer);
}

CStrW operator+(const CStrW& left, const CStrW& right) {
    CStrW sum;
    // Without memory the sum is empty.
    if (sum.Reserve(left.GetLength() + right.GetLength() + 1)) {
        sum.Append(left.View());
        sum.Append(right.View());
    }
    return sum;
}

CStrW operator+(const CStrW& left, const char16_t* right) { return left + CStrW(right); }

CStrW operator+(const char16_t* left, const CStrW& right) { return CStrW(left) + right; }

CStrW operator+(const CStrW& left, char16_t right) {
    return left + CStrW(std::u16string_view(&right, 1));
}

CStrW operator+(char16_t left, const CStrW& right) {
    return CStrW(std::u16string_view(&left, 1)) + right;
}

int CompareNoCase(std::u16string_view left, std::u16string_view right) {
    if (IsBlank(left) || IsBlank(right)) {
        // The collator must not see an empty text; it is less than every other.
        return static_cast<int>(IsBlank(right)) - static_cast<int>(IsBlank(left));
    }
    return platform::CompareText(left, right, true);
}

bool EqualsNoCase(std::u16string_view left, std::u16string_view right) {
    if (IsBlank(left) || IsBlank(right)) {
        return IsBlank(left) && IsBlank(right);
    }
    return platform::EqualText(left, right);
}

const char16_t* FindSubstring(const char16_t* haystack, std::size_t haystackLength,
                              const char16_t* needle, std::size_t needleLength) {
    const std::u16string_view text(haystack, haystackLength);
    const std::size_t index = text.find(std::u16string_view(needle, needleLength));
    return index == std::u16string_view::npos ? nullptr : haystack + index;
}

const char16_t* FindSubstringNoCase(const char16_t* haystack, std::size_t haystackLength,
                                    const char16_t* needle, std::size_t needleLength) {
    const std::size_t index =
        FindSubstringNoCaseIndex({haystack, haystackLength}, {needle, needleLength});
    return index == kAllCharacters ? nullptr : haystack + index;
}

bool HasUnit(std::u16string_view text, char16_t unit) {
    return platform::CollectMarks(text, [unit](platform::UnitBlock units) {
               return platform::Equals(units, unit);
           }) != 0;
}

std::size_t FindSubstringNoCaseIndex(std::u16string_view haystack, std::u16string_view needle) {
    if (needle.size() > haystack.size()) {
        return kAllCharacters;
    }
    if (needle.empty()) {
        return 0;
    }
    const char16_t first = Fold(needle.front());
    const auto isSame = [](char16_t left, char16_t right) { return Fold(left) == Fold(right); };
    for (std::size_t i = 0; i + needle.size() <= haystack.size(); ++i) {
        // The ASCII cases of one letter differ in bit 0x20 only. Most units are rejected here
        // without a call to Fold.
        if (((haystack[i] ^ first) & ~0x20) != 0 && haystack[i] < 0x80) {
            continue;
        }
        if (Fold(haystack[i]) == first &&
            std::equal(needle.begin() + 1, needle.end(),
                       haystack.begin() + static_cast<std::ptrdiff_t>(i) + 1, isSame)) {
            return i;
        }
    }
    return kAllCharacters;
}

CStrW UnsignedToText(std::uint32_t value) {
    // 4294967295 has ten digits. They are written from the end.
    char16_t digits[10];
    std::size_t first = std::size(digits);
    do {
        digits[--first] = static_cast<char16_t>(u'0' + value % 10);
        value /= 10;
    } while (value != 0);
    return CStrW(std::u16string_view(digits + first, std::size(digits) - first));
}

CStrW GetEnvironmentVariable(const char16_t* name) {
    std::u16string value;
    return platform::GetEnvironmentText(name, value) ? CStrW(value) : CStrW();
}

CStrW CreateGuidString() {
    GUID guid{};
    return platform::CreateGuid(guid) ? CStrW(platform::GuidToText(guid)) : CStrW();
}

CStrW GetSystemErrorMessage(int status) {
    CStrW text(platform::SystemErrorText(static_cast<std::uint32_t>(status)));
    // The message ends in a line break, which an entry of the log must not have.
    text.Remove(u"\r");
    text.Remove(u"\n");
    return text;
}
