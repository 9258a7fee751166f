#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <utility>

#include "platform/text.h"

namespace platform {

namespace {

// No width or precision is greater, whatever a format says: a format may come from a file, and a
// width could ask for gigabytes of blanks.
constexpr int kMaxWidth = 0xFFFF;

// The parts of one placeholder of a printf format, as Microsoft's C library reads them.
struct SPlaceholder {
    bool isLeft = false;
    bool hasPlus = false;
    bool hasBlank = false;
    bool hasPrefix = false;
    bool hasZeros = false;
    int width = 0;
    int precision = -1;
    int bytes = 4;
    char16_t conversion = 0;
};

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

bool ReadFlag(char16_t unit, SPlaceholder& placeholder) {
    switch (unit) {
        case u'-':
            return placeholder.isLeft = true;
        case u'+':
            return placeholder.hasPlus = true;
        case u' ':
            return placeholder.hasBlank = true;
        case u'#':
            return placeholder.hasPrefix = true;
        case u'0':
            return placeholder.hasZeros = true;
        default:
            return false;
    }
}

// Reads digits, or takes the next argument for "*".
template <class TNext>
int ReadCount(const char16_t*& at, TNext&& next) {
    if (*at == u'*') {
        ++at;
        return std::clamp(static_cast<int>(next(4)), -kMaxWidth, kMaxWidth);
    }
    int count = 0;
    for (; IsDigit(*at); ++at) {
        count = std::min(count * 10 + (*at - u'0'), kMaxWidth);
    }
    return count;
}

// Reads how many bytes an argument has: "hh", "h", "l", "ll", "I32" or "I64". A "long" has 4 bytes,
// as on Windows.
int ReadSize(const char16_t*& at) {
    if (at[0] == u'I' && ((at[1] == u'6' && at[2] == u'4') || (at[1] == u'3' && at[2] == u'2'))) {
        at += 3;
        return at[-1] == u'4' ? 8 : 4;
    }
    const char16_t size = *at;
    if (size != u'h' && size != u'l') {
        return 4;
    }
    ++at;
    // "hh" is one byte and "ll" is eight.
    const bool isDouble = *at == size;
    at += isDouble ? 1 : 0;
    return size == u'h' ? (isDouble ? 1 : 2) : (isDouble ? 8 : 4);
}

// Reads what follows "%". False when it is no placeholder; then `at` is somewhere in it.
template <class TNext>
bool ReadPlaceholder(const char16_t*& at, SPlaceholder& placeholder, TNext&& next) {
    while (ReadFlag(*at, placeholder)) {
        ++at;
    }
    placeholder.width = ReadCount(at, next);
    if (placeholder.width < 0) {
        placeholder.isLeft = true;
        placeholder.width = -placeholder.width;
    }
    if (*at == u'.') {
        placeholder.precision = ReadCount(++at, next);
    }
    placeholder.bytes = ReadSize(at);
    if (*at == 0 || std::u16string_view(u"diuxXocs").find(*at) == std::u16string_view::npos) {
        return false;
    }
    placeholder.conversion = *at++;
    if (placeholder.conversion == u's') {
        placeholder.bytes = sizeof(const char16_t*);
    }
    return true;
}

// The zeros go between the prefix, such as a sign, and the digits. The blanks go before or after.
void AppendPadded(std::u16string& text, const SPlaceholder& placeholder, std::u16string_view prefix,
                  std::size_t zeros, std::u16string_view body) {
    const std::size_t length = prefix.size() + zeros + body.size();
    const auto width = static_cast<std::size_t>(placeholder.width);
    const std::size_t blanks = width > length ? width - length : 0;
    text.append(placeholder.isLeft ? 0 : blanks, u' ');
    text.append(prefix);
    text.append(zeros, u'0');
    text.append(body);
    text.append(placeholder.isLeft ? blanks : 0, u' ');
}

// An argument takes 4 or 8 bytes of the list, of which a small type uses only the lowest.
std::uint64_t CutToSize(std::uint64_t value, int bytes, bool isSigned) {
    const int unused = 64 - 8 * bytes;
    const std::uint64_t shifted = value << unused;
    return isSigned ? static_cast<std::uint64_t>(static_cast<std::int64_t>(shifted) >> unused)
                    : shifted >> unused;
}

void AppendNumber(std::u16string& text, const SPlaceholder& placeholder, std::uint64_t value) {
    const char16_t conversion = placeholder.conversion;
    const bool isSigned = conversion == u'd' || conversion == u'i';
    value = CutToSize(value, placeholder.bytes, isSigned);
    std::u16string_view prefix;
    if (isSigned) {
        const bool isNegative = static_cast<std::int64_t>(value) < 0;
        prefix = isNegative ? u"-" : placeholder.hasPlus ? u"+" : placeholder.hasBlank ? u" " : u"";
        // Unsigned, because the smallest number has no positive counterpart.
        value = isNegative ? 0 - value : value;
    } else if (placeholder.hasPrefix && value != 0) {
        prefix = conversion == u'x' ? u"0x" : conversion == u'X' ? u"0X" : u"";
    }
    std::array<char, 24> digits{};  // the longest are the 22 of an octal number
    const int base = (conversion | 0x20) == u'x' ? 16 : conversion == u'o' ? 8 : 10;
    char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), value, base).ptr;
    std::u16string body(digits.data(), end);
    if (conversion == u'X') {
        std::transform(body.begin(), body.end(), body.begin(), [](char16_t unit) {
            return unit >= u'a' ? static_cast<char16_t>(unit - 32) : unit;
        });
    }
    if (placeholder.precision == 0 && value == 0) {
        body.clear();
    }
    // A precision turns the flag "0" off, and so does "-".
    int length = placeholder.precision;
    if (length < 0 && placeholder.hasZeros && !placeholder.isLeft) {
        length = placeholder.width - static_cast<int>(prefix.size());
    }
    // An octal number has at least one zero in front.
    const bool needsZero = placeholder.hasPrefix && conversion == u'o' && !body.starts_with(u'0');
    length = std::max(length, static_cast<int>(body.size()) + (needsZero ? 1 : 0));
    const std::size_t zeros = static_cast<std::size_t>(length) - body.size();
    AppendPadded(text, placeholder, prefix, zeros, body);
}

