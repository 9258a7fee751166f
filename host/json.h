// host/json.h - parts that the JSON of several commands has. docs/json.md describes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/json_writer.h"

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

// Writes the members "status" and "messages": the exit status, and what the program has told.
void WriteEnd(CJsonWriter& json, int exitStatus);

}  // namespace host
