// The mutator of xml_fuzzer: changes one element or attribute of a document, which mostly stays
// well-formed.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/mutator.h"
#include "support/little_endian.h"

namespace {

// Bytes or, after the mark of UTF-16, units. Markup is ASCII, so either form keeps its text.
using Units = std::u16string;

constexpr std::string_view kUtf16Mark = "\xFF\xFE";

// Words, of which one is chosen.
constexpr std::u16string_view kValues =
    u"0 -1 true 4294967296 18446744073709551616 0x10 1e999 -0x1p-9999 ~ ~~ ~0000~ ~d800 ~00g0 "
    u"41B7A0C2-5E0D-4F6A-8D3B-0C9E7A126401 {41B7A0C2-5E0D-4F6A-8D3B-0C9E7A126401} 0123456789abcde "
    u"C:\\Windows\\..\\..\\a \\\\?\\C:\\a %SystemRoot%\\a &#x202E; &#10; &amp;&lt; <![CDATA[a]]> "
    u"a<!---->b <?a?>a <a/>b";
constexpr std::u16string_view kFaults = u"< > & &a; &#0; ]]> \1 \" </a> <a <!DOCTYPE \xFFFF <a:b>";
constexpr std::u16string_view kAttributes =
    u"name=\"a\" type='1' xmlns=\"a\" xmlns:p=\"a\" version=\"&#9;1\" origin=\"~0041\"";

Units PickWord(std::u16string_view words, CChance& chance) {
    const std::size_t start = words.rfind(u' ', chance.Below(words.size())) + 1;
    return Units(words.substr(start, words.find(u' ', start) - start));
}

struct SElement {
    std::size_t start = 0;
    std::size_t tagEnd = 0;  // of the start tag, before ">" or "/>"
    std::size_t content = 0;
    std::size_t contentEnd = 0;
    std::size_t end = 0;
    Units name;
};

// The elements of a document, as far as its tags pair up.
std::vector<SElement> FindElements(const Units& text) {
    std::vector<SElement> elements;
    std::vector<SElement> open;
    for (std::size_t at = text.find(u'<'); at != Units::npos; at = text.find(u'<', at + 1)) {
        const std::size_t close = text.find(u'>', at);
        if (close == Units::npos) {
            break;
        }
        const bool isEmpty = text[close - 1] == u'/';
        const std::size_t nameEnd = std::min(text.find_first_of(u" \t\r\n/>", at + 1), close);
        if (text[at + 1] == u'/' && !open.empty()) {
            open.back().contentEnd = at;
            open.back().end = close + 1;
            elements.push_back(open.back());
            open.pop_back();
        } else if (text[at + 1] != u'/' && text[at + 1] != u'?' && text[at + 1] != u'!') {
            (isEmpty ? elements : open)
                .push_back({at, isEmpty ? close - 1 : close, close + 1, close + 1, close + 1,
                            text.substr(at + 1, nameEnd - at - 1)});
        }
    }
    return elements;
}

// Longer ones are cut off, because no input is as long.
Units Repeat(const Units& part, std::size_t count) {
    constexpr std::size_t kLongest = 65536;
    Units text;
    for (std::size_t i = 0; i < count && text.size() < kLongest; ++i) {
        text += part;
    }
    return text;
}

// Drops, doubles or changes what the start tag has, or adds to it.
Units ChangeAttributes(const Units& attributes, CChance& chance) {
    const std::size_t start = attributes.find(u'"') + 1;
    const std::size_t end = attributes.find(u'"', start);
    switch (chance.Below(start == 0 || end == Units::npos ? 1 : 4)) {
        case 0:
            return attributes + u" " + PickWord(kAttributes, chance);
        case 1:
            return attributes + attributes;
        case 2:
            return attributes.substr(end + 1);
        default:
            return attributes.substr(0, start) + PickWord(kValues, chance) + attributes.substr(end);
    }
}

// Puts something else in the place of an element.
void ChangeElement(Units& text, const SElement& element, const SElement& other, CChance& chance) {
    const auto part = [&](std::size_t start, std::size_t end) {
        return text.substr(start, end - start);
    };
    const auto make = [](const Units& name, const Units& attributes, const Units& content) {
        return u"<" + name + attributes + u">" + content + u"</" + name + u">";
    };
    const Units& name = element.name;
    const Units attributes = part(element.start + 1 + name.size(), element.tagEnd);
    const Units content = part(element.content, element.contentEnd);
    const Units whole = part(element.start, element.end);
    const Units otherWhole = part(other.start, other.end);
    const std::size_t many = std::size_t{1} << chance.Below(12);
    const Units changed[] = {
        u"",
        Repeat(whole, 2 + many / 16),
        otherWhole,
        otherWhole + whole,
        make(name, attributes, content + otherWhole),
        make(name, attributes, part(other.content, other.contentEnd)),
        make(name, attributes, PickWord(kValues, chance)),
        make(name, attributes, PickWord(kValues, chance)),
        make(name, attributes, Units(16 * many, u'x')),
        make(name, ChangeAttributes(attributes, chance), content),
        make(other.name, attributes, content),
        Repeat(u"<" + other.name + u">", many) + whole + Repeat(u"</" + other.name + u">", many),
    };
    text.replace(element.start, whole.size(), chance.Pick(changed));
}

}  // namespace

bool TellLie(std::string& input, CChance& chance) {
    constexpr std::size_t kRoundsPerFault = 16;
    constexpr std::size_t kRoundsPerMove = 4;
    constexpr std::size_t kRoundsPerOtherEncoding = 64;
    bool isWide = input.starts_with(kUtf16Mark);
    const std::size_t size = isWide ? 2 : 1;
    Units text;
    for (std::size_t i = isWide ? 2 : 0; i + size <= input.size(); i += size) {
        text += static_cast<char16_t>(GetNumber(input, i, size));
    }
    const std::vector<SElement> elements = FindElements(text);
    if (elements.empty()) {
        return false;
    }
    const SElement& element = chance.Pick(elements);
    const SElement& other = chance.Pick(elements);
    if (chance.OneIn(kRoundsPerFault)) {
        text.insert(chance.Below(text.size()), PickWord(kFaults, chance));
    } else if (chance.OneIn(kRoundsPerMove) && element.end <= other.start) {
        const Units later = text.substr(other.start, other.end - other.start);
        text.erase(other.start, later.size()).insert(element.start, later);
    } else {
        ChangeElement(text, element, other, chance);
    }
    isWide = isWide != chance.OneIn(kRoundsPerOtherEncoding);
    input = (isWide ? std::string(kUtf16Mark) : "") + UnitBytes(text, isWide ? 2 : 1);
    return true;
}
