#include "host/batch/many_messages.h"

#include "host/console.h"
#include "host/system.h"

namespace host {

namespace {

constexpr std::size_t kMostKept = 100;

}  // namespace

void CManyMessages::Tell(const std::string& words) {
    const std::string line = (m_level == "error" ? "cas2orv: " : "cas2orv: warning: ") + words;
    if (++m_count <= kMostKept) {
        host::Tell({.level = m_level, .text = words}, line);
    } else {
        WriteTerminal(line + '\n');
    }
}

void CManyMessages::Finish() const {
    if (m_count > kMostKept) {
        const std::string words =
            std::to_string(m_count - kMostKept) + " more messages of this kind are on stderr";
        host::Tell({.level = m_level, .text = words}, "cas2orv: " + words);
    }
}

}  // namespace host