// The text of an insert; null is shown as on Windows. If `limit` is not negative, no more units are
// read, because the text need not have a NUL then.
std::u16string_view TextOf(std::uint64_t value, int limit) {
    const auto* const text = std::bit_cast<const char16_t*>(value);
    if (text == nullptr) {
        return std::u16string_view(u"(null)").substr(0, static_cast<std::size_t>(limit));
    }
    if (limit < 0) {
        return text;
    }
    const char16_t* const end = std::find(text, text + limit, u'\0');
    return {text, end};
}

void AppendValue(std::u16string& text, const SPlaceholder& placeholder, std::uint64_t value) {
    if (placeholder.conversion == u's') {
        AppendPadded(text, placeholder, u"", 0, TextOf(value, placeholder.precision));
    } else if (placeholder.conversion == u'c') {
        const auto unit = static_cast<char16_t>(value);
        AppendPadded(text, placeholder, u"", 0, {&unit, 1});
    } else {
        AppendNumber(text, placeholder, value);
    }
}

// The inserts of a message, which may be used in any order and more than once, while a list of
// arguments can be read only once and in order.
//
// INVARIANT: the first `m_count` of `m_values` are read, and the list is at the one after them.
class CInserts {
public:
    explicit CInserts(std::va_list arguments) { va_copy(m_arguments, arguments); }
    ~CInserts() { va_end(m_arguments); }
    CInserts(const CInserts&) = delete;
    CInserts& operator=(const CInserts&) = delete;

