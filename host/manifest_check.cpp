#include "host/manifest_check.h"

#include <algorithm>
#include <vector>

#include "foundation/xml_escape.h"
#include "host/console.h"
#include "host/manifest_schema.h"
#include "host/status_text.h"
#include "platform/input_file.h"
#include "platform/status.h"
#include "platform/xml_scan.h"

namespace host {

namespace {

constexpr std::size_t kMostFaults = 100;  // of one manifest are told one by one
constexpr std::size_t kMostShown = 60;    // units of a text in a message

std::string Show(std::u16string_view text) {
    const std::string tail = text.size() > kMostShown ? "..." : "";
    return "'" + Printable(text.substr(0, kMostShown)) + tail + "'";
}

bool IsBlank(std::u16string_view text) { return text.find_first_not_of(u" \t\r\n") == text.npos; }

// Completes a sentence that begins with the name of an attribute or a text.
const char* Describe(EForm form) {
    switch (form) {
        case EForm::Path:
        case EForm::AnyPath:
        case EForm::MultiPath:
            return "is no portable text with known tokens";
        case EForm::RelativePath:
            return "is no portable relative path";
        case EForm::Key:
            return "is no portable key";
        case EForm::Text:
        case EForm::AnyText:
        case EForm::MultiString:
            return "is no text with the escapes of a manifest";
        default:
            return "is not one of the allowed values";
    }
}

// INVARIANT: `m_open` has an entry for each open element, from the root on. Its rule is null below
// an element that is not allowed, where nothing more is told.
class CChecker final : public platform::CXmlVisitor {
public:
    explicit CChecker(const SManifestFindings& findings) : m_findings(findings) {}

    void OnElement(std::u16string_view name, std::span<const platform::SXmlAttribute> attributes,
                   std::uint32_t line) override;
    void OnText(std::u16string_view text) override;
    void OnElementEnd() override;

    void Tell(std::uint32_t line, const std::string& words);
    // Tells how many faults were not told one by one, and returns the number of items.
    std::size_t Finish();

private:
    struct SOpen {
        const SElementRule* rule = nullptr;
        std::size_t next = 0;  // the index of the first child that may still come
    };

    [[nodiscard]] const SElementRule* FindRule(std::u16string_view name);
    void CheckAttributes(const SElementRule& rule,
                         std::span<const platform::SXmlAttribute> attributes);
    void TellMissing(const SElementRule& rule, std::size_t first, std::size_t last);

