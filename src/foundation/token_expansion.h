// foundation/token_expansion.h - replaces the tokens of a text by their paths.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

struct STokenExpansion {
    std::u16string text;    // empty when no token was replaced
    std::size_t count = 0;  // of tokens
};

// Gives the path of a token, which has both of its percent signs; an empty text when it is unknown.
// The path must stay as it is until all tokens are replaced.
using FindTokenPath = std::function<std::u16string_view(std::u16string_view token)>;

// Replaces the known tokens of a text, as CFilePathConverter::ExpandTokens says. Takes linear time.
[[nodiscard]] STokenExpansion ReplaceTokens(std::u16string_view text,
                                            const FindTokenPath& findPath);
