#include "orvpackage/assembly_collections.h"

#include <utility>
#include <vector>

#include "foundation/file_path_converter.h"
#include "foundation/number_text.h"
#include "foundation/xml_reader.h"
#include "foundation/xml_writer.h"
#include "orvpackage/sanitizer.h"

namespace {

constexpr std::u16string_view kRelativeSource = u"RelativeSource";

// What is read of an assembly besides its identity.
struct SReadAssembly {
    std::uint32_t type = 0;
    CStrW manifest;
    CStrW catalog;
    std::vector<CStrW> files;
    CStrW privateFolder;
};

void Expand(CStrW& field, const CStrW& text) {
    field = text;
    ExpandFileTokens(field);
}

}  // namespace

bool COrvCreateAssembly::IsValid() const {
    return COrvNamedItem::IsValid() && !m_manifest.IsEmpty();
}

void COrvCreateAssembly::SetManifestRelativeSource(const CStrW& text) { Expand(m_manifest, text); }

void COrvCreateAssembly::SetCatalogRelativeSource(const CStrW& text) { Expand(m_catalog, text); }

void COrvCreateAssembly::SetPrivate(const CStrW& text) { Expand(m_private, text); }

void COrvCreateAssembly::AddFile(const CStrW& text) {
    CStrW file;
    Expand(file, text);
    m_files.insert(std::move(file));
}

void COrvCreateAssembliesCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    COrvNamedItemCollection::WriteItem(writer, item);
    const auto& assembly = static_cast<const COrvCreateAssembly&>(item);
    writer.WriteAttribute(u"AssemblyType", UnsignedToText(assembly.AssemblyType));
    WriteSanitized(writer, u"ManifestRelativeSource", assembly.GetManifestRelativeSource(),
                   SanitizeNoPaths);
    WriteIfAny(writer, u"CatalogRelativeSource", assembly.GetCatalogRelativeSource(),
               SanitizeNoPaths);
    WriteIfAny(writer, u"Private", assembly.GetPrivate(), SanitizeNoRegPaths);
    for (const CStrW& file : assembly.GetFiles()) {
        if (writer.StartElement(u"File", false) >= 0) {
            WriteSanitized(writer, kRelativeSource, file, SanitizeNoPaths);
            writer.EndElement(false);
        }
    }
}

void COrvCreateAssembliesCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    COrvNamedItemCollection::ReadAttribute(name, value);
    auto& read = ReadSoFar<SReadAssembly>();
    if (name.EqualsNoCase(u"AssemblyType")) {
        read.type = ReadPlainNumber32(value);
    } else if (name.EqualsNoCase(u"ManifestRelativeSource")) {
        read.manifest = GetSanitizer().Desanitize(value, SanitizeNoPaths);
    } else if (name.EqualsNoCase(u"CatalogRelativeSource")) {
        read.catalog = GetSanitizer().Desanitize(value, SanitizeNoPaths);
    } else if (name.EqualsNoCase(u"Private")) {
        read.privateFolder = GetSanitizer().Desanitize(value, SanitizeNoRegPaths);
    }
}

bool COrvCreateAssembliesCollection::ReadChild(std::u16string_view child, CXmlReader& reader) {
    if (!EqualsNoCase(child, u"/File") || reader.IsSyntheticEnd() ||
        reader.GetNodeType() != platform::EXmlNode::Element) {
        return false;
    }
    ForEachAttribute(reader, [this](const CStrW& name, const CStrW& value) {
        if (name.EqualsNoCase(kRelativeSource)) {
            ReadSoFar<SReadAssembly>().files.push_back(
                GetSanitizer().Desanitize(value, SanitizeNoPaths));
        }
    });
    return true;
}

bool COrvCreateAssembliesCollection::FinishItem() {
    const auto read = TakeRead<SReadAssembly>();
    COrvCreateAssembly* const added = AddItem(TakeReadName());
    if (added == nullptr) {
        return false;
    }
    added->AssemblyType = read.type;
    added->SetManifestRelativeSource(read.manifest);
    added->SetCatalogRelativeSource(read.catalog);
    for (const CStrW& file : read.files) {
        added->AddFile(file);
    }
    added->SetPrivate(read.privateFolder);
    return true;
}
