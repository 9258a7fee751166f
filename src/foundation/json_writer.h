// foundation/json_writer.h - writes JSON in UTF-8, from texts in UTF-16.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

// Writes one JSON document after another into memory. Every text can be written: a unit without its
// other half, a control character and a mark that changes the direction of writing become "\u" and
// four digits. So nothing is lost, every line of the output stays one line, and a terminal does not
// react to it. The caller nests objects and arrays correctly. One thread at a time. Nothing throws
// except std::bad_alloc.
class CJsonWriter {
public:
    CJsonWriter();
    ~CJsonWriter();
    CJsonWriter(const CJsonWriter&) = delete;
    CJsonWriter& operator=(const CJsonWriter&) = delete;

    void BeginObject();
    void EndObject();
    void BeginArray();
    void EndArray();
    // The name of the next value; ASCII that needs no escapes.
    void Key(std::string_view name);
    void Text(std::u16string_view text);
    // A text in ASCII.
    void Ascii(std::string_view text);
    // A text in UTF-8; other bytes are written as U+FFFD.
    void Utf8(std::string_view text);
    void Number(std::int64_t number);
    void Bool(bool value);
    void Null();
    // A value that is JSON already.
    void Json(std::string_view value);

    // What was written since the last Clear. Valid until the next call.
    [[nodiscard]] std::string_view GetBytes() const;
    void Clear();

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};
