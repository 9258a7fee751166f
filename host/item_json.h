// host/item_json.h - items of a manifest as JSON. docs/json.md describes it.
#pragma once

#include "foundation/json_writer.h"
#include "host/manifest_items.h"

namespace host {

// Writes the object of an item.
void WriteItem(const SItem& item, CJsonWriter& json);

}  // namespace host
