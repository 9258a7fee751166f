// host/json.h - parts that the JSON of several commands has. docs/json.md describes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/json_writer.h"
#include "host/record_summary.h"

namespace host {

// Begins the object of a command: the version of the form, and the command's name; empty when the
// arguments name none.
void BeginJson(CJsonWriter& json, std::string_view command);

// Writes the members "guid" and "name" of a target; null for a target without a name.
void WriteTarget(CJsonWriter& json, const std::u16string& guid,
                 const std::optional<std::u16string>& name);

// Writes a member that is an object of counts.
void WriteCounts(CJsonWriter& json, std::string_view key,
                 const std::map<std::string, std::uint64_t>& counts);

// Writes the member "outcomes": for each outcome an object of counts by reason.
void WriteOutcomes(CJsonWriter& json, const SRecordSummary& summary);

// Writes the members "status" and "messages": the exit status, and what the program has told.
void WriteEnd(CJsonWriter& json, int exitStatus);

// Puts U+FFFD in place of the first half of a surrogate pair that is alone, which the parser takes
// for a fault. In what this program writes, only halves that are alone are escapes.
void ReplaceLoneHalves(std::string& json);

}  // namespace host
