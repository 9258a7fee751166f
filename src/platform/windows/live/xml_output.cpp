#include "platform/win.h"
// The headers of COM need the one above.
#include <shlwapi.h>
#include <xmllite.h>

#include <string>

#include "platform/status.h"
#include "platform/windows/com_pointer.h"
#include "platform/windows/live/answers.h"

namespace platform {

namespace {

// Whether a failure is one of the call: characters that XML does not allow, or a call at the wrong
// place. These have the numbers 0xC00CExxx. Any other failure is one of the file.
bool IsFaultOfCall(HRESULT result) {
    return (static_cast<unsigned>(result) & 0xFFFFF000U) == 0xC00CE000U || result == E_INVALIDARG;
}

// XmlLite takes texts that end at their first NUL, and would lose what follows it.
bool HoldsNul(std::u16string_view text) { return text.find(u'\0') != std::u16string_view::npos; }

class CLiveXmlOutput final : public COpenXmlOutput {
public:
    CLiveXmlOutput() = default;
    ~CLiveXmlOutput() override {
        if (m_output.Get() != nullptr) {
            static_cast<void>(Flush());  // a failure has been told before, or nobody asked
        }
    }
    CLiveXmlOutput(const CLiveXmlOutput&) = delete;
    CLiveXmlOutput& operator=(const CLiveXmlOutput&) = delete;

    // An HRESULT.
    [[nodiscard]] int Create(const char16_t* name);

    int WriteStartDocument() override {
        return Call(&IXmlWriter::WriteStartDocument, XmlStandalone_Omit);
    }
    int WriteStartElement(std::u16string_view name) override;
    // XmlLite looks at each text itself.
    int WriteAttribute(std::u16string_view name, std::u16string_view value, EXmlText kind) override;
    int WriteText(std::u16string_view text, EXmlText /*kind*/) override {
        return CallWithText(&IXmlWriter::WriteString, text);
    }
    int WriteWhitespace(std::u16string_view text) override {
        return CallWithText(&IXmlWriter::WriteWhitespace, text);
    }
    int WriteEndElement() override { return Call(&IXmlWriter::WriteEndElement); }
    int WriteEndDocument() override { return Call(&IXmlWriter::WriteEndDocument); }
    int WriteElements(CXmlOutput& output, std::size_t count,
                      const CXmlOutput::ElementWriter& write) override {
        // In one part, because an IXmlWriter is for one thread.
        write(output, 0, count);
        return m_failure;
    }
    int Flush() override { return Call(&IXmlWriter::Flush); }

private:
    // Makes one call, unless the file has failed before: then the document has a gap, and nothing
    // more may be written.
    template <typename TOperation, typename... TArguments>
    int Call(TOperation operation, TArguments... arguments) {
        if (m_failure < 0) {
            return m_failure;
        }
        const HRESULT result = (m_writer.Get()->*operation)(arguments...);
        if (FAILED(result) && !IsFaultOfCall(result)) {
            m_failure = result;
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

    CComPointer<IStream> m_stream;
    CComPointer<IUnknown> m_output;
    CComPointer<IXmlWriter> m_writer;
    int m_failure = S_OK;  // the first one of the file
};

int CLiveXmlOutput::Create(const char16_t* name) {
    HRESULT result = ::CreateXmlWriter(__uuidof(IXmlWriter), m_writer.ReceiveAny(), nullptr);
    if (SUCCEEDED(result)) {
        result =
            ::SHCreateStreamOnFileW(ToWide(name), STGM_CREATE | STGM_READWRITE, m_stream.Receive());
    }
    if (SUCCEEDED(result)) {
        // Without this object between writer and stream, the writer would use UTF-8.
        result = ::CreateXmlWriterOutputWithEncodingName(m_stream.Get(), nullptr, L"utf-16",
                                                         m_output.Receive());
    }
    return SUCCEEDED(result) ? m_writer->SetOutput(m_output.Get()) : result;
}

int CLiveXmlOutput::WriteStartElement(std::u16string_view name) {
    const std::u16string element(name);
    return Call(&IXmlWriter::WriteStartElement, nullptr, ToWide(element.c_str()), nullptr);
}

int CLiveXmlOutput::WriteAttribute(std::u16string_view name, std::u16string_view value,
                                   EXmlText /*kind*/) {
    if (HoldsNul(value)) {
        return kXmlBadCharacter;
    }
    const std::u16string attribute(name);
    const std::u16string text(value);
    return Call(&IXmlWriter::WriteAttributeString, nullptr, ToWide(attribute.c_str()), nullptr,
                ToWide(text.c_str()));
}

}  // namespace

int OpenLiveXml(const char16_t* name, std::unique_ptr<COpenXmlOutput>& output) {
    auto created = std::make_unique<CLiveXmlOutput>();
    const int result = created->Create(name);
    if (result >= 0) {
        output = std::move(created);
    }
    return result;
}

}  // namespace platform
