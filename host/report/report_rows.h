// host/report/report_rows.h - rows of a report: of items, of what became of things, of the log.
#pragma once

#include <cstdint>
#include <optional>

#include "foundation/json_writer.h"
#include "host/manifest_items.h"
#include "host/record_reader.h"

namespace host {

// Writes the elements of a row: the collection, the place, a short text and the size of the payload
// file.
void WriteItemRow(const SItem& item, std::optional<std::uint64_t> size, CJsonWriter& json);

// Writes the elements of a row: the thing, its outcome and reason, its source in the package, its
// place on the machine, the detail and the status.
void WriteRecordRow(const SRecordEntry& entry, CJsonWriter& json);

}  // namespace host
