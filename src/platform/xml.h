// platform/xml.h - a pull reader and a push writer for XML files.
//
// Results are HRESULTs. Text is UTF-16; names and values come back as views that last until the
// next call on the same object. One thread at a time. Nothing throws but std::bad_alloc.
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
// that is not well-formed; nesting and text are limited by memory alone, but thousands of
// attributes in one element, or hundreds of namespaces in force, may be refused. UTF-8 and UTF-16
// are read everywhere, other encodings where the system knows them. An element without content
// gives no end node: IsEmptyElement tells it apart.
class CXmlInput {
public:
    CXmlInput();
    ~CXmlInput();
    CXmlInput(const CXmlInput&) = delete;
    CXmlInput& operator=(const CXmlInput&) = delete;

    // Opens a file, closing any former one. The HRESULT of the file system's error when it cannot
    // be opened, as HresultFromError gives it; what it holds shows at the first Read.
    [[nodiscard]] int Open(const char16_t* name);
    [[nodiscard]] bool IsOpen() const { return m_state != nullptr; }
    void Close();

    // Goes to the next node: 0, S_FALSE at the end, or a negative HRESULT, after which every
    // further call fails too.
    [[nodiscard]] int Read(EXmlNode& node);

    // Go to an attribute of the current element: 0, or S_FALSE when there is no further one. They
    // come as in the file, on POSIX the declarations of namespaces ahead of the others.
    [[nodiscard]] int MoveToFirstAttribute();
    [[nodiscard]] int MoveToNextAttribute();

    // Of the current node, or of the attribute that was moved to. The prefix is empty without one.
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

// Writes one document as UTF-16LE with a byte order mark, without any layout of its own. Markup
// characters are escaped. A call that does not fit the place in the document fails and writes
// nothing; on Windows it may end the document. A failure to write is remembered: the calls go on
// giving it.
class CXmlOutput {
public:
    CXmlOutput();
    ~CXmlOutput();
    CXmlOutput(const CXmlOutput&) = delete;
    CXmlOutput& operator=(const CXmlOutput&) = delete;

    // Creates the file, replacing what stood there.
    [[nodiscard]] int Open(const char16_t* name);
    [[nodiscard]] bool IsOpen() const { return m_state != nullptr; }

    // The XML declaration, without the standalone part.
    int WriteStartDocument();
    int WriteStartElement(std::u16string_view name);
    int WriteAttribute(std::u16string_view name, std::u16string_view value);
    int WriteText(std::u16string_view text);
    int WriteWhitespace(std::u16string_view text);
    // Closes the innermost element: as " />" when nothing was written into it, else by an end tag.
    int WriteEndElement();
    // Closes all that is open.
    int WriteEndDocument();

    // Writes elements for the numbers below `count` into the innermost element, by calls of `write`
    // for the numbers from `first` up to `last`. The calls may come on several threads at a time;
    // each gets an output of its own and writes whole elements to it, which stand in the document
    // by their numbers. Throws what `write` throws.
    using ElementWriter =
        std::function<void(CXmlOutput& output, std::size_t first, std::size_t last)>;
    int WriteElements(std::size_t count, const ElementWriter& write);
    int Flush();
    // Flushes and closes the file.
    void Close();

private:
    struct SState;
    std::unique_ptr<SState> m_state;
};

}  // namespace platform
