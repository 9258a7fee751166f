#include "host/manifest_items.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <vector>

#include "foundation/xml_escape.h"
#include "host/console.h"
#include "host/manifest_line.h"
#include "host/manifest_schema.h"
#include "host/status_text.h"
#include "host/utf16_reader.h"
#include "platform/local_paths.h"
#include "platform/status.h"

namespace host {

namespace {

using Text = std::u16string_view;

constexpr Text kRoot = u"Package";
constexpr Text kVersion = u"1";
// Those of every manifest that the library writes.
constexpr Text kFirstLines[] = {u"<?xml version=\"1.0\" encoding=\"utf-16\"?>",
                                u"<Package Version=\"1\">"};
constexpr std::size_t kMostShown = 60;  // units of a text in a message

std::string AtLine(std::uint32_t line, const std::string& words) {
    return (line == 0 ? "" : "line " + std::to_string(line) + ": ") + words;
}

std::u16string Unescape(Text text, bool& hasBadEscape) {
    hasBadEscape |= !HasGoodEscapes(text);
    CStrW plain(text);
    UnescapeXmlText(plain);
    return std::u16string(Text(plain));
}

// Says what is wrong with the root element; empty when nothing is.
std::string CheckRoot(const SItemPart& root) {
    if (root.element != kRoot) {
        return "this is no manifest";
    }
    const Text version = GetAttribute(root, u"Version");
    return version == kVersion
               ? ""
               : "the manifest is of version '" + Printable(version.substr(0, kMostShown)) +
                     "'; this program reads version 1";
}

// Reads a manifest with a line for each tag and each item, as the library writes it.
class CLineReader {
public:
    explicit CLineReader(const ItemHandler& handle) : m_handle(handle) {}

    // Whether the manifest was read to its end, or to where `handle` has ended it. Otherwise
    // another reader has to go on after the items that GetCount tells.
    [[nodiscard]] bool Read(std::istream& file);
    [[nodiscard]] std::uint64_t GetCount() const { return m_count; }

private:
    enum class EStep { Next, End, Stop };
    [[nodiscard]] EStep TakeLine(Text text);
    [[nodiscard]] EStep TakeItem();

    const ItemHandler& m_handle;
    CManifestLine m_line;
    std::uint64_t m_count = 0;
    std::uint32_t m_number = 0;  // of the line
    bool m_isEnded = false;
    std::u16string m_collection;  // the open one; empty between them
};

bool CLineReader::Read(std::istream& file) {
    CUtf16Reader reader(file);
    std::u16string text;
    EStep step = EStep::Next;
    while (step == EStep::Next && reader.NextLine(text)) {
        ++m_number;
        step = TakeLine(text);
    }
    // Text after the last line end is not known yet.
    return step == EStep::End || (m_isEnded && step == EStep::Next && text.empty());
}

CLineReader::EStep CLineReader::TakeLine(Text text) {
    if (m_number <= std::size(kFirstLines)) {
        return text == kFirstLines[m_number - 1] ? EStep::Next : EStep::Stop;
    }
    const ELine kind = m_isEnded ? ELine::Other : m_line.Read(text);
    const SItem& item = m_line.GetItem();
    const bool isBare = item.attributes.empty();
    if (!m_collection.empty()) {
        if (kind == ELine::End && item.element == m_collection) {
            m_collection.clear();
            return EStep::Next;
        }
        return kind == ELine::Item ? TakeItem() : EStep::Stop;
    }
    if (kind == ELine::Start && isBare) {
        m_collection = item.element;
        return EStep::Next;
    }
    m_isEnded = kind == ELine::End && item.element == kRoot;
    return m_isEnded || kind == ELine::Empty ? EStep::Next : EStep::Stop;
}

CLineReader::EStep CLineReader::TakeItem() {
    SItem item = m_line.GetItem();
    item.collection = m_collection;
    item.line = m_number;
    ++m_count;
    return m_handle(item) ? EStep::Next : EStep::End;
}

// Reads a manifest that others have laid out anew.
//
// INVARIANT: `m_depth` elements are open: the root, a collection, an item, a part. `m_element` has
// the item, and `m_parts` its parts, each with its own texts.
class CXmlReading final : public platform::CXmlVisitor {
public:
    // The first `skipped` items have been given before.
    CXmlReading(const ItemHandler& handle, std::uint64_t skipped)
        : m_handle(handle), m_skipped(skipped) {}

    void OnElement(Text name, std::span<const platform::SXmlAttribute> attributes,
                   std::uint32_t line) override;
    void OnText(Text text) override;
    void OnElementEnd() override;

    [[nodiscard]] bool IsStopped() const { return m_isStopped; }
    [[nodiscard]] bool HasRoot() const { return m_hasRoot; }
    [[nodiscard]] const std::string& GetProblem() const { return m_problem; }

private:
    // An element with texts of its own.
    struct SElement {
        std::u16string name;
        std::vector<std::pair<std::u16string, std::u16string>> attributes;
        std::u16string text;
    };
    struct SView {
        SItemPart part;
        std::vector<platform::SXmlAttribute> attributes;
    };

