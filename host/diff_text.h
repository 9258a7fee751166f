// host/diff_text.h - a difference between two manifests, as text and as JSON.
#pragma once

#include <string>
#include <string_view>

#include "foundation/json_writer.h"
#include "host/manifest_diff.h"
#include "host/payload_diff.h"

namespace host {

// A line with "+", "-" or "~", the collection and the place; after "~" an indented line for each
// change. Long texts are cut to where they differ. Names are as Printable.
[[nodiscard]] std::string DescribeDifference(const SDifference& difference,
                                             CFileContents& contents);

// Writes an object; docs/json.md describes it. A file that differs is read for its check sum.
void WriteDifference(CJsonWriter& json, std::u16string_view target, std::u16string_view manifest,
                     const SDifference& difference, CFileContents& contents);
// Writes the members that the object of each difference begins with. Empty texts are left out.
void WriteStart(CJsonWriter& json, EChange change, std::u16string_view target,
                std::u16string_view manifest);

// "added", "removed" or "changed".
[[nodiscard]] std::string_view GetChangeName(EChange change);
// '+', '-' or '~'.
[[nodiscard]] char GetChangeMark(EChange change);

}  // namespace host
