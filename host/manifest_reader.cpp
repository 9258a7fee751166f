#include "host/manifest_reader.h"

#include <string>
#include <string_view>

#include "host/utf16_reader.h"

namespace host {

namespace {

// More than any element name takes; what a line has beyond it is not looked at.
constexpr std::size_t kLineStart = 64;

// A manifest has a line for each tag around items and for each item: text has its line breaks
// escaped. So the start of a line says what it is.
class CItemCounter {
public:
    void AddLine(std::u16string_view line) {
        m_summary.isComplete = line == u"</Package>";
        if (m_section.empty()) {
            Enter(line);
        } else if (line.substr(0, 2) == u"</" && line.substr(2) == m_section) {
            m_section.clear();
        } else if (m_section != u"Properties>" && line.substr(0, 1) == u"<") {
            ++m_summary.items;
        }
    }

    [[nodiscard]] const SManifestSummary& GetSummary() const { return m_summary; }

private:
    // The elements below the root have no attributes, unlike the root.
    void Enter(std::u16string_view line) {
        const bool isStart = line.size() > 2 && line[0] == u'<' && line[1] != u'/' &&
                             line[1] != u'?' && line.find(u' ') == std::u16string_view::npos;
        if (isStart) {
            m_section = line.substr(1);
        }
    }

    SManifestSummary m_summary;
    std::u16string m_section;  // the end of its tags; empty outside of any
};

}  // namespace

SManifestSummary ReadManifest(std::istream& manifest) {
    CUtf16Reader reader(manifest);
    CItemCounter counter;
    std::u16string line;
    while (reader.NextLine(line, kLineStart)) {
        counter.AddLine(line);
    }
    return counter.GetSummary();
}

}  // namespace host
