// host/diff/diff_json.h - a difference between two manifests as JSON.
#pragma once

#include <string_view>

#include "foundation/json_writer.h"
#include "host/diff/manifest_diff.h"
#include "host/diff/payload_diff.h"

namespace host {

// Writes an object; docs/json.md describes it. A file that differs is read for its check sum.
void WriteDifference(CJsonWriter& json, std::u16string_view target, std::u16string_view manifest,
                     const SDifference& difference, CFileContents& contents);
// Writes the members that the object of each difference begins with. Empty texts are left out.
void WriteStart(CJsonWriter& json, EChange change, std::u16string_view target,
                std::u16string_view manifest);

}  // namespace host
