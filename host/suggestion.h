// host/suggestion.h - what a misspelt word was probably meant to be.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

// The one of `words` that is most like `word`: that it is the start of, or that a few letters make
// of it. Empty when there is none. Of two that are equally near the first one counts.
[[nodiscard]] std::string FindSimilar(std::string_view word, const std::vector<std::string>& words);

}  // namespace host
