#include <algorithm>
#include <bit>
#include <cstddef>
#include <string>
#include <vector>

#include "platform/described/answers.h"
#include "platform/described/parallel.h"
#include "platform/described/text_buffer.h"
#include "platform/files.h"
#include "platform/status.h"

namespace platform {

namespace {

// Units have the same bytes in memory and in the file, so texts are written as they are.
static_assert(std::endian::native == std::endian::little);

using namespace std::string_view_literals;

constexpr std::u16string_view kDeclaration = u"<?xml version=\"1.0\" encoding=\"utf-16\"?>";
constexpr std::size_t kBufferUnits = 32768;
// Elements in one part, which one of several threads writes. So many that handing out parts costs
// little, and so few that the threads end at nearly the same time.
constexpr std::size_t kElementsOfPart = 512;
// Units that a part keeps before it waits for its turn. This bounds the memory of all parts.
constexpr std::size_t kPartUnits = std::size_t{1} << 22;

// In the order of a document, so that places can be compared.
enum class EPlace {
    Start,     // nothing has been written
    Prolog,    // before the root
    StartTag,  // in a start tag that is still open
    Content,
    Epilog,  // after the root
    End,
};

bool IsWhitespace(char16_t unit) {
    return unit == u' ' || unit == u'\t' || unit == u'\n' || unit == u'\r';
}

bool IsHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool IsLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

// Whether XML can hold the unit at `index`.
bool IsXmlCharacter(std::u16string_view text, std::size_t index) {
    const char16_t unit = text[index];
    if (IsHighSurrogate(unit)) {
        return index + 1 < text.size() && IsLowSurrogate(text[index + 1]);
    }
    if (IsLowSurrogate(unit)) {
        return index > 0 && IsHighSurrogate(text[index - 1]);
    }
    return unit >= 0x20 ? unit < 0xFFFE : IsWhitespace(unit);
}

// What replaces a unit in an attribute or a text; empty when it is written as it is.
std::u16string_view Replacement(char16_t unit, bool inAttribute) {
    switch (unit) {
        case u'&':
            return u"&amp;";
        case u'<':
            return u"&lt;";
        case u'>':
            return u"&gt;";
        case u'"':
            return inAttribute ? u"&quot;" : u"";
        // A reader would replace these by blanks.
        case u'\t':
            return inAttribute ? u"&#x9;" : u"";
        case u'\n':
            return inAttribute ? u"&#xA;" : u"";
        case u'\r':
            return inAttribute ? u"&#xD;" : u"";
        default:
            return u"";
    }
}

// Puts the markup form of `text` into `escaped`; false when XML cannot hold it.
bool Escape(std::u16string_view text, bool inAttribute, std::u16string& escaped) {
    escaped.clear();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!IsXmlCharacter(text, i)) {
            return false;
        }
        const std::u16string_view replacement = Replacement(text[i], inAttribute);
        if (replacement.empty()) {
            escaped += text[i];
        } else {
            escaped += replacement;
        }
    }
    return true;
}

// A file, or a part of one: the inside of an element of another output.
//
// INVARIANT: a part has a taker and no file, every other output a file and no taker. All that is
// written goes through Put, so `m_buffer` always continues what is in the file or was taken. After
// a failure to write, nothing more is written, because the file would have a gap.
class CDescribedXmlOutput final : public COpenXmlOutput {
public:
    // More than the limit, because Put appends before it looks at the size.
    CDescribedXmlOutput() { m_buffer.Reserve(kBufferUnits + kBufferUnits / 4); }
    // A part, which has no file. What does not fit into its buffer goes to `take`. The start in
    // `m_nameStarts` is for the element around the part. So the end of the part's own elements
    // never ends the document.
    CDescribedXmlOutput(CTextBuffer&& emptyBuffer, const TakeText& take)
        : m_taker(&take),
          m_buffer(std::move(emptyBuffer)),
          m_bufferLimit(kPartUnits),
          m_place(EPlace::Content),
          m_nameStarts({0}) {}
    // The rest of a part was taken from it, unless an exception ended it. Nothing is flushed then,
    // because its turn may not have come.
    ~CDescribedXmlOutput() override {
        if (m_taker == nullptr) {
            WriteBuffer();  // a failure has been told before, or nobody asked
        }
    }
    CDescribedXmlOutput(const CDescribedXmlOutput&) = delete;
    CDescribedXmlOutput& operator=(const CDescribedXmlOutput&) = delete;