    void TellItem();
    void Complain(std::uint32_t line, const std::string& words);
    static void View(const SElement& element, SView& view);

    const ItemHandler& m_handle;
    std::uint64_t m_skipped;
    std::size_t m_depth = 0;
    std::uint32_t m_itemLine = 0;
    std::u16string m_collection;
    SElement m_element;
    std::vector<SElement> m_parts;
    std::string m_problem;        // the first one
    bool m_hasBadEscape = false;  // the item has one
    bool m_isStopped = false;
    bool m_hasRoot = false;
};

enum EDepth : std::uint8_t { Root = 1, Collection, Item, Part };

void CXmlReading::Complain(std::uint32_t line, const std::string& words) {
    m_problem = m_problem.empty() ? AtLine(line, words) : m_problem;
}

void CXmlReading::OnElement(Text name, std::span<const platform::SXmlAttribute> attributes,
                            std::uint32_t line) {
    switch (++m_depth) {
        case Root:
            m_hasRoot = true;
            if (const std::string problem = CheckRoot({name, attributes, {}}); !problem.empty()) {
                Complain(line, problem);
                m_isStopped = true;
            }
            return;
        case Collection:
            m_collection = name;
            return;
        case Item:
        case Part:
            break;
        default:
            Complain(line, "the element '" + Printable(name.substr(0, kMostShown)) +
                               "' is not allowed here");
            return;
    }
    m_hasBadEscape = m_hasBadEscape && m_depth == Part;
    SElement element{std::u16string(name), {}, {}};
    for (const platform::SXmlAttribute& attribute : attributes) {
        element.attributes.emplace_back(attribute.name, Unescape(attribute.value, m_hasBadEscape));
    }
    if (m_depth == Item) {
        m_itemLine = line;
        m_parts.clear();
        m_element = std::move(element);
    } else {
        m_parts.push_back(std::move(element));
    }
}

void CXmlReading::OnText(Text text) {
    const bool isBlank = text.find_first_not_of(u" \t\r\n") == Text::npos;
    if (m_depth < Item && !isBlank) {
        Complain(0, "there is text between the elements");
    } else if (m_depth == Item) {
        m_element.text += text;
    } else if (m_depth == Part) {
        m_parts.back().text += text;
    }
}

void CXmlReading::OnElementEnd() {
    if (m_depth-- == Item && !m_isStopped) {
        if (m_skipped != 0) {
            --m_skipped;
        } else {
            TellItem();
        }
    }
}

void CXmlReading::View(const SElement& element, SView& view) {
    for (const auto& [name, value] : element.attributes) {
        view.attributes.push_back({name, value});
    }
    view.part = {element.name, view.attributes, element.text};
}

void CXmlReading::TellItem() {
    // White space between parts is layout, but data in an item without any.
    if (!m_parts.empty() && m_element.text.find_first_not_of(u" \t\r\n") == Text::npos) {
        m_element.text.clear();
    }
    m_element.text = Unescape(m_element.text, m_hasBadEscape);
    SView own;
    View(m_element, own);
    std::vector<SView> views(m_parts.size());
    std::vector<SItemPart> parts;
    for (std::size_t i = 0; i < m_parts.size(); ++i) {
        m_parts[i].text = Unescape(m_parts[i].text, m_hasBadEscape);
        View(m_parts[i], views[i]);
        parts.push_back(views[i].part);
    }
    SItem item{own.part, m_collection, parts, m_itemLine, m_hasBadEscape};
    m_isStopped = !m_handle(item);
}

// Takes any manifest that is well-formed, and finds what is wrong with one that is not.
std::string ReadAsXml(const std::filesystem::path& manifest, std::uint64_t skipped,
                      const ItemHandler& handle) {
    CXmlReading reading(handle, skipped);
    std::uint32_t line = 0;
    const std::u16string path = platform::LibraryPath(platform::PathBytes(manifest)).value_or(u"");
    const int status = platform::ScanXml(path.c_str(), reading, line);
    if (!reading.GetProblem().empty() || reading.IsStopped()) {
        return reading.GetProblem();
    }
    if (IsXmlFault(status) && !reading.HasRoot()) {
        return "this is no manifest";
    }
    return status == ERROR_SUCCESS ? "" : AtLine(line, DescribeXmlFailure(status));
}

}  // namespace

const Text* FindAttribute(const SItemPart& part, Text name) {
    const auto found = std::ranges::find(part.attributes, name, &platform::SXmlAttribute::name);
    return found == part.attributes.end() ? nullptr : &found->value;
}

Text GetAttribute(const SItemPart& part, Text name) {
    const Text* const value = FindAttribute(part, name);
    return value == nullptr ? Text() : *value;
}

std::string ReadItems(const std::filesystem::path& manifest, const ItemHandler& handle) {
    std::ifstream file(manifest, std::ios::binary);
    CLineReader lines(handle);
    if (file.is_open() && lines.Read(file)) {
        return "";
    }
    file.close();
    return ReadAsXml(manifest, lines.GetCount(), handle);
}

}  // namespace host
