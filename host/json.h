// host/json.h - JSON output.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace host {

// A text in quotes, in UTF-8. Control characters and unpaired surrogates become "\u" and four
// digits, so that nothing is lost and a terminal does not react to them.
[[nodiscard]] std::string JsonText(std::u16string_view text);

// An array of objects, one on a line, built row by row.
class CJsonRows {
public:
    struct SField {
        std::string_view name;                    // must need no escapes
        std::optional<std::u16string_view> text;  // without a value: null
    };

    void Add(std::initializer_list<SField> fields);
    // Returns the whole array and a line end.
    [[nodiscard]] std::string Finish() const;

private:
    std::string m_rows;
};

}  // namespace host
