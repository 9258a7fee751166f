#include "platform/posix/xml_document.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "platform/posix/errno_status.h"
#include "platform/posix/files/file_io.h"
#include "platform/status.h"

namespace platform {

namespace {

// NOENT: the predefined entities in attributes are replaced only if all entities are. There are no
// others, because a document type, which could declare some, is refused. RECOVER: without it the
// parser reports nothing after a fault, not even a document type, which it reads nevertheless.
// HUGE: a text may be longer than ten megabytes, because the file bounds the memory anyway.
constexpr int kOptions = XML_PARSE_NOENT | XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_RECOVER;

const char* Chars(const xmlChar* text) {
    return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

bool IsBlank(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; });
}

bool IsText(EXmlNode type) { return type == EXmlNode::Text || type == EXmlNode::Whitespace; }

// Keeps libxml2 from printing messages that belong to no parser, such as those on bad encodings.
// The handler is one for the thread, so the former one is put back.
class CQuietErrors {
public:
    CQuietErrors(xmlStructuredErrorFunc handler, void* context)
        : m_handler(xmlStructuredError), m_context(xmlStructuredErrorContext) {
        xmlSetStructuredErrorFunc(context, handler);
    }
    ~CQuietErrors() { xmlSetStructuredErrorFunc(m_context, m_handler); }
    CQuietErrors(const CQuietErrors&) = delete;
    CQuietErrors& operator=(const CQuietErrors&) = delete;

private:
    xmlStructuredErrorFunc m_handler;
    void* m_context;
};

}  // namespace

// Appends what libxml2's parser reports to a document. The parser reads the whole file in one call,
// because its stepwise modes look at a long token again with every step, which is quadratic. The
// functions that it calls must not throw through its C code; Guard sees to that.
//
// INVARIANT: after a failure nothing is appended any more, and `m_status` stays the first one.
class CXmlParser {
public:
    // `take` is null where the document keeps all nodes.
    CXmlParser(CXmlDocument& document, int descriptor, const std::function<void()>* take)
        : m_document(document), m_descriptor(descriptor), m_take(take) {}

    int Run();
    // Where the last node ended.
    [[nodiscard]] std::uint32_t GetLine() const { return m_line; }

private:
    using Attributes = const xmlChar**;  // five each: name, prefix, URI, value, end of the value

    static CXmlParser& Self(void* context) { return *static_cast<CXmlParser*>(context); }

    static int OnRead(void* context, char* buffer, int size);
    static void OnStartDocument(void* context);
    static void OnDoctype(void* context, const xmlChar* name, const xmlChar* publicId,
                          const xmlChar* systemId);
    static void OnStartElement(void* context, const xmlChar* name, const xmlChar* prefix,
                               const xmlChar* uri, int namespaceCount, const xmlChar** namespaces,
                               int attributeCount, int defaultedCount, Attributes attributes);
    static void OnEndElement(void* context, const xmlChar* name, const xmlChar* prefix,
                             const xmlChar* uri);
    static void OnText(void* context, const xmlChar* text, int length);
    static void OnCData(void* context, const xmlChar* text, int length);
    static void OnComment(void* context, const xmlChar* text);
    static void OnProcessingInstruction(void* context, const xmlChar* name, const xmlChar* data);
    static void OnError(void* context, xmlErrorPtr error);

    struct SParserFree {
        void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
    };

    // Runs one call of the parser, unless an earlier one failed.
    template <typename TAction>
    void Guard(const TAction& action) noexcept {
        if (m_status < 0) {
            return;
        }
        try {
            action();
        } catch (const std::bad_alloc&) {
            Fail(E_OUTOFMEMORY);
        }
    }

    // The first failure is the one that counts.
    void Fail(int status) { m_status = m_status < 0 ? m_status : status; }
    SXmlNode& AddNode(EXmlNode type, const char* prefix, const char* name, std::string_view value);
    void AddAttribute(const xmlChar* prefix, const xmlChar* name, std::string_view value);
    void AddText(std::string_view text);
    void HandOver();
    [[nodiscard]] bool HasTooManyNames() const;

    CXmlDocument& m_document;
    int m_descriptor;
    const std::function<void()>* m_take;
    std::unique_ptr<xmlParserCtxt, SParserFree> m_context;
    int m_status = S_OK;
    std::uint32_t m_line = 0;    // where the last node ended, which is where the next one starts
    bool m_hasBadBytes = false;  // some are not in the file's encoding
    bool m_isInRoot = false;
    bool m_isInEmptyElement = false;
};

