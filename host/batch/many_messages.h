// host/batch/many_messages.h - messages of which there may be very many.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace host {

// Tells messages on stderr, one a line. The first hundred are also part of the JSON; the rest is
// only counted there, so that the object stays small.
class CManyMessages {
public:
    // `level` is "error" or "warning".
    explicit CManyMessages(std::string_view level) : m_level(level) {}
    ~CManyMessages() { Finish(); }
    CManyMessages(const CManyMessages&) = delete;
    CManyMessages& operator=(const CManyMessages&) = delete;

    void Tell(const std::string& words);
    [[nodiscard]] std::size_t GetCount() const { return m_count; }

private:
    void Finish() const;

    std::string_view m_level;
    std::size_t m_count = 0;
};

}  // namespace host
