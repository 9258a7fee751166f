#include "casmodel/element_path.h"

#include <algorithm>

#include "foundation/wide_string.h"

std::u16string_view GetChildTail(std::u16string_view path, std::size_t parentLength) {
    // An element is a direct child when the last "/" follows the path of its parent.
    return path.rfind(u'/') == parentLength ? path.substr(parentLength) : std::u16string_view();
}

void CElementPath::OnElement(std::u16string_view readerPath) {
    // Only an element directly below the open part can open the next name.
    const std::u16string_view tail = GetChildTail(readerPath, m_readerLength);
    if (tail.empty() || IsOpen()) {
        return;
    }
    // The next name goes from its "/" to the next one, or to the end of the path.
    const std::size_t end = std::min(m_path.find(u'/', m_openLength + 1), m_path.size());
    const std::u16string_view path = m_path;
    if (EqualsNoCase(tail, path.substr(m_openLength, end - m_openLength))) {
        m_openLength = end;
        m_readerLength = readerPath.size();
    }
}

void CElementPath::OnEndElement(std::u16string_view readerPath) {
    // The end of the deepest open element of this path; other elements have longer paths.
    if (m_readerLength == readerPath.size()) {
        // Both go back by one name, each in its own spelling.
        m_openLength = m_path.rfind(u'/', m_openLength - 1);
        m_readerLength = readerPath.rfind(u'/');
    }
}

std::u16string_view CElementPath::GetTailBelow(std::u16string_view readerPath) const {
    return IsOpen() ? GetChildTail(readerPath, m_readerLength) : std::u16string_view();
}

void CElementPath::Descend(std::u16string_view readerPath) {
    m_path += readerPath.substr(m_readerLength);
    m_openLength = m_path.size();
    m_readerLength = readerPath.size();
}
