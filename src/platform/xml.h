// platform/xml.h - a reader and a writer for XML files.
//
// Results are HRESULTs. Text is UTF-16; names and values are views that are valid until the next
// call on the same object. One thread at a time. Nothing throws except std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

namespace platform {

enum class EXmlNode {
    None = 0,
    Element = 1,
    Text = 3,
    CData = 4,
    ProcessingInstruction = 7,
    Comment = 8,
    DocumentType = 10,
    Whitespace = 13,
    EndElement = 15,
    XmlDeclaration = 17,
};

// Reads one document node by node. A document type definition is an error, and so is everything
// that is not well-formed. Only memory limits nesting and texts, but thousands of attributes of one
// element, or hundreds of namespaces in force, may be refused. UTF-8 and UTF-16 are read
// everywhere, other encodings where the system knows them. An element without content ("<a/>") has
// no end node; IsEmptyElement tells. The destructor closes the file.
class CXmlInput {
public:
    CXmlInput();
    ~CXmlInput();
    CXmlInput(const CXmlInput&) = delete;
    CXmlInput& operator=(const CXmlInput&) = delete;

    // Opens a file and closes any former one. Returns the HRESULT of the file system's error when
    // it cannot be opened, as HresultFromError gives it. Faults in the content show from the first
    // Read on.
    [[nodiscard]] int Open(const char16_t* name);
    [[nodiscard]] bool IsOpen() const { return m_state != nullptr; }
    void Close();

    // Goes to the next node: 0, S_FALSE at the end, or a negative HRESULT. After a failure every
    // further call fails too.
    [[nodiscard]] int Read(EXmlNode& node);

    // Go to the first or next attribute of the current element: 0, or S_FALSE when there is none.
    // They come in the order of the file; on POSIX namespace declarations come first.
    [[nodiscard]] int MoveToFirstAttribute();
    [[nodiscard]] int MoveToNextAttribute();

    // Names and value of the current node, or of the attribute last moved to. Without a prefix
    // GetPrefix is empty.
    [[nodiscard]] std::u16string_view GetPrefix();
    [[nodiscard]] std::u16string_view GetLocalName();
    [[nodiscard]] std::u16string_view GetValue();
    [[nodiscard]] bool IsEmptyElement() const;
    // Counted from 1; 0 when unknown.
    [[nodiscard]] std::uint32_t GetLineNumber() const;

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};

// What a caller knows of a text.
enum class EXmlText {
    Any,
    Plain,  // its units are from U+0020 to U+D7FF, and none is a markup character: & < > "
};

class COpenXmlOutput;

// Writes one document as UTF-16LE with a byte order mark, without any layout of its own. Markup
// characters are escaped. A call that is not allowed at this place of the document fails and writes
// nothing; where Windows itself answers it may end the document. After a failure to write, all
// further calls return that failure. The destructor closes the file.
class CXmlOutput {
public:
    CXmlOutput();
    // For the answers themselves: an output that is open.
    explicit CXmlOutput(std::unique_ptr<COpenXmlOutput> open);
    ~CXmlOutput();
    CXmlOutput(const CXmlOutput&) = delete;
    CXmlOutput& operator=(const CXmlOutput&) = delete;

    // Creates the file, replacing an existing one. On failure no file is open.
    [[nodiscard]] int Open(const char16_t* name);
    [[nodiscard]] bool IsOpen() const { return m_open != nullptr; }

    // Writes the XML declaration, without a standalone attribute.
    int WriteStartDocument();
    int WriteStartElement(std::u16string_view name);
    int WriteAttribute(std::u16string_view name, std::u16string_view value,
                       EXmlText kind = EXmlText::Any);
    int WriteText(std::u16string_view text, EXmlText kind = EXmlText::Any);
    int WriteWhitespace(std::u16string_view text);
    // Closes the innermost element: by " />" when it is empty, otherwise by an end tag.
    int WriteEndElement();
    // Closes all open elements.
    int WriteEndDocument();

    // Writes elements for the numbers from 0 to `count` - 1 into the innermost element. Each call
    // of `write` makes the elements from `first` to `last` - 1. Calls may run on several threads at
    // once; each has an output of its own and writes whole elements to it. In the document the
    // elements are in the order of their numbers. Throws what `write` throws.
    using ElementWriter =
        std::function<void(CXmlOutput& output, std::size_t first, std::size_t last)>;
    int WriteElements(std::size_t count, const ElementWriter& write);
    int Flush();
    // Flushes and closes the file.
    void Close();

private:
    std::unique_ptr<COpenXmlOutput> m_open;
};

}  // namespace platform