int CXmlParser::Run() {
    xmlSAXHandler handler{};
    handler.initialized = XML_SAX2_MAGIC;
    handler.startDocument = &OnStartDocument;
    handler.internalSubset = &OnDoctype;
    handler.startElementNs = &OnStartElement;
    handler.endElementNs = &OnEndElement;
    handler.characters = &OnText;
    handler.ignorableWhitespace = &OnText;
    handler.cdataBlock = &OnCData;
    handler.comment = &OnComment;
    handler.processingInstruction = &OnProcessingInstruction;
    handler.serror = &OnError;
    const CQuietErrors quiet(&OnError, this);
    m_context.reset(
        xmlCreateIOParserCtxt(&handler, this, &OnRead, nullptr, this, XML_CHAR_ENCODING_NONE));
    if (m_context == nullptr) {
        return E_OUTOFMEMORY;
    }
    static_cast<void>(xmlCtxtUseOptions(m_context.get(), kOptions));  // it knows all of them
    xmlDictReference(m_context->dict);
    m_document.m_names.reset(m_context->dict);
    if (xmlParseDocument(m_context.get()) != 0 || m_hasBadBytes) {
        Fail(kXmlNotWellFormed);
    }
    HandOver();
    return m_status;
}

// Also called after a failure: what is ahead of it counts.
void CXmlParser::HandOver() {
    if (m_take != nullptr) {
        (*m_take)();
        m_document.m_nodes.clear();
        m_document.m_values.clear();
    }
}

// After a failure it gives 0, which is the end of the file, so the parser soon stops.
int CXmlParser::OnRead(void* context, char* buffer, int size) {
    CXmlParser& self = Self(context);
    if (self.HasTooManyNames()) {
        self.Fail(kXmlNotWellFormed);
    }
    if (self.m_status < 0) {
        return 0;
    }
    const ssize_t count = ReadSome(self.m_descriptor, buffer, static_cast<std::size_t>(size));
    if (count < 0) {
        self.Fail(HresultFromError(FailWithErrno()));
        return 0;
    }
    return static_cast<int>(count);
}

// libxml2 before 2.12 compares each attribute of an element with all others, and each prefix with
// all that are declared. No real document has this many; a hostile one would take hours.
bool CXmlParser::HasTooManyNames() const {
#if LIBXML_VERSION < 21200
    constexpr int kFieldsOfAttribute = 5;
    constexpr int kMaxAttributes = 8192;
    constexpr int kFieldsOfNamespace = 2;
    constexpr int kMaxNamespaces = 256;
    return m_context != nullptr && (m_context->maxatts > kFieldsOfAttribute * kMaxAttributes ||
                                    m_context->nsNr > kFieldsOfNamespace * kMaxNamespaces);
#else
    return false;
#endif
}

void CXmlParser::OnStartDocument(void* context) {
    CXmlParser& self = Self(context);
    // Without an XML declaration the parser leaves this at its first value.
    if (self.m_context->standalone != -1) {
        // Its line is known: the parser is already after the white space that follows it.
        self.Guard([&] { self.AddNode(EXmlNode::XmlDeclaration, "", "xml", {}).line = 1; });
    }
}

void CXmlParser::OnDoctype(void* context, const xmlChar* /*name*/, const xmlChar* /*publicId*/,
                           const xmlChar* /*systemId*/) {
    CXmlParser& self = Self(context);
    self.Fail(kXmlDtdProhibited);
    // Also after another failure: what a document type declares must not be read at all.
    xmlStopParser(self.m_context.get());
}

void CXmlParser::OnStartElement(void* context, const xmlChar* name, const xmlChar* prefix,
                                const xmlChar* /*uri*/, int namespaceCount,
                                const xmlChar** namespaces, int attributeCount,
                                int /*defaultedCount*/, Attributes attributes) {
    CXmlParser& self = Self(context);
    // The parser calls this before it reads the end of the tag, and for "/>" it calls OnEndElement
    // next. So whether the tag has an end must be seen here: one that is cut off is no element.
    const xmlChar* const end = self.m_context->input->cur;
    const bool isEmptyElement = end[0] == '/' && end[1] == '>';
    if (!isEmptyElement && end[0] != '>') {
        self.Fail(kXmlNotWellFormed);
    }
    self.Guard([&] {
        self.HandOver();
        SXmlNode& element = self.AddNode(EXmlNode::Element, Chars(prefix), Chars(name), {});
        element.isEmptyElement = isEmptyElement;
        self.m_isInEmptyElement = element.isEmptyElement;
        self.m_isInRoot = true;
        for (int i = 0; i < namespaceCount; ++i, namespaces += 2) {
            const xmlChar* const xmlns = BAD_CAST "xmlns";
            const bool isDefault = namespaces[0] == nullptr;
            self.AddAttribute(isDefault ? nullptr : xmlns, isDefault ? xmlns : namespaces[0],
                              Chars(namespaces[1]));
        }
        for (int i = 0; i < attributeCount; ++i, attributes += 5) {
            const auto length = static_cast<std::size_t>(attributes[4] - attributes[3]);
            self.AddAttribute(attributes[1], attributes[0], {Chars(attributes[3]), length});
        }
    });
}

