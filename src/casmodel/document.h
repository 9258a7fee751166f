// casmodel/document.h - opens an XML document of a package.
#pragma once

#include <functional>
#include <string_view>

class CFilePathW;
class CXmlReader;

// Opens a document, goes to the first start tag of the path `element` and lets `read` go on from
// there. Returns 0, the HRESULT when the file cannot be opened, ERROR_NOT_FOUND when there is no
// such element, or the status that `read` throws as an int. A document that breaks behind that
// element ends there.
[[nodiscard]] int ReadDocument(const CFilePathW& file, std::u16string_view element,
                               const std::function<void(CXmlReader& reader)>& read);
