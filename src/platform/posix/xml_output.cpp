#include <algorithm>
#include <bit>
#include <cstddef>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/posix/parallel.h"
#include "platform/status.h"
#include "platform/xml.h"

namespace platform {

namespace {

// Units have the same bytes in memory and in the file, so texts are written as they are.
static_assert(std::endian::native == std::endian::little);

constexpr std::u16string_view kDeclaration = u"<?xml version=\"1.0\" encoding=\"utf-16\"?>";
constexpr std::size_t kBufferUnits = 32768;
// Elements in one part, which one of several threads writes. So many that handing out parts costs
// little, and so few that the threads end at nearly the same time.
constexpr std::size_t kElementsOfPart = 256;
// Units that a part keeps before it waits for its turn. This bounds the memory of all parts.
constexpr std::size_t kPartUnits = std::size_t{1} << 22;

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

// Whether no unit needs a replacement or a closer look. Nearly all text is of this kind. The loop
// has no early exit, so that the compiler vectorises it.
bool IsPlain(std::u16string_view text) {
    unsigned other = 0;
    for (const char16_t unit : text) {
        const bool isOutside = static_cast<char16_t>(unit - 0x20) >= 0xD800 - 0x20;
        other |= static_cast<unsigned>(isOutside) | (unit == u'&') | (unit == u'<') |
                 (unit == u'>') | (unit == u'"');
    }
    return other == 0;
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

}  // namespace

// INVARIANT: a part has a taker and no file, every other output a file and no taker. All that is
// written goes through Put, so `buffer` always continues what is in the file or was taken. After a
// failure to write, nothing more is written, because the file would have a gap.
struct CXmlOutput::SState {
    COutputFile file;
    const TakeText* taker = nullptr;  // takes the text of a part, which has no file
    std::u16string buffer;
    std::size_t bufferLimit = kBufferUnits;
    int status = S_OK;  // the first failure to write
    EPlace place = EPlace::Start;
    std::u16string names;                 // of the open elements, one after the other
    std::vector<std::size_t> nameStarts;  // in `names`
    std::u16string escaped;               // kept for its memory

    void Put(std::u16string_view text) {
        if (text.size() >= bufferLimit) {
            PutLong(text);
            return;
        }
        buffer += text;
        if (buffer.size() >= bufferLimit) {
            WriteBuffer();
        }
    }

    // Puts what is long by itself past the buffer.
    void PutLong(std::u16string_view text) {
        WriteBuffer();
        WriteUnits(text);
    }

    void WriteBuffer() {
        WriteUnits(buffer);
        buffer.clear();
    }

    void WriteUnits(std::u16string_view text) {
        if (taker != nullptr) {
            (*taker)(text);
        } else if (status == S_OK && !text.empty()) {
            const int error = file.Write(text.data(), text.size() * sizeof(char16_t));
            status = HresultFromError(error);
        }
    }

    // Writes the byte order mark before anything else.
    void Begin() {
        if (place == EPlace::Start) {
            Put(u"\uFEFF");
            place = EPlace::Prolog;
        }
    }

    void EndStartTag() {
        if (place == EPlace::StartTag) {
            Put(u">");
            place = EPlace::Content;
        }
    }

    [[nodiscard]] bool IsInElement() const {
        return place == EPlace::StartTag || place == EPlace::Content;
    }

    // Gives `text` as it is to be written, which is itself in the common case. False when XML
    // cannot hold it.
    bool ToMarkup(std::u16string_view& text, bool inAttribute) {
        if (IsPlain(text)) {
            return true;
        }
        const bool isGood = Escape(text, inAttribute, escaped);
        text = escaped;
        return isGood;
    }

    // Makes this the inside of an element of another output, without a file.
    void BeginPart(std::u16string&& emptyBuffer, const TakeText& take) {
        buffer = std::move(emptyBuffer);
        bufferLimit = kPartUnits;
        taker = &take;
        place = EPlace::Content;
        nameStarts = {0};
    }