    [[nodiscard]] int Create(const char16_t* name) { return m_file.Create(name); }
    // What was written to a part and not yet taken.
    [[nodiscard]] CTextBuffer TakeBuffer() { return std::move(m_buffer); }

    int WriteStartDocument() override;
    int WriteStartElement(std::u16string_view name) override;
    int WriteAttribute(std::u16string_view name, std::u16string_view value, EXmlText kind) override;
    int WriteText(std::u16string_view text, EXmlText kind) override;
    int WriteWhitespace(std::u16string_view text) override;
    int WriteEndElement() override;
    int WriteEndDocument() override;
    int WriteElements(CXmlOutput& output, std::size_t count,
                      const CXmlOutput::ElementWriter& write) override;
    int Flush() override {
        WriteBuffer();
        return m_status;
    }

private:
    // Puts one or more texts, one after the other. Texts that are long, alone or together, go one
    // by one: the buffer is not to grow for them.
    template <class... TTexts>
    void Put(std::u16string_view first, const TTexts&... others) {
        if (first.size() + (std::size_t{0} + ... + others.size()) < m_bufferLimit) {
            m_buffer.Append(first, others...);
            if (m_buffer.GetSize() >= m_bufferLimit) {
                WriteBuffer();
            }
        } else if constexpr (sizeof...(others) == 0) {
            PutLong(first);
        } else {
            Put(first);
            (Put(others), ...);
        }
    }

    // Puts what is long by itself past the buffer.
    void PutLong(std::u16string_view text) {
        WriteBuffer();
        WriteUnits(text);
    }

    void WriteBuffer() {
        WriteUnits(m_buffer.View());
        m_buffer.Clear();
    }

    void WriteUnits(std::u16string_view text) {
        if (m_taker != nullptr) {
            (*m_taker)(text);
        } else if (m_status == S_OK && !text.empty()) {
            const int error = m_file.Write(text.data(), text.size() * sizeof(char16_t));
            m_status = HresultFromError(error);
        }
    }

    // Writes the byte order mark before anything else.
    void Begin() {
        if (m_place == EPlace::Start) {
            Put(u"\uFEFF");
            m_place = EPlace::Prolog;
        }
    }

    void EndStartTag() {
        if (m_place == EPlace::StartTag) {
            Put(u">");
            m_place = EPlace::Content;
        }
    }

    [[nodiscard]] bool IsInElement() const {
        return m_place == EPlace::StartTag || m_place == EPlace::Content;
    }

    // Gives `text` as it is to be written, which is itself in the common case. False when XML
    // cannot hold it. The result is valid until the next call.
    bool ToMarkup(std::u16string_view& text, EXmlText kind, bool inAttribute) {
        if (kind == EXmlText::Plain) {
            return true;
        }
        const bool isGood = Escape(text, inAttribute, m_escaped);
        text = m_escaped;
        return isGood;
    }

    void CloseElement() {
        if (m_place == EPlace::StartTag) {
            Put(u" />");
        } else {
            Put(u"</"sv, std::u16string_view(m_names).substr(m_nameStarts.back()), u">"sv);
        }
        m_names.resize(m_nameStarts.back());
        m_nameStarts.pop_back();
        m_place = m_nameStarts.empty() ? EPlace::Epilog : EPlace::Content;
    }

