// foundation/xml_escape.h - the tilde escape that lets XML carry any 16-bit unit.
//
// A tilde is doubled; a unit below 0x20 or from 0xD800 on becomes a tilde and its four lower-case
// hexadecimal digits. Escaping and unescaping are inverse for any text without NUL.
#pragma once

#include <string>
#include <string_view>

#include "foundation/wide_string.h"

// Puts the escaped form of `text`, which ends at its first NUL, into `escaped`. False, with
// `escaped` untouched, when the text needs no change: the common case, which costs one look at each
// unit.
[[nodiscard]] bool EscapeXmlText(std::u16string_view text, std::u16string& escaped);
[[nodiscard]] CStrW EscapeXmlText(std::u16string_view text);

// Takes the escapes out of `text`. A tilde that starts none stays. An escaped NUL gives nothing,
// and the unit behind it is not looked at.
void UnescapeXmlText(CStrW& text);
