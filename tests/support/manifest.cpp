#include "support/manifest.h"

#include "foundation/xml_escape.h"
#include "foundation/xml_reader.h"
#include "support/little_endian.h"
#include "support/system.h"
#include "support/text.h"

std::string ReadUtf16File(const std::string& bytes) {
    std::u16string text;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        text += static_cast<char16_t>(GetNumber(bytes, i, 2));
    }
    std::erase(text, u'\r');
    return Utf8(text);
}

std::string ReadManifestFile(const std::string& bytes) {
    const std::string_view end = "?><";
    std::string text = ReadUtf16File(bytes);
    const std::size_t found = RunsInWine() ? text.find(end) : std::string::npos;
    return found == std::string::npos ? text : text.insert(found + end.size() - 1, "\n");
}

bool LoadManifest(const CFilePathW& path, COrvPackage& package) {
    CXmlReader reader;
    reader.SetValueFilter(&UnescapeXmlText);
    if (reader.Open(path) < 0) {
        return false;
    }
    while (reader.ReadNext() != XmlTokenNone) {
        bool isTaken = package.GetProperties().Read(reader);
        for (std::size_t type = 0; type < kOrvCollections && !isTaken; ++type) {
            isTaken = package.GetCollection(static_cast<EOrvCollection>(type)).Read(reader);
        }
    }
    return true;
}
