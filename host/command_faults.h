// host/command_faults.h - what is wrong with arguments, and what to write instead.
#pragma once

#include <CLI/App.hpp>
#include <optional>
#include <string>

#include "host/command_texts.h"

namespace host {

// Describes why `app` cannot read its arguments. `verb` is the command that they name, null when
// none was read; `texts` are its texts, null for help.
[[nodiscard]] std::string DescribeFault(const CLI::ParseError& error, const CLI::App& app,
                                        const CLI::App* verb, const SVerbTexts* texts);

// Describes a word in the place of a command.
[[nodiscard]] std::string DescribeUnknown(const std::string& word, const CLI::App& app);

// Finds what CLI11 accepts and what is surely a slip: an empty text, as an unset variable of a
// shell gives, or an option in the place of a value.
[[nodiscard]] std::optional<std::string> FindBadValue(const CLI::App& verb);

}  // namespace host
