// foundation/xml_escape.h - the tilde escape, by which XML can carry any 16-bit unit.
//
// A tilde is doubled. A unit below 0x20 or from 0xD800 on becomes a tilde and its four lower-case
// hexadecimal digits. Unescaping restores any text without NUL.
#pragma once

#include <string>
#include <string_view>

#include "foundation/wide_string.h"

// Whether a text stays as it is in an XML file: no unit needs the escape, and none is a markup
// character. That is the common case, and costs one pass over the text.
[[nodiscard]] bool IsPlainXmlText(std::u16string_view text);

// Puts the escaped form of `text`, which ends at its first NUL, into `escaped`. False, with
// `escaped` unchanged, when the text needs no escape.
[[nodiscard]] bool EscapeXmlText(std::u16string_view text, std::u16string& escaped);
[[nodiscard]] CStrW EscapeXmlText(std::u16string_view text);

// Replaces the escapes in `text` by their units. A tilde that starts no escape stays. An escaped
// NUL adds nothing, and the unit after it is copied as it is, even a tilde.
void UnescapeXmlText(CStrW& text);