void CXmlParser::OnEndElement(void* context, const xmlChar* name, const xmlChar* prefix,
                              const xmlChar* /*uri*/) {
    CXmlParser& self = Self(context);
    if (self.m_isInEmptyElement) {
        self.m_isInEmptyElement = false;
        return;
    }
    self.Guard([&] {
        self.HandOver();
        self.AddNode(EXmlNode::EndElement, Chars(prefix), Chars(name), {});
    });
}

void CXmlParser::OnText(void* context, const xmlChar* text, int length) {
    CXmlParser& self = Self(context);
    self.Guard([&] { self.AddText({Chars(text), static_cast<std::size_t>(length)}); });
}

void CXmlParser::OnCData(void* context, const xmlChar* text, int length) {
    CXmlParser& self = Self(context);
    self.Guard([&] {
        self.AddNode(EXmlNode::CData, "", "", {Chars(text), static_cast<std::size_t>(length)});
    });
}

void CXmlParser::OnComment(void* context, const xmlChar* text) {
    CXmlParser& self = Self(context);
    self.Guard([&] { self.AddNode(EXmlNode::Comment, "", "", Chars(text)); });
}

void CXmlParser::OnProcessingInstruction(void* context, const xmlChar* name, const xmlChar* data) {
    CXmlParser& self = Self(context);
    self.Guard(
        [&] { self.AddNode(EXmlNode::ProcessingInstruction, "", Chars(name), Chars(data)); });
}

// Everything that is against XML or its namespaces is a failure. An odd URI is none, although the
// parser reports it as an error too.
void CXmlParser::OnError(void* context, xmlErrorPtr error) {
    if (error->level < XML_ERR_ERROR || error->code == XML_WAR_NS_URI) {
        return;
    }
    // The parser decodes ahead of what it parses. For it the file ends before the bad bytes.
    if (error->code == XML_IO_ENCODER || error->code == XML_I18N_CONV_FAILED) {
        Self(context).m_hasBadBytes = true;
        return;
    }
    Self(context).Fail(error->code == XML_ERR_NO_MEMORY ? E_OUTOFMEMORY : kXmlNotWellFormed);
}

SXmlNode& CXmlParser::AddNode(EXmlNode type, const char* prefix, const char* name,
                              std::string_view value) {
    const auto currentLine = static_cast<std::uint32_t>(m_context->input->line);
    SXmlNode node;
    node.type = type;
    // White space around the root is not reported, so there the start of a node is not known, and
    // the end is taken.
    node.line = m_isInRoot ? m_line : currentLine;
    node.prefix = prefix;
    node.name = name;
    node.valueStart = m_document.m_values.size();
    m_document.m_nodes.push_back(node);
    m_document.m_values += value;
    m_line = currentLine;
    return m_document.m_nodes.back();
}

void CXmlParser::AddAttribute(const xmlChar* prefix, const xmlChar* name, std::string_view value) {
    AddNode(EXmlNode::None, Chars(prefix), Chars(name), value).isAttribute = true;
}

// The parser gives a text in pieces; it is white space as long as all of them are.
void CXmlParser::AddText(std::string_view text) {
    std::vector<SXmlNode>& nodes = m_document.m_nodes;
    if (nodes.empty() || !IsText(nodes.back().type)) {
        AddNode(IsBlank(text) ? EXmlNode::Whitespace : EXmlNode::Text, "", "", text);
        return;
    }
    if (nodes.back().type == EXmlNode::Whitespace && !IsBlank(text)) {
        nodes.back().type = EXmlNode::Text;
    }
    m_document.m_values += text;
    m_line = static_cast<std::uint32_t>(m_context->input->line);
}

int CXmlDocument::Parse(int descriptor) { return CXmlParser(*this, descriptor, nullptr).Run(); }

int CXmlDocument::Parse(int descriptor, const std::function<void()>& take, std::uint32_t& line) {
    CXmlParser parser(*this, descriptor, &take);
    const int status = parser.Run();
    line = parser.GetLine();
    return status;
}

std::string_view CXmlDocument::GetValue(std::size_t index) const {
    const std::size_t start = m_nodes[index].valueStart;
    const std::size_t end =
        index + 1 < m_nodes.size() ? m_nodes[index + 1].valueStart : m_values.size();
    return std::string_view(m_values).substr(start, end - start);
}

}  // namespace platform
