#include "platform/text.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <limits>

#include "platform/win.h"

namespace platform {

namespace {

// Owns a text that FormatMessageW has allocated.
class CSystemText {
public:
    CSystemText() = default;
    ~CSystemText() { LocalFree(m_text); }
    CSystemText(const CSystemText&) = delete;
    CSystemText& operator=(const CSystemText&) = delete;

    // False when there is no text at all; one may be empty.
    bool Format(DWORD flags, const wchar_t* source, DWORD code, std::va_list* arguments) {
        m_length = FormatMessageW(flags | FORMAT_MESSAGE_ALLOCATE_BUFFER, source, code, 0,
                                  reinterpret_cast<wchar_t*>(&m_text), 0, arguments);
        return m_text != nullptr;
    }
    [[nodiscard]] std::u16string Get() const { return {FromWide(m_text), m_length}; }

private:
    wchar_t* m_text = nullptr;
    DWORD m_length = 0;
};

// A count for the system. What is beyond two billion units is not compared.
int Length(std::u16string_view text) {
    return static_cast<int>(
        std::min(text.size(), static_cast<std::size_t>(std::numeric_limits<int>::max())));
}

// One of the CSTR_ numbers.
int Compare(std::u16string_view left, std::u16string_view right, DWORD flags) {
    return CompareStringW(GetThreadLocale(), flags, ToWide(left.data()), Length(left),
                          ToWide(right.data()), Length(right));
}

char16_t FoldAscii(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

}  // namespace

int CompareText(std::u16string_view left, std::u16string_view right, bool ignoreCase) {
    if (left == right) {
        return 0;
    }
    // The answers for less, equal and greater are 1, 2 and 3.
    return Compare(left, right, ignoreCase ? NORM_IGNORECASE : 0) - CSTR_EQUAL;
}

bool EqualText(std::u16string_view left, std::u16string_view right) {
    if (DifferClearly(left, right)) {
        return false;
    }
    // Most texts that are equal differ at most in the case of ASCII letters. For these the system
    // need not be asked.
    if (std::equal(left.begin(), left.end(), right.begin(), right.end(),
                   [](char16_t a, char16_t b) { return FoldAscii(a) == FoldAscii(b); })) {
        return true;
    }
    return Compare(left, right, NORM_IGNORECASE) == CSTR_EQUAL;
}

char16_t FoldUnit(char16_t unit) {
    if (unit < 0x80) {
        return FoldAscii(unit);
    }
    // One unit at a time, because a pair of surrogates would be folded as one character.
    CharLowerBuffW(ToWide(&unit), 1);
    return unit;
}

void FoldText(char16_t* text, std::size_t length) {
    std::transform(text, text + length, text, FoldUnit);
}

bool IsSpace(char16_t unit) { return std::iswspace(unit) != 0; }

int FormatPrintf(char16_t* buffer, std::size_t capacity, const char16_t* format,
                 std::va_list arguments) {
    if (capacity == 0) {
        return -1;
    }
    // Without room for it, _vsnwprintf writes no NUL.
    const int length = _vsnwprintf(ToWide(buffer), capacity, ToWide(format), arguments);
    if (length < 0 || static_cast<std::size_t>(length) == capacity) {
        buffer[capacity - 1] = 0;
        return -1;
    }
    return length;
}

bool ComposeMessage(std::u16string& text, const char16_t* format, std::va_list arguments) {
    CSystemText message;
    if (!message.Format(FORMAT_MESSAGE_FROM_STRING, ToWide(format), 0, &arguments)) {
        return false;
    }
    text = message.Get();
    return true;
}

bool LoadResourceText(std::uint32_t id, const void* module, std::u16string& text) {
    HMODULE const owner = module == nullptr ? GetModuleHandleW(nullptr)
                                            : static_cast<HMODULE>(const_cast<void*>(module));
    // With a size of 0 it gives a pointer to the resource itself, which has no NUL.
    const wchar_t* resource = nullptr;
    const int length = LoadStringW(owner, id, reinterpret_cast<wchar_t*>(&resource), 0);
    if (length <= 0) {
        return false;
    }
    text.assign(FromWide(resource), static_cast<std::size_t>(length));
    return true;
}

std::u16string SystemErrorText(std::uint32_t code) {
    CSystemText message;
    // Some messages of the system have inserts, for which there are no arguments here.
    return message.Format(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                          nullptr)
               ? message.Get()
               : std::u16string();
}

}  // namespace platform