    void CloseElement() {
        if (place == EPlace::StartTag) {
            Put(u" />");
        } else {
            Put(u"</");
            Put(std::u16string_view(names).substr(nameStarts.back()));
            Put(u">");
        }
        names.resize(nameStarts.back());
        nameStarts.pop_back();
        place = nameStarts.empty() ? EPlace::Epilog : EPlace::Content;
    }
};

CXmlOutput::CXmlOutput() = default;

CXmlOutput::~CXmlOutput() { Close(); }

int CXmlOutput::Open(const char16_t* name) {
    Close();
    auto state = std::make_unique<SState>();
    const int error = state->file.Create(name);
    if (error != ERROR_SUCCESS) {
        return HresultFromError(error);
    }
    state->buffer.reserve(kBufferUnits + kBufferUnits / 4);
    m_state = std::move(state);
    return S_OK;
}

int CXmlOutput::WriteStartDocument() {
    if (!IsOpen()) {
        return E_FAIL;
    }
    if (m_state->place != EPlace::Start) {
        return kXmlInvalidAction;
    }
    m_state->Begin();
    m_state->Put(kDeclaration);
    return m_state->status;
}

int CXmlOutput::WriteStartElement(std::u16string_view name) {
    if (!IsOpen()) {
        return E_FAIL;
    }
    SState& state = *m_state;
    if (name.empty()) {
        return E_INVALIDARG;
    }
    if (state.place >= EPlace::Epilog) {
        return kXmlInvalidAction;
    }
    state.Begin();
    state.EndStartTag();
    state.Put(u"<");
    state.Put(name);
    state.nameStarts.push_back(state.names.size());
    state.names += name;
    state.place = EPlace::StartTag;
    return state.status;
}

int CXmlOutput::WriteAttribute(std::u16string_view name, std::u16string_view value) {
    if (!IsOpen()) {
        return E_FAIL;
    }
    SState& state = *m_state;
    if (state.place != EPlace::StartTag) {
        return kXmlInvalidAction;
    }
    if (name.empty()) {
        return E_INVALIDARG;
    }
    if (!state.ToMarkup(value, true)) {
        return kXmlBadCharacter;
    }
    state.Put(u" ");
    state.Put(name);
    state.Put(u"=\"");
    state.Put(value);
    state.Put(u"\"");
    return state.status;
}

int CXmlOutput::WriteText(std::u16string_view text) {
    if (!IsOpen()) {
        return E_FAIL;
    }
    SState& state = *m_state;
    if (!state.IsInElement()) {
        return kXmlInvalidAction;
    }
    if (!state.ToMarkup(text, false)) {
        return kXmlBadCharacter;
    }
    state.EndStartTag();
    state.Put(text);
    return state.status;
}

int CXmlOutput::WriteWhitespace(std::u16string_view text) {
    if (!IsOpen()) {
        return E_FAIL;
    }
    SState& state = *m_state;
    if (!std::all_of(text.begin(), text.end(), IsWhitespace)) {
        return kXmlNonWhitespace;
    }
    if (state.place == EPlace::End) {
        return kXmlInvalidAction;
    }
    state.Begin();
    state.EndStartTag();
    state.Put(text);
    return state.status;
}

int CXmlOutput::WriteEndElement() {
    if (!IsOpen()) {
        return E_FAIL;
    }
    if (!m_state->IsInElement()) {
        return kXmlInvalidAction;
    }
    m_state->CloseElement();
    return m_state->status;
}

int CXmlOutput::WriteEndDocument() {
    if (!IsOpen()) {
        return E_FAIL;
    }
    SState& state = *m_state;
    const bool hasRoot = state.IsInElement() || state.place == EPlace::Epilog;
    if (!hasRoot) {
        return kXmlInvalidAction;
    }
    // Elements that are still open are closed, as XmlLite does.
    while (state.IsInElement()) {
        state.CloseElement();
    }
    state.place = EPlace::End;
    return state.status;
}

int CXmlOutput::WriteElements(std::size_t count, const ElementWriter& write) {
    if (!IsOpen()) {
        return E_FAIL;
    }
    SState& state = *m_state;
    if (!state.IsInElement()) {
        return kXmlInvalidAction;
    }
    state.EndStartTag();
    // Each part is an output of its own, that begins inside an element. It takes the text's memory
    // and gives it back, so that a thread allocates only for its first part.
    const auto make = [&write](std::u16string& text, std::size_t first, std::size_t last,
                               const TakeText& take) {
        CXmlOutput part;
        part.m_state = std::make_unique<SState>();
        part.m_state->BeginPart(std::move(text), take);
        write(part, first, last);
        text = std::move(part.m_state->buffer);
    };
    MakeInOrder(count, kElementsOfPart, make,
                [&state](std::u16string_view text) { state.PutLong(text); });
    return state.status;
}

int CXmlOutput::Flush() {
    if (!IsOpen()) {
        return E_FAIL;
    }
    m_state->WriteBuffer();
    return m_state->status;
}

void CXmlOutput::Close() {
    if (IsOpen()) {
        // The rest of a part was taken from it, unless an exception ended it. Nothing is flushed
        // then, because its turn may not have come.
        if (m_state->taker == nullptr) {
            static_cast<void>(Flush());  // a failure has been told before, or nobody asked
        }
        m_state.reset();
    }
}

}  // namespace platform
