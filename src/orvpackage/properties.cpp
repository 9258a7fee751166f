#include "orvpackage/properties.h"

#include <algorithm>
#include <iterator>

#include "foundation/xml_reader.h"
#include "foundation/xml_writer.h"

namespace {

constexpr std::u16string_view kPath = u"/Package/Properties";

using Properties = COrvPropertiesCollection;

// Empty for null.
std::u16string_view ViewOf(const char16_t* text) {
    return text == nullptr ? std::u16string_view() : text;
}

// A child element of "Properties". It is left out when its text is empty.
struct SProperty {
    std::u16string_view tail;  // of its path: a slash and its name
    std::u16string_view (*get)(const Properties& from);
    void (*set)(Properties& into, const CStrW& text);
};

template <CStrW Properties::*kField>
constexpr SProperty Text(std::u16string_view tail) {
    return {tail, [](const Properties& from) { return (from.*kField).View(); },
            [](Properties& into, const CStrW& text) { into.*kField = text; }};
}

// In the order of the manifest. No text goes through the sanitizer, because none has a path.
constexpr SProperty kProperties[] = {
    Text<&Properties::Name>(u"/Name"),
    Text<&Properties::Version>(u"/Version"),
    Text<&Properties::Manufacturer>(u"/Manufacturer"),
    // Left out for an architecture without a name.
    {u"/Architecture",
     [](const Properties& from) { return ViewOf(ArchitectureName(from.Architecture)); },
     [](Properties& into, const CStrW& text) { ParseArchitecture(text, into.Architecture); }},
    // Neither text is empty, so this element is always there.
    {u"/PerUserInstall",
     [](const Properties& from) { return ViewOf(from.PerUserInstall ? u"1" : u"0"); },
     [](Properties& into, const CStrW& text) { into.PerUserInstall = text.IsTrue(); }},
};

}  // namespace

const char16_t* ArchitectureName(std::uint32_t architecture) {
    switch (architecture) {
        case OrvArchitectureX86:
            return u"x86";
        case OrvArchitectureX64:
            return u"x64";
        default:
            return nullptr;
    }
}

// Both names are ASCII, so the order of the tests does not matter.
void ParseArchitecture(const CStrW& name, std::uint32_t& architecture) {
    // Any other name leaves `architecture` as it was.
    for (const std::uint32_t candidate : {OrvArchitectureX64, OrvArchitectureX86}) {
        if (name.EqualsNoCase(ArchitectureName(candidate))) {
            architecture = candidate;
            return;
        }
    }
}

void COrvPropertiesCollection::Clear() {
    Name.Clear();
    Version.Clear();
    Manufacturer.Clear();
    Architecture = OrvArchitectureNone;
    PerUserInstall = true;
}

void COrvPropertiesCollection::Write(CXmlWriter& writer) const {
    if (writer.StartElement(u"Properties", true) < 0) {
        return;
    }
    for (const SProperty& property : kProperties) {
        const std::u16string_view text = property.get(*this);
        if (!text.empty() && writer.StartElement(property.tail.substr(1), false) >= 0) {
            writer.WriteText(text);
            writer.EndElement(true);
        }
    }
    writer.EndElement(true);
}

bool COrvPropertiesCollection::Read(CXmlReader& reader) {
    // An element without a text has no such node, so its field keeps its value.
    if (reader.GetNodeType() != platform::EXmlNode::Text) {
        return false;
    }
    const auto* const property =
        std::find_if(std::begin(kProperties), std::end(kProperties),
                     [&](const SProperty& row) { return reader.PathEquals(kPath, row.tail); });
    if (property == std::end(kProperties)) {
        return false;
    }
    CStrW text;
    reader.GetValueChunked(text);
    property->set(*this, text);
    return true;
}
