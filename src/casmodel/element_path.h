// casmodel/element_path.h - follows a path of elements through a document.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The last name of `path` with its "/", if the element is a direct child of the open element whose
// path has `parentLength` units; otherwise empty.
[[nodiscard]] std::u16string_view GetChildTail(std::u16string_view path, std::size_t parentLength);

// A path of elements in a document. It is open while each of its names is the name of an open
// element, ignoring case. Only names count, so it is open again in a second element of the same
// path. The caller reports every start and end tag down to the depth of this path, with the path of
// the reader; deeper tags may be left out. Only last names are compared, so a tag costs the same at
// any depth.
//
// INVARIANT: the first `m_openLength` units of `m_path` are whole names and open. The reader spells
// them in the first `m_readerLength` units of its path.
class CElementPath {
public:
    // The empty path, which is always open.
    CElementPath() = default;
    // A path of which no element is open yet.
    explicit CElementPath(std::u16string_view path) : m_path(path) {}

    void OnElement(std::u16string_view readerPath);
    void OnEndElement(std::u16string_view readerPath);
    [[nodiscard]] bool IsOpen() const { return m_openLength == m_path.size(); }

    // The last name, with "/", of an element directly below this path; otherwise empty.
    [[nodiscard]] std::u16string_view GetTailBelow(std::u16string_view readerPath) const;
    // Adds the name of an element below this path, which must be open, to the path.
    void Descend(std::u16string_view readerPath);

private:
    std::u16string m_path;
    std::size_t m_openLength = 0;
    // In the reader's spelling. It may have another length, because two names of different lengths
    // may be equal for a locale.
    std::size_t m_readerLength = 0;
};