    // The insert `number`, from 1 on. Every insert takes as much room as a pointer.
    std::uint64_t Get(std::size_t number) {
        for (; m_count < number; ++m_count) {
            m_values[m_count] = va_arg(m_arguments, std::uintptr_t);
        }
        return m_values[number - 1];
    }

private:
    std::va_list m_arguments;
    // Two digits and the two "*" of a format ask for number 101 at most.
    std::array<std::uint64_t, 128> m_values{};
    std::size_t m_count = 0;
};

// Appends an insert. After the "%" come its number and perhaps a printf format between exclamation
// marks. Each "*" in that format takes the next insert.
bool AppendInsert(std::u16string& text, const char16_t*& at, CInserts& inserts) {
    std::size_t number = static_cast<std::size_t>(*at++ - u'0');
    if (IsDigit(*at)) {
        number = number * 10 + static_cast<std::size_t>(*at++ - u'0');
    }
    SPlaceholder placeholder;
    placeholder.conversion = u's';
    if (*at == u'!') {
        ++at;
        const auto next = [&](int /*bytes*/) { return inserts.Get(number++); };
        if (!ReadPlaceholder(at, placeholder, next) || *at++ != u'!') {
            return false;
        }
    }
    AppendValue(text, placeholder, inserts.Get(number));
    return true;
}

// The text for a character after "%". Empty when the character means itself.
std::u16string_view EscapedText(char16_t unit) {
    switch (unit) {
        case u'n':
            return u"\r\n";
        case u'r':
            return u"\r";
        case u't':
            return u"\t";
        case u'b':
            return u" ";
        default:
            return {};
    }
}

// Appends what a "%" and what follows it mean. False for a bad format.
bool AppendEscape(std::u16string& text, const char16_t*& at, CInserts& inserts) {
    if (*at == 0) {
        return false;
    }
    if (IsDigit(*at)) {
        return AppendInsert(text, at, inserts);
    }
    const std::u16string_view escaped = EscapedText(*at);
    text.append(escaped.empty() ? std::u16string_view(at, 1) : escaped);
    ++at;
    return true;
}

}  // namespace

int FormatPrintf(char16_t* buffer, std::size_t capacity, const char16_t* format,
                 std::va_list arguments) {
    std::va_list rest;
    va_copy(rest, arguments);
    const auto next = [&rest](int bytes) {
        return bytes == 8 ? va_arg(rest, std::uint64_t) : va_arg(rest, std::uint32_t);
    };
    std::u16string text;
    bool isGood = true;
    // Ends as soon as the buffer is full: the rest would be cut off.
    for (const char16_t* at = format; isGood && *at != 0 && text.size() < capacity;) {
        // "%%" is one percent sign.
        if (*at != u'%' || at[1] == u'%') {
            text += *at;
            at += *at == u'%' ? 2 : 1;
            continue;
        }
        SPlaceholder placeholder;
        isGood = ReadPlaceholder(++at, placeholder, next);
        if (isGood) {
            AppendValue(text, placeholder, next(placeholder.bytes));
        }
    }
    va_end(rest);
    const bool fits = text.size() < capacity;
    if (capacity != 0) {
        const std::size_t length = text.copy(buffer, capacity - 1);
        buffer[length] = 0;
    }
    return isGood && fits ? static_cast<int>(text.size()) : -1;
}

bool ComposeMessage(std::u16string& text, const char16_t* format, std::va_list arguments) {
    CInserts inserts(arguments);
    std::u16string result;
    for (const char16_t* at = format; *at != 0;) {
        const char16_t unit = *at++;
        // "%0" ends a message, without a line break.
        if (unit == u'%' && *at == u'0') {
            break;
        }
        if (unit == u'%') {
            if (!AppendEscape(result, at, inserts)) {
                return false;
            }
        } else if (unit == u'\r' || unit == u'\n') {
            // Any line break of the format is a whole one in the message.
            at += unit == u'\r' && *at == u'\n' ? 1 : 0;
            result += u"\r\n";
        } else {
            result += unit;
        }
    }
    text = std::move(result);
    return true;
}

}  // namespace platform
