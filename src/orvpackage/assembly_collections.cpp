#include "orvpackage/assembly_collections.h"

#include <utility>

#include "foundation/xml_writer.h"

namespace {

constexpr SAttribute<SOrvAssembly> kAttributes[] = {
    {u"Id", Plain<&SOrvAssembly::id, Always>},
    {u"AssemblyType", Number<&SOrvAssembly::type, ReadPlainNumber32>},
    {u"ManifestRelativeSource", RelativePath<&SOrvAssembly::manifest, Always>},
    {u"CatalogRelativeSource", RelativePath<&SOrvAssembly::catalog, IfAny>},
    {u"Private", Path<&SOrvAssembly::privateFolder, IfAny>},
};

void WriteFile(const SAttributeOutput& output, const CStrW& file) {
    output.WritePortable(file, SanitizeNoPaths);
}

void ReadFile(SOrvAssembly& into, const CStrW& value, const COrvSanitizer& sanitizer) {
    into.AddFile(sanitizer.Desanitize(value, SanitizeNoPaths));
}

// The child element of a member file. It is written from a path and read into an assembly.
constexpr SAttribute<CStrW, SOrvAssembly> kFileAttributes[] = {
    {u"RelativeSource", {WriteFile, ReadFile}},
};

}  // namespace

SAttributes<SOrvAssembly> SOrvAssembly::GetAttributes() { return kAttributes; }

// Expanded first, so that a token and its folder are one file, as for every path of an item.
void SOrvAssembly::AddFile(CStrW file) {
    ExpandFileTokens(file);
    files.insert(std::move(file));
}

void COrvCreateAssembliesCollection::WriteInside(CXmlWriter& writer,
                                                 const SOrvAssembly& assembly) const {
    for (const CStrW& file : assembly.files) {
        if (writer.StartElement(u"File", false) >= 0) {
            WriteAttributes<CStrW, SOrvAssembly>(kFileAttributes, writer, GetPackage(), file);
            writer.EndElement(false);
        }
    }
}

bool COrvCreateAssembliesCollection::ReadChild(std::u16string_view child, CXmlReader& reader) {
    // On the end of "<File/>" the node is still an element. Without the second test it would count
    // as another file.
    if (!EqualsNoCase(child, u"/File") || reader.IsSyntheticEnd() ||
        reader.GetNodeType() != platform::EXmlNode::Element) {
        return false;
    }
    ReadAttributes<CStrW, SOrvAssembly>(kFileAttributes, reader, GetSanitizer(),
                                        ReadSoFar<SOrvAssembly>());
    return true;
}
