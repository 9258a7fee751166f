// host/json.h - JSON output.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace host {

// A text in quotes, in UTF-8. Control characters and unpaired surrogates are written as "\u" and
// four digits, so that nothing is lost and a terminal does not act on it.
[[nodiscard]] std::string JsonText(std::u16string_view text);

// An array of objects, a line for each, put together row by row.
class CJsonRows {
public:
    struct SField {
        std::string_view name;                    // needs no escapes
        std::optional<std::u16string_view> text;  // null without one
    };

    void Add(std::initializer_list<SField> fields);
    // The whole array and a line end.
    [[nodiscard]] std::string Finish() const;

private:
    std::string m_rows;
};

}  // namespace host
