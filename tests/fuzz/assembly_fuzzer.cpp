// Compares what is read of a side-by-side manifest with a reader of its own, which is told of all
// elements instead of asking for the next one, and looks the assembly up in a store.
#include <map>
#include <vector>

#include "discovery/assembly_info.h"
#include "foundation/xml_escape.h"
#include "fuzz/require.h"
#include "fuzz/text_input.h"
#include "platform/assemblies.h"
#include "platform/status.h"
#include "platform/xml_scan.h"
#include "support/machine.h"
#include "support/temp_folder.h"
#include "support/text.h"

namespace {

constexpr const char16_t* kParts[] = {u"type", u"version", u"language", u"publicKeyToken",
                                      u"processorArchitecture"};

CStrW LocalName(std::u16string_view name) { return CStrW(name.substr(name.find(u':') + 1)); }

class CNaiveReader final : public platform::CXmlVisitor {
public:
    void OnElement(std::u16string_view name, std::span<const platform::SXmlAttribute> attributes,
                   std::uint32_t /*line*/) override {
        m_path.push_back(m_path.empty() ? CStrW(name) : m_path.back() + u'/' + CStrW(name));
        const bool isIdentity = m_path.back().EqualsNoCase(u"assembly/assemblyIdentity");
        if (!isIdentity && !m_path.back().EqualsNoCase(u"assembly/file")) {
            return;
        }
        for (const platform::SXmlAttribute& attribute : attributes) {
            CStrW value(attribute.value);
            UnescapeXmlText(value);
            if (LocalName(attribute.name).EqualsNoCase(u"name")) {
                isIdentity ? static_cast<void>(m_name = value)
                           : static_cast<void>(m_files.try_emplace(CFilePathW(value).ToString()));
            }
            for (const char16_t* part : kParts) {
                if (isIdentity && LocalName(attribute.name).EqualsNoCase(part)) {
                    m_values[part] = value;
                }
            }
        }
    }
    void OnText(std::u16string_view /*text*/) override {}
    void OnElementEnd() override { m_path.pop_back(); }

    [[nodiscard]] CStrW MakeIdentity() const {
        CStrW identity = m_name;
        for (const char16_t* part : kParts) {
            if (const auto value = m_values.find(part);
                value != m_values.end() && !value->second.IsEmpty()) {
                identity = identity + u',' + CStrW(part) + u"=\"" + value->second + u'"';
            }
        }
        return identity;
    }
    [[nodiscard]] const CAssemblyInfo::Files& GetFiles() const { return m_files; }

private:
    std::vector<CStrW> m_path;
    CStrW m_name;
    std::map<const char16_t*, CStrW> m_values;
    CAssemblyInfo::Files m_files;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const CTempFolder folder;
    static const CTestMachine machine = CTestMachine().WindowsFolder(folder.Name("Windows"));
    const std::u16string file =
        folder.WriteFile("Windows/WinSxS/Manifests/x86_a_1_2_none_1.manifest", BytesOf(data, size));
    folder.WriteFile("Windows/WinSxS/Manifests/x86_a_1_2_none_2.manifest", "<a/>");
    CAssemblyInfo assembly{CFilePathW(file), false};
    assembly.ReadManifest();
    assembly.MakeIdentity();
    CNaiveReader naive;
    std::uint32_t line = 0;
    static_cast<void>(platform::ScanXml(file.c_str(), naive, line));
    Require(assembly.GetIdentity() == naive.MakeIdentity());
    Require(std::ranges::equal(assembly.GetFiles(), naive.GetFiles(),
                               [](auto& one, auto& other) { return one.first == other.first; }));
    platform::CAssemblyCache cache;
    std::u16string place = u"unchanged";
    Require(cache.Open());
    const bool isFound = cache.FindAssembly(assembly.GetIdentity(), place);
    Require(isFound ? place.starts_with(folder.Name("Windows")) : place == u"unchanged");
    assembly.SetPlace(place);
    return 0;
}