    const SManifestFindings& m_findings;
    std::vector<SOpen> m_open;
    std::u16string m_text;
    std::uint32_t m_line = 0;
    std::size_t m_faults = 0;
    std::size_t m_items = 0;
};

void CChecker::Tell(std::uint32_t line, const std::string& words) {
    if (++m_faults <= kMostFaults) {
        m_findings.fault(line, words);
    }
}

std::size_t CChecker::Finish() {
    if (m_faults > kMostFaults) {
        m_findings.fault(0, "there are " + std::to_string(m_faults - kMostFaults) + " more faults");
    }
    return m_items;
}

// The rule of an element that starts in the innermost open one; null when it may not.
const SElementRule* CChecker::FindRule(std::u16string_view name) {
    if (m_open.empty()) {
        return name == GetManifestRule().name ? &GetManifestRule() : nullptr;
    }
    // Children come in the order of the table, so the search begins where the last one was found.
    // What it passes over and is required is missing.
    SOpen& parent = m_open.back();
    if (parent.rule == nullptr) {
        return nullptr;
    }
    const auto& children = parent.rule->children;
    for (std::size_t i = parent.next; i < children.size(); ++i) {
        if (children[i].name == name) {
            TellMissing(*parent.rule, parent.next, i);
            parent.next = children[i].isRepeated ? i : i + 1;
            return &children[i];
        }
    }
    return nullptr;
}

void CChecker::TellMissing(const SElementRule& rule, std::size_t first, std::size_t last) {
    for (; first < last; ++first) {
        if (rule.children[first].isRequired) {
            Tell(m_line, Show(rule.name) + " lacks the element " + Show(rule.children[first].name));
        }
    }
}

void CChecker::OnElement(std::u16string_view name,
                         std::span<const platform::SXmlAttribute> attributes, std::uint32_t line) {
    m_line = line;
    const bool isTold = !m_open.empty() && m_open.back().rule == nullptr;
    const SElementRule* const rule = FindRule(name);
    if (rule != nullptr) {
        CheckAttributes(*rule, attributes);
        // An item is a repeated child of a collection: the root and the collection are open. What
        // is repeated within an item is deeper.
        m_items += m_open.size() == 2 && rule->isRepeated ? 1 : 0;
    } else if (!isTold) {
        Tell(line, "the element " + Show(name) + " is not allowed here");
    }
    m_open.push_back({rule});
    // No element has both a text and children, so one text at a time is enough.
    m_text.clear();
}

void CChecker::CheckAttributes(const SElementRule& rule,
                               std::span<const platform::SXmlAttribute> attributes) {
    // Attributes may come in any order. A namespace declaration is among them, and no rule allows
    // one.
    for (const platform::SXmlAttribute& attribute : attributes) {
        const auto allowed = std::find_if(
            rule.attributes.begin(), rule.attributes.end(),
            [&](const SAttributeRule& candidate) { return candidate.name == attribute.name; });
        if (allowed == rule.attributes.end()) {
            Tell(m_line, Show(rule.name) + " may have no attribute " + Show(attribute.name));
        } else if (!HasForm(attribute.value, allowed->form, allowed->words)) {
            Tell(m_line, "the attribute " + Show(attribute.name) + " of " + Show(rule.name) + ' ' +
                             Describe(allowed->form) + ": " + Show(attribute.value));
        } else if (allowed->form == EForm::RelativePath) {
            CStrW path(attribute.value);
            UnescapeXmlText(path);
            m_findings.payload(DecodeRelativePath(path));
        }
    }
    for (const SAttributeRule& wanted : rule.attributes) {
        const bool isThere =
            std::any_of(attributes.begin(), attributes.end(),
                        [&](const auto& attribute) { return attribute.name == wanted.name; });
        if (wanted.isRequired && !isThere) {
            Tell(m_line, Show(rule.name) + " lacks the attribute " + Show(wanted.name));
        }
    }
}

// Text between elements is checked at once. The text of an element that has one is checked at its
// end.
void CChecker::OnText(std::u16string_view text) {
    const SElementRule* const rule = m_open.empty() ? nullptr : m_open.back().rule;
    if (rule == nullptr) {
        return;
    }
    // A text may come in several parts. White space is layout between child elements, but data in
    // an element without any.
    if (rule->form != EForm::None) {
        m_text += text;
    } else if (rule->children.empty() || !IsBlank(text)) {
        Tell(m_line, Show(rule->name) + " may have no text: " + Show(text));
    }
}

void CChecker::OnElementEnd() {
    const SOpen last = m_open.back();
    m_open.pop_back();
    if (last.rule == nullptr) {
        return;
    }
    // No child can come any more.
    TellMissing(*last.rule, last.next, last.rule->children.size());
    if (last.rule->form != EForm::None && !HasForm(m_text, last.rule->form, last.rule->words)) {
        Tell(m_line, "the text of " + Show(last.rule->name) + ' ' + Describe(last.rule->form) +
                         ": " + Show(m_text));
    }
    m_text.clear();
}

// Whether a file begins with the byte order mark of UTF-16, little-endian. The parser takes more.
bool HasMark(const std::u16string& path) {
    platform::CInputFile file;
    std::byte bytes[2] = {};
    std::size_t count = 0;
    // A file that cannot be read is told by the parser.
    return file.Open(path.c_str()) != ERROR_SUCCESS ||
           file.Read(0, bytes, count) != ERROR_SUCCESS ||
           (count == 2 && bytes[0] == std::byte{0xFF} && bytes[1] == std::byte{0xFE});
}

}  // namespace

std::u16string DecodeRelativePath(std::u16string_view path) {
    constexpr std::u16string_view kSid = u"%SID%";
    std::u16string file;
    while (!path.empty()) {
        const bool isSid = path.starts_with(kSid);
        // A bar escapes the unit after it. In a path that is not in good form one may be the last
        // unit.
        path.remove_prefix(path.starts_with(u'|') && path.size() > 1 ? 1 : 0);
        file += isSid ? kSidMark : path.front();
        path.remove_prefix(isSid ? kSid.size() : 1);
    }
    return file;
}

SManifestCheck CheckManifest(const std::u16string& path, const SManifestFindings& findings) {
    CChecker checker(findings);
    // Ahead of the parse, so that faults are told in the order of their lines.
    if (!HasMark(path)) {
        checker.Tell(1, "the file does not begin with the byte order mark of UTF-16");
    }
    std::uint32_t line = 0;
    const int status = platform::ScanXml(path.c_str(), checker, line);
    if (status != ERROR_SUCCESS) {
        checker.Tell(line, DescribeXmlFailure(status));
    }
    return {checker.Finish(), status == ERROR_SUCCESS};
}

}  // namespace host
