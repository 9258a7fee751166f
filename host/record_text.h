// host/record_text.h - what a record says, in sentences. Names are as Printable.
#pragma once

#include <string>

#include "host/record_reader.h"
#include "host/record_summary.h"

namespace host {

// A line of text for a line of the record: "file /a/b: left out: ...". `localName` is what
// CLocalNames finds.
[[nodiscard]] std::string DescribeEntry(const SRecordEntry& entry, const std::u16string& localName);

// The head in a sentence, then tables of the reasons and of the rules, the largest numbers first
// and losses last.
[[nodiscard]] std::string FormatSummary(const SRecordSummary& summary);

}  // namespace host
