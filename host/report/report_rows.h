// host/report/report_rows.h - rows of a report: of items, of what became of things, of the log.
#pragma once

#include <optional>

#include "foundation/json_writer.h"
#include "host/manifest_items.h"
#include "host/record_reader.h"
#include "host/report/report_payload.h"

namespace host {

// Writes the elements of a row: the collection, the place, a short text, and the size of `file`,
// the payload file that the item has, whose name is the text then.
void WriteItemRow(const SItem& item, const std::optional<SReportSize>& file, CJsonWriter& json);

// Writes the elements of a row: the thing, its outcome and reason, its source in the package, its
// place on the machine, the detail and the status.
void WriteRecordRow(const SRecordEntry& entry, CJsonWriter& json);

}  // namespace host
