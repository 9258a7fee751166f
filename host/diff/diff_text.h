// host/diff/diff_text.h - a difference between two manifests as text.
#pragma once

#include <string>
#include <string_view>

#include "host/diff/manifest_diff.h"
#include "host/diff/payload_diff.h"

namespace host {

// A line with "+", "-" or "~", the collection and the place; after "~" an indented line for each
// change. Long texts are cut to where they differ. Names are as Printable.
[[nodiscard]] std::string DescribeDifference(const SDifference& difference, CFileContents& contents,
                                             bool hasColors);

// A line with the mark of a change, without its end.
[[nodiscard]] std::string MarkLine(EChange change, const std::string& words, bool hasColors);

// "added", "removed" or "changed".
[[nodiscard]] std::string_view GetChangeName(EChange change);
}  // namespace host
