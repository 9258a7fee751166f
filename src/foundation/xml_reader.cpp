#include "foundation/xml_reader.h"

#include "foundation/file_path.h"
#include "platform/status.h"

using platform::EXmlNode;

namespace {

// Whether a text is only ASCII.
bool IsPlain(std::u16string_view text) {
    unsigned bits = 0;
    for (const char16_t unit : text) {
        bits |= unit;
    }
    return bits < 0x80;
}

}  // namespace

int CXmlReader::Open(const CFilePathW& path) {
    Close();
    return m_reader.Open(path.ToString().Get());
}

void CXmlReader::Close() {
    m_reader.Close();
    m_nodeType = EXmlNode::None;
    m_fault = 0;
    m_path.clear();
    m_outerPaths.clear();
    m_isPlainPath = true;
    m_isEmptyElement = false;
    m_inSyntheticEnd = false;
}

EXmlToken CXmlReader::ReadNext() {
    if (!m_reader.IsOpen()) {
        return XmlTokenNone;
    }
    // "<a/>" has no end node. Its end token is made here, before the reader goes on.
    const bool isOnEmptyElement = m_nodeType == EXmlNode::Element && m_isEmptyElement;
    if (isOnEmptyElement && !m_inSyntheticEnd) {
        m_inSyntheticEnd = true;
        return XmlTokenEndElement;
    }
    m_inSyntheticEnd = false;
    // A name is removed from the path only here, so that the path still has it while the caller
    // looks at its end token.
    if (isOnEmptyElement || m_nodeType == EXmlNode::EndElement) {
        PopElement();
    }
    // A text after a text is skipped: the two were separated by a comment or the like.
    const EXmlNode lastType = m_nodeType;
    while (ReadNode()) {
        switch (m_nodeType) {
            case EXmlNode::Element:
                PushElement();
                return XmlTokenElement;
            case EXmlNode::EndElement:
                return XmlTokenEndElement;
            case EXmlNode::XmlDeclaration:
                return XmlTokenDeclaration;
            case EXmlNode::Text:
                if (lastType != EXmlNode::Text) {
                    return XmlTokenText;
                }
                break;
            default:
                break;
        }
    }
    return XmlTokenNone;
}

// False at the end and on failure. The node is None then, so that ReadNext removes no element from
// the path again.
bool CXmlReader::ReadNode() {
    const int status = m_reader.Read(m_nodeType);
    if (status == S_OK) {
        return true;
    }
    // S_FALSE is the proper end of the document, and no fault.
    m_fault = status < 0 ? status : m_fault;
    m_nodeType = EXmlNode::None;
    return false;
}

void CXmlReader::PushElement() {
    m_outerPaths.push_back({m_path.size(), m_isPlainPath});
    m_path += u'/';
    const std::u16string_view prefix = m_reader.GetPrefix();
    if (!prefix.empty()) {
        m_path += prefix;
        m_path += u':';
    }
    m_path += m_reader.GetLocalName();
    m_isPlainPath =
        m_isPlainPath && IsPlain(std::u16string_view(m_path).substr(m_outerPaths.back().length));
    m_isEmptyElement = m_reader.IsEmptyElement();
}

void CXmlReader::PopElement() {
    m_path.resize(m_outerPaths.back().length);
    m_isPlainPath = m_outerPaths.back().isPlain;
    m_outerPaths.pop_back();
}

bool CXmlReader::PathEquals(std::u16string_view parent, std::u16string_view tail) const {
    if (!m_isPlainPath || !IsPlain(tail) || !IsPlain(parent)) {
        // Two texts of different lengths may be equal for a locale, so the parts cannot be compared
        // one by one.
        return EqualsNoCase(m_path, std::u16string(parent).append(tail));
    }
    const std::u16string_view path = m_path;
    // The tail first: paths differ mostly in their last name.
    return path.size() == parent.size() + tail.size() &&
           EqualsNoCase(path.substr(parent.size()), tail) &&
           EqualsNoCase(path.substr(0, parent.size()), parent);
}

// On a synthetic end `m_reader` is still on the start tag. Its attributes were offered there and
// must not come twice.
int CXmlReader::MoveToFirstAttribute() {
    return m_inSyntheticEnd ? S_FALSE : m_reader.MoveToFirstAttribute();
}

int CXmlReader::MoveToNextAttribute() {
    return m_inSyntheticEnd ? S_FALSE : m_reader.MoveToNextAttribute();
}

int CXmlReader::GetLocalName(CStrW& name) {
    name.Assign(u"");
    if (!m_reader.IsOpen()) {
        return E_FAIL;
    }
    name.Assign(m_reader.GetLocalName());
    return S_OK;
}

int CXmlReader::GetValue(CStrW& value) {
    value.Assign(u"");
    if (!m_reader.IsOpen() || m_inSyntheticEnd) {
        return E_FAIL;
    }
    value.Assign(m_reader.GetValue());
    if (m_pfnValueFilter != nullptr) {
        m_pfnValueFilter(value);
    }
    return S_OK;
}

std::uint32_t CXmlReader::GetLineNumber() const {
    return m_reader.IsOpen() ? m_reader.GetLineNumber() : 0;
}
