// host/item_json.h - items of a manifest as JSON. docs/json.md describes it.
#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/json_writer.h"
#include "host/manifest_items.h"

namespace host {

// Writes the data of a registry value from its text: the member "data", or "text" where the text
// has not the form of the type.
void WriteValueData(std::u16string_view type, std::u16string_view text, CJsonWriter& json);

// Writes a number, or a text of decimal digits where a reader may not have it exactly.
void WriteExactNumber(std::uint64_t number, CJsonWriter& json);

// Writes the object of an item.
void WriteItem(const SItem& item, CJsonWriter& json);

}  // namespace host