    COutputFile m_file;
    const TakeText* m_taker = nullptr;  // takes the text of a part
    CTextBuffer m_buffer;
    std::size_t m_bufferLimit = kBufferUnits;
    int m_status = S_OK;  // the first failure to write
    EPlace m_place = EPlace::Start;
    std::u16string m_names;                 // of the open elements, one after the other
    std::vector<std::size_t> m_nameStarts;  // in `m_names`
    std::u16string m_escaped;
};

int CDescribedXmlOutput::WriteStartDocument() {
    if (m_place != EPlace::Start) {
        return kXmlInvalidAction;
    }
    Begin();
    Put(kDeclaration);
    return m_status;
}

int CDescribedXmlOutput::WriteStartElement(std::u16string_view name) {
    if (name.empty()) {
        return E_INVALIDARG;
    }
    if (m_place >= EPlace::Epilog) {
        return kXmlInvalidAction;
    }
    Begin();
    EndStartTag();
    Put(u"<"sv, name);
    m_nameStarts.push_back(m_names.size());
    m_names += name;
    m_place = EPlace::StartTag;
    return m_status;
}

int CDescribedXmlOutput::WriteAttribute(std::u16string_view name, std::u16string_view value,
                                        EXmlText kind) {
    if (m_place != EPlace::StartTag) {
        return kXmlInvalidAction;
    }
    if (name.empty()) {
        return E_INVALIDARG;
    }
    if (!ToMarkup(value, kind, true)) {
        return kXmlBadCharacter;
    }
    Put(u" "sv, name, u"=\""sv, value, u"\""sv);
    return m_status;
}

int CDescribedXmlOutput::WriteText(std::u16string_view text, EXmlText kind) {
    if (!IsInElement()) {
        return kXmlInvalidAction;
    }
    if (!ToMarkup(text, kind, false)) {
        return kXmlBadCharacter;
    }
    EndStartTag();
    Put(text);
    return m_status;
}

int CDescribedXmlOutput::WriteWhitespace(std::u16string_view text) {
    if (!std::all_of(text.begin(), text.end(), IsWhitespace)) {
        return kXmlNonWhitespace;
    }
    if (m_place == EPlace::End) {
        return kXmlInvalidAction;
    }
    Begin();
    EndStartTag();
    Put(text);
    return m_status;
}

int CDescribedXmlOutput::WriteEndElement() {
    if (!IsInElement()) {
        return kXmlInvalidAction;
    }
    CloseElement();
    return m_status;
}

int CDescribedXmlOutput::WriteEndDocument() {
    const bool hasRoot = IsInElement() || m_place == EPlace::Epilog;
    if (!hasRoot) {
        return kXmlInvalidAction;
    }
    while (IsInElement()) {
        CloseElement();
    }
    m_place = EPlace::End;
    return m_status;
}

int CDescribedXmlOutput::WriteElements(CXmlOutput& /*output*/, std::size_t count,
                                       const CXmlOutput::ElementWriter& write) {
    if (!IsInElement()) {
        return kXmlInvalidAction;
    }
    EndStartTag();
    // The part borrows the memory of `text` and gives it back, so a thread allocates it once.
    const auto make = [&write](CTextBuffer& text, std::size_t first, std::size_t last,
                               const TakeText& take) {
        auto inside = std::make_unique<CDescribedXmlOutput>(std::move(text), take);
        CDescribedXmlOutput& written = *inside;
        CXmlOutput part(std::move(inside));
        write(part, first, last);
        text = written.TakeBuffer();
    };
    MakeInOrder(count, kElementsOfPart, make, [this](std::u16string_view text) { PutLong(text); });
    return m_status;
}

}  // namespace

int OpenDescribedXml(const char16_t* name, std::unique_ptr<COpenXmlOutput>& output) {
    auto created = std::make_unique<CDescribedXmlOutput>();
    if (const int error = created->Create(name)) {
        return HresultFromError(error);
    }
    output = std::move(created);
    return S_OK;
}

}  // namespace platform
