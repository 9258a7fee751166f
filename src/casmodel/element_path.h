// casmodel/element_path.h - tells whether a document's place is within the elements of a path.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The last name of `path` with its "/", when the element stands right below one whose path has
// `parentLength` units and is open; otherwise empty.
[[nodiscard]] std::u16string_view GetChildTail(std::u16string_view path, std::size_t parentLength);

// A path of elements, followed through a document: it is open while each of its names is that of an
// open element, ignoring case. It is the names that count, so it opens anew at a second element of
// the same path. It has to be told of every start and end tag that is not deeper than it is
// itself, with the reader's path. Only last names are compared, so that a tag of a deep document
// costs no more than any other.
class CElementPath {
public:
    // The empty path, which is always open.
    CElementPath() = default;
    // A path none of whose elements is open yet.
    explicit CElementPath(std::u16string_view path) : m_path(path) {}

    void OnElement(std::u16string_view readerPath);
    void OnEndElement(std::u16string_view readerPath);
    [[nodiscard]] bool IsOpen() const { return m_openLength == m_path.size(); }

    // The tail of an element that stands right below this path; otherwise empty.
    [[nodiscard]] std::u16string_view GetTailBelow(std::u16string_view readerPath) const;
    // Makes an element below this path, which must be open, the path's last one.
    void Descend(std::u16string_view readerPath);

private:
    std::u16string m_path;
    std::size_t m_openLength = 0;  // how much of m_path is open
    // The same names as the reader spells them: a locale may hold names of different lengths to be
    // equal.
    std::size_t m_readerLength = 0;
};
