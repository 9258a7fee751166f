#include <cstddef>
#include <memory>
#include <string>

#include "platform/posix/files/file_access.h"
#include "platform/posix/xml_document.h"
#include "platform/status.h"
#include "platform/utf8.h"
#include "platform/xml.h"

namespace platform {

namespace {

constexpr std::size_t kNoNode = static_cast<std::size_t>(-1);

}  // namespace

// INVARIANT: `item` is `node` or one of the attributes that follow it. Before the first node and
// after the last one both are kNoNode.
struct CXmlInput::SState {
    CFileDescriptor file;  // open until the document has been parsed
    CXmlDocument document;
    int status = S_OK;     // of the parsing; given when all nodes before the fault were read
    std::size_t next = 0;  // the node that Read gives next
    std::size_t node = kNoNode;
    std::size_t item = kNoNode;  // the node or one of its attributes
    std::u16string text;         // what the last getter gave

    // Puts the position on the attribute at `index`, if there is one. The attributes of an element
    // follow it directly. So the node after the current item is its next attribute, or it has none.
    int MoveToAttribute(std::size_t index) {
        if (node == kNoNode || index >= document.GetCount() ||
            !document.GetNode(index).isAttribute) {
            return S_FALSE;
        }
        item = index;
        return S_OK;
    }

    // The view is valid until the next call, which replaces `text`.
    std::u16string_view Show(std::string_view bytes) {
        text = Utf8ToUtf16(bytes);
        return text;
    }
};

CXmlInput::CXmlInput() = default;
CXmlInput::~CXmlInput() = default;

int CXmlInput::Open(const char16_t* name) {
    Close();
    auto state = std::make_unique<SState>();
    const int status = OpenForReading(name, state->file);
    if (status != ERROR_SUCCESS) {
        return HresultFromError(status);
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
    // Opening a document says whether the file can be read, and not more. So it is parsed here.
    if (state.file.IsOpen()) {
        state.status = state.document.Parse(state.file.Get());
        state.file.Close();
    }
    const std::size_t count = state.document.GetCount();
    // The nodes before a fault are given first, and then its status each time.
    if (state.next >= count) {
        state.node = kNoNode;
        state.item = kNoNode;
        return state.status < 0 ? state.status : S_FALSE;
    }
    state.node = state.next;
    state.item = state.next;
    // Attributes are no nodes for the caller.
    do {
        ++state.next;
    } while (state.next < count && state.document.GetNode(state.next).isAttribute);
    node = state.document.GetNode(state.node).type;
    return S_OK;
}

int CXmlInput::MoveToFirstAttribute() {
    // Without a node the sum is 0, and the call answers that there is no attribute.
    return IsOpen() ? m_state->MoveToAttribute(m_state->node + 1) : E_FAIL;
}

int CXmlInput::MoveToNextAttribute() {
    return IsOpen() ? m_state->MoveToAttribute(m_state->item + 1) : E_FAIL;
}

std::u16string_view CXmlInput::GetPrefix() {
    const bool hasItem = IsOpen() && m_state->item != kNoNode;
    return hasItem ? m_state->Show(m_state->document.GetNode(m_state->item).prefix) : u"";
}

std::u16string_view CXmlInput::GetLocalName() {
    const bool hasItem = IsOpen() && m_state->item != kNoNode;
    return hasItem ? m_state->Show(m_state->document.GetNode(m_state->item).name) : u"";
}

std::u16string_view CXmlInput::GetValue() {
    const bool hasItem = IsOpen() && m_state->item != kNoNode;
    return hasItem ? m_state->Show(m_state->document.GetValue(m_state->item)) : u"";
}

bool CXmlInput::IsEmptyElement() const {
    return IsOpen() && m_state->node != kNoNode &&
           m_state->document.GetNode(m_state->node).isEmptyElement;
}

std::uint32_t CXmlInput::GetLineNumber() const {
    const bool hasItem = IsOpen() && m_state->item != kNoNode;
    return hasItem ? m_state->document.GetNode(m_state->item).line : 0;
}

}  // namespace platform
