#include "platform/xml.h"

#include "platform/windows/win.h"
// The headers of COM need the one above.
#include <shlwapi.h>
#include <xmllite.h>

#include <string>

#include "platform/status.h"
#include "platform/windows/com_pointer.h"

namespace platform {

namespace {

// Whether a failure is one of the call: characters that XML does not allow, or a call at the wrong
// place. These have the numbers 0xC00CExxx. Any other failure is one of the file.
bool IsFaultOfCall(HRESULT result) {
    return (static_cast<unsigned>(result) & 0xFFFFF000U) == 0xC00CE000U || result == E_INVALIDARG;
}

// XmlLite takes texts that end at their first NUL, and would lose what follows it.
bool HoldsNul(std::u16string_view text) { return text.find(u'\0') != std::u16string_view::npos; }

}  // namespace

struct CXmlOutput::SState {
    CComPointer<IStream> stream;
    CComPointer<IUnknown> output;
    CComPointer<IXmlWriter> writer;
    int failure = S_OK;  // the first one of the file

    // Makes one call, unless the file has failed before: then the document has a gap, and nothing
    // more may be written.
    template <typename TOperation, typename... TArguments>
    int Call(TOperation operation, TArguments... arguments) {
        if (failure < 0) {
            return failure;
        }
        const HRESULT result = (writer.Get()->*operation)(arguments...);
        if (FAILED(result) && !IsFaultOfCall(result)) {
            failure = result;
        }
        return result;
    }

    // The same for an operation that takes a text alone.
    template <typename TOperation>
    int CallWithText(TOperation operation, std::u16string_view text) {
        if (HoldsNul(text)) {
            return kXmlBadCharacter;
        }
        const std::u16string terminated(text);
        return Call(operation, ToWide(terminated.c_str()));
    }
};

CXmlOutput::CXmlOutput() = default;

CXmlOutput::~CXmlOutput() { Close(); }

int CXmlOutput::Open(const char16_t* name) {
    Close();
    auto state = std::make_unique<SState>();
    CComPointer<IXmlWriter>& writer = state->writer;
    HRESULT result = ::CreateXmlWriter(__uuidof(IXmlWriter), writer.ReceiveAny(), nullptr);
    if (SUCCEEDED(result)) {
        result = ::SHCreateStreamOnFileW(ToWide(name), STGM_CREATE | STGM_READWRITE,
                                         state->stream.Receive());
    }
    if (SUCCEEDED(result)) {
        result = ::CreateXmlWriterOutputWithEncodingName(state->stream.Get(), nullptr, L"utf-16",
                                                         state->output.Receive());
    }
    if (SUCCEEDED(result)) {
        result = writer->SetOutput(state->output.Get());
    }
    if (FAILED(result)) {
        return result;
    }
    m_state = std::move(state);
    return S_OK;
}

int CXmlOutput::WriteStartDocument() {
    return IsOpen() ? m_state->Call(&IXmlWriter::WriteStartDocument, XmlStandalone_Omit) : E_FAIL;
}

int CXmlOutput::WriteStartElement(std::u16string_view name) {
    if (!IsOpen()) {
        return E_FAIL;
    }
    const std::u16string element(name);
    return m_state->Call(&IXmlWriter::WriteStartElement, nullptr, ToWide(element.c_str()), nullptr);
}

int CXmlOutput::WriteAttribute(std::u16string_view name, std::u16string_view value) {
    if (!IsOpen()) {
        return E_FAIL;
    }
    if (HoldsNul(value)) {
        return kXmlBadCharacter;
    }
    const std::u16string attribute(name);
    const std::u16string text(value);
    return m_state->Call(&IXmlWriter::WriteAttributeString, nullptr, ToWide(attribute.c_str()),
                         nullptr, ToWide(text.c_str()));
}

int CXmlOutput::WriteText(std::u16string_view text) {
    return IsOpen() ? m_state->CallWithText(&IXmlWriter::WriteString, text) : E_FAIL;
}

int CXmlOutput::WriteWhitespace(std::u16string_view text) {
    return IsOpen() ? m_state->CallWithText(&IXmlWriter::WriteWhitespace, text) : E_FAIL;
}

int CXmlOutput::WriteEndElement() {
    return IsOpen() ? m_state->Call(&IXmlWriter::WriteEndElement) : E_FAIL;
}

int CXmlOutput::WriteEndDocument() {
    return IsOpen() ? m_state->Call(&IXmlWriter::WriteEndDocument) : E_FAIL;
}

int CXmlOutput::WriteElements(std::size_t count, const ElementWriter& write) {
    if (!IsOpen()) {
        return E_FAIL;
    }
    // In one part, because an IXmlWriter is for one thread.
    write(*this, 0, count);
    return m_state->failure;
}

int CXmlOutput::Flush() { return IsOpen() ? m_state->Call(&IXmlWriter::Flush) : E_FAIL; }

void CXmlOutput::Close() {
    if (IsOpen()) {
        static_cast<void>(Flush());  // a failure has been told by the calls before, or nobody asked
        m_state.reset();
    }
}

}  // namespace platform
