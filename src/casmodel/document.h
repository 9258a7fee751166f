// casmodel/document.h - opens an XML document of a package.
#pragma once

#include <functional>
#include <string_view>

class CFilePathW;
class CXmlReader;

// Opens a document, goes to the first start tag with the path `element` and calls `read` there.
// Returns 0, the HRESULT when the file cannot be opened, ERROR_NOT_FOUND when there is no such
// element, or a status that `read` throws as an int. A fault in the document after that element
// ends it there.
[[nodiscard]] int ReadDocument(const CFilePathW& file, std::u16string_view element,
                               const std::function<void(CXmlReader& reader)>& read);
