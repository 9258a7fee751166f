#include "orvpackage/properties.h"

#include "foundation/xml_reader.h"
#include "foundation/xml_writer.h"

namespace {

constexpr std::u16string_view kPath = u"/Package/Properties";

void WriteElement(CXmlWriter& writer, std::u16string_view name, std::u16string_view text) {
    if (!text.empty() && writer.StartElement(name, false) >= 0) {
        writer.WriteText(text);
        writer.EndElement(true);
    }
}

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

void ParseArchitecture(const CStrW& name, std::uint32_t& architecture) {
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
    WriteElement(writer, u"Name", Name);
    WriteElement(writer, u"Version", Version);
    WriteElement(writer, u"Manufacturer", Manufacturer);
    if (const char16_t* const architecture = ArchitectureName(Architecture)) {
        WriteElement(writer, u"Architecture", architecture);
    }
    WriteElement(writer, u"PerUserInstall", PerUserInstall ? u"1" : u"0");
    writer.EndElement(true);
}

bool COrvPropertiesCollection::Read(CXmlReader& reader) {
    if (reader.GetNodeType() != platform::EXmlNode::Text) {
        return false;
    }
    struct STextField {
        std::u16string_view tail;
        CStrW COrvPropertiesCollection::*field;
    };
    constexpr STextField kTexts[] = {
        {u"/Name", &COrvPropertiesCollection::Name},
        {u"/Version", &COrvPropertiesCollection::Version},
        {u"/Manufacturer", &COrvPropertiesCollection::Manufacturer},
    };
    for (const STextField& text : kTexts) {
        if (reader.PathEquals(kPath, text.tail)) {
            reader.GetValueChunked(this->*text.field);
            return true;
        }
    }
    CStrW value;
    if (reader.PathEquals(kPath, u"/Architecture")) {
        reader.GetValueChunked(value);
        ParseArchitecture(value, Architecture);
        return true;
    }
    if (reader.PathEquals(kPath, u"/PerUserInstall")) {
        reader.GetValueChunked(value);
        PerUserInstall = value.IsTrue();
        return true;
    }
    return false;
}
