// host/manifest_schema.h - what a manifest may hold, as a table. docs/manifest.xsd says the same to
// the tools of others; a test holds both together.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace host {

// What an attribute or the text of an element may be. All are texts of XML, without its escapes,
// but with those of the manifest: the tilde, and the bar and the tokens of portable texts.
enum class EForm : std::uint8_t {
    None,          // no text at all; white space between child elements is layout
    Text,          // not empty
    AnyText,       // may be empty
    Path,          // portable, with tokens of files and of the user; not empty
    AnyPath,       // may be empty
    RelativePath,  // portable, with the token of the user alone
    Key,           // portable as that, from the long name of a hive on
    MultiString,   // a text that ends in "\0\0"
    MultiPath,     // a portable one
    Decimal,       // without a sign and without leading zeros
    Signed,        // a minus sign may be in front
    Hex,           // "0x" and upper-case digits without leading zeros
    Bytes,         // upper-case hexadecimal digits, two each
    OneOf,         // one of the words of the rule
};

struct SAttributeRule {
    std::u16string_view name;
    bool isRequired = true;
    EForm form = EForm::Text;
    std::u16string_view words = {};  // those of OneOf, parted by blanks
};

struct SElementRule {
    std::u16string_view name;
    std::span<const SAttributeRule> attributes = {};
    std::span<const SElementRule> children = {};
    bool isRequired = false;  // as a child
    bool isRepeated = false;  // as a child; others come once, in the order of the table
    EForm form = EForm::None;
    std::u16string_view words = {};
};

// The rule of the root element.
[[nodiscard]] const SElementRule& GetManifestRule();

// Whether a text has a form.
[[nodiscard]] bool HasForm(std::u16string_view text, EForm form, std::u16string_view words);

// Whether each tilde of a text begins an escape.
[[nodiscard]] bool HasGoodEscapes(std::u16string_view text);

// Whether `name` is a token of portable texts for folders and variables, without percent signs.
[[nodiscard]] bool IsFileToken(std::u16string_view name);

}  // namespace host
