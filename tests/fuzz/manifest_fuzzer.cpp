// Compares the two readers of manifests that the program has: one for lines as the library writes
// them, and one for any XML. The input is what follows the declaration, by which the second reader
// is chosen. Its first byte says after how many items the reading is to end; the digit 0 means
// never.
#include <vector>

#include "fuzz/require.h"
#include "fuzz/text_input.h"
#include "host/manifest_items.h"
#include "support/little_endian.h"
#include "support/temp_folder.h"

namespace {

struct SReading {
    std::vector<std::u16string> items;
    std::string problem;
};

// No text has a NUL, so it parts them.
void Add(std::u16string_view text, std::u16string& all) { (all += text) += u'\0'; }

void Add(const host::SItemPart& part, std::u16string& all) {
    Add(part.element, all);
    for (const platform::SXmlAttribute& attribute : part.attributes) {
        Add(attribute.name, all);
        Add(attribute.value, all);
    }
    Add(u"=", all);
    Add(part.text, all);
}

SReading Read(const CTempFolder& folder, const std::string& declaration, std::u16string_view text,
              std::size_t limit) {
    folder.WriteFile("m.orv",
                     "\xFF\xFE" + UnitBytes(u"<?xml version=") +
                         UnitBytes(std::u16string(declaration.begin(), declaration.end())) +
                         UnitBytes(text));
    SReading reading;
    reading.problem = host::ReadItems(folder.Path("m.orv"), [&](const host::SItem& item) {
        std::u16string& all = reading.items.emplace_back(item.hasBadEscape ? u"~" : u"");
        Add(item.collection, all);
        Add(item, all);
        for (const host::SItemPart& part : item.parts) {
            Add(part, all);
        }
        all += static_cast<char16_t>(item.line);
        return reading.items.size() != limit;
    });
    return reading;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const CTempFolder folder;
    if (size == 0) {
        return 0;
    }
    const std::u16string text = TextOf(BytesOf(data + 1, size - 1));
    const std::size_t limit = data[0] == '0' ? 0 : data[0];
    const SReading lines = Read(folder, "\"1.0\" encoding=\"utf-16\"?>\r\n", text, limit);
    const SReading xml = Read(folder, "\"1.0\" encoding=\"utf-16\" ?>\r\n", text, limit);
    Require(lines.items == xml.items && lines.problem == xml.problem);
    return 0;
}
