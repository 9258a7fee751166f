#include "platform/xml.h"

#include "platform/win.h"
// The headers of COM need the one above.
#include <shlwapi.h>
#include <xmllite.h>

#include "platform/status.h"
#include "platform/windows/com_pointer.h"

namespace platform {

namespace {

// The place of a node in its document.
struct SPlace {
    XmlNodeType type = XmlNodeType_None;
    UINT line = 0;
    UINT position = 0;

    bool operator==(const SPlace&) const = default;
};

}  // namespace

struct CXmlInput::SState {
    CComPointer<IStream> stream;
    CComPointer<IXmlReader> reader;
    int result = S_OK;  // what ended the reading
    bool isEmptyElement = false;
    SPlace place;
};

namespace {

using TextOperation = HRESULT (IXmlReader::*)(LPCWSTR*, UINT*);

// A text is the reader's memory, and valid until the reader moves on.
std::u16string_view ReadText(IXmlReader* reader, TextOperation operation) {
    const wchar_t* text = nullptr;
    UINT length = 0;
    const bool hasText = (reader->*operation)(&text, &length) == S_OK && text != nullptr;
    return hasText ? std::u16string_view(FromWide(text), length) : std::u16string_view();
}

}  // namespace

CXmlInput::CXmlInput() = default;
CXmlInput::~CXmlInput() = default;

int CXmlInput::Open(const char16_t* name) {
    Close();
    auto state = std::make_unique<SState>();
    CComPointer<IXmlReader>& reader = state->reader;
    HRESULT result = ::CreateXmlReader(__uuidof(IXmlReader), reader.ReceiveAny(), nullptr);
    if (SUCCEEDED(result)) {
        // A document type could name other files, or declare entities that grow without limit.
        result = reader->SetProperty(XmlReaderProperty_DtdProcessing, DtdProcessing_Prohibit);
    }
    if (SUCCEEDED(result)) {
        // 256 by default; 0 means no limit. A node needs no stack here, so depth does no harm.
        result = reader->SetProperty(XmlReaderProperty_MaxElementDepth, 0);
    }
    if (SUCCEEDED(result)) {
        result = ::SHCreateStreamOnFileW(ToWide(name), STGM_READ, state->stream.Receive());
    }
    if (SUCCEEDED(result)) {
        result = reader->SetInput(state->stream.Get());
    }
    if (FAILED(result)) {
        return result;
    }
    m_state = std::move(state);
    return S_OK;
}

void CXmlInput::Close() { m_state.reset(); }

int CXmlInput::Read(EXmlNode& node) {
    if (!IsOpen()) {
        return E_FAIL;
    }
    SState& state = *m_state;
    if (state.result != S_OK) {
        return state.result;
    }
    SPlace place;
    state.result = state.reader->Read(&place.type);
    if (state.result == S_OK) {
        static_cast<void>(state.reader->GetLineNumber(&place.line));
        static_cast<void>(state.reader->GetLinePosition(&place.position));
        // Wine gives the last node of a truncated document again and again. A real next node is at
        // another place.
        state.result = place == state.place ? kXmlNotWellFormed : S_OK;
        state.place = place;
    }
    if (state.result != S_OK) {
        state.isEmptyElement = false;
        return state.result;
    }
    // Asked now, because the reader may be at an attribute when the caller wants to know.
    state.isEmptyElement =
        place.type == XmlNodeType_Element && state.reader->IsEmptyElement() != FALSE;
    node = static_cast<EXmlNode>(place.type);  // the numbers are XmlLite's
    return S_OK;
}

int CXmlInput::MoveToFirstAttribute() {
    return IsOpen() ? m_state->reader->MoveToFirstAttribute() : E_FAIL;
}

int CXmlInput::MoveToNextAttribute() {
    return IsOpen() ? m_state->reader->MoveToNextAttribute() : E_FAIL;
}

std::u16string_view CXmlInput::GetPrefix() {
    return IsOpen() ? ReadText(m_state->reader.Get(), &IXmlReader::GetPrefix) : u"";
}

std::u16string_view CXmlInput::GetLocalName() {
    return IsOpen() ? ReadText(m_state->reader.Get(), &IXmlReader::GetLocalName) : u"";
}

std::u16string_view CXmlInput::GetValue() {
    return IsOpen() ? ReadText(m_state->reader.Get(), &IXmlReader::GetValue) : u"";
}

bool CXmlInput::IsEmptyElement() const { return IsOpen() && m_state->isEmptyElement; }

std::uint32_t CXmlInput::GetLineNumber() const {
    UINT line = 0;
    const bool isKnown = IsOpen() && m_state->reader->GetLineNumber(&line) == S_OK;
    return isKnown ? line : 0;
}

}  // namespace platform
