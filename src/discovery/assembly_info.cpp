#include "discovery/assembly_info.h"

#include <algorithm>

#include "foundation/file_system.h"
#include "foundation/xml_escape.h"
#include "foundation/xml_reader.h"
#include "platform/status.h"

namespace {

constexpr std::u16string_view kManifestExtension = u".manifest";
constexpr std::u16string_view kAssembly = u"/assembly";

// The folders of a global assembly cache, with the architecture of their assemblies.
struct SCacheFolder {
    const char16_t* name;
    const char16_t* architecture;
};
constexpr SCacheFolder kCacheFolders[] = {
    {u"GAC_32", u"x86"},
    {u"GAC_64", u"AMD64"},
    {u"GAC_MSIL", u"MSIL"},
};

// Calls `take` with each attribute of the current element of `reader`.
template <class TTake>
void ForEachAttribute(CXmlReader& reader, const TTake& take) {
    CStrW name;
    CStrW value;
    for (int status = reader.MoveToFirstAttribute(); status == S_OK;
         status = reader.MoveToNextAttribute()) {
        reader.GetLocalName(name);
        reader.GetValue(value);
        take(name, value);
    }
}

}  // namespace

// In the order of the identity text.
const CAssemblyInfo::SPart CAssemblyInfo::kParts[] = {
    {u"type", &CAssemblyInfo::m_type, true},
    {u"version", &CAssemblyInfo::m_version, true},
    {u"language", &CAssemblyInfo::m_language, true},
    {u"culture", &CAssemblyInfo::m_culture, false},
    {u"publicKeyToken", &CAssemblyInfo::m_publicKeyToken, true},
    {u"processorArchitecture", &CAssemblyInfo::m_processorArchitecture, true},
};

CFilePathW GetGacPath() {
    return CFilePathW(GetWindowsDirectoryPath(), CFilePathSegmentW(u"assembly"));
}

CFilePathW GetNetGacPath() {
    return CFilePathW(GetWindowsDirectoryPath(), CFilePathW(uR"(Microsoft.NET\assembly)"));
}

void CAssemblyInfo::ReadManifest() {
    if (m_isGlobal) {
        ReadPath();
    } else {
        ReadXml();
    }
}

void CAssemblyInfo::ReadXml() {
    CXmlReader reader;
    reader.SetValueFilter(&UnescapeXmlText);
    // A manifest that cannot be read leaves all fields empty, so the assembly is not complete.
    if (reader.Open(m_manifestPath) != S_OK) {
        return;
    }
    EXmlToken token = reader.ReadNext();
    for (; token != XmlTokenNone; token = reader.ReadNext()) {
        if (token != XmlTokenElement) {
            continue;
        }
        // By the full path, because dependencies have identities too, deeper in the document.
        if (reader.PathEquals(kAssembly, u"/assemblyIdentity")) {
            ForEachAttribute(reader, [this](const CStrW& name, const CStrW& value) {
                if (name.EqualsNoCase(u"name")) {
                    m_name = value;
                }
                for (const SPart& part : kParts) {
                    if (part.isInManifest && name.EqualsNoCase(part.name)) {
                        this->*part.field = value;
                    }
                }
            });
        } else if (reader.PathEquals(kAssembly, u"/file")) {
            ForEachAttribute(reader, [this](const CStrW& name, const CStrW& value) {
                if (name.EqualsNoCase(u"name")) {
                    AddMemberFile(CFilePathW(value), false);
                }
            });
        }
    }
    // What is ahead of a fault of the content counts. After one of the system, such as an error of
    // the disk, files may be missing, so the assembly is not complete.
    constexpr std::uint32_t kOfSystem = 0x8007;
    if (static_cast<std::uint32_t>(reader.GetFault()) >> 16 == kOfSystem) {
        m_name.Clear();
    }
}

void CAssemblyInfo::ReadPath() {
    // The index of the first name below the root of the cache; 0 outside both caches.
    std::size_t index = 0;
    for (const CFilePathW& root : {GetGacPath(), GetNetGacPath()}) {
        if (m_manifestPath.EqualsFirstN(root, root.GetSegmentCount())) {
            index = root.GetSegmentCount();
            break;
        }
    }
    // Below the root: folder of the architecture, name, version. Outside both roots the path has
    // other names at these places, and the identity is incomplete or useless.
    m_name = m_manifestPath.GetSegment(index + 1).GetText();
    const std::u16string_view version = m_manifestPath.ViewSegment(index + 2);
    // "Version_Culture_Token"; the culture is empty for a neutral assembly ("1.0.0.0__token").
    const std::size_t first = version.find(u'_');
    if (first != std::u16string_view::npos) {
        const std::size_t last = version.rfind(u'_');
        m_version = version.substr(0, first);
        m_culture = last > first + 1 ? version.substr(first + 1, last - first - 1) : u"neutral";
        m_publicKeyToken = version.substr(last + 1);
    }
    for (const SCacheFolder& folder : kCacheFolders) {
        if (EqualsNoCase(m_manifestPath.ViewSegment(index), folder.name)) {
            m_processorArchitecture = folder.architecture;
        }
    }
}

void CAssemblyInfo::MakeIdentity() {
    m_identity = m_name;
    for (const SPart& part : kParts) {
        const CStrW& value = this->*part.field;
        if (!value.IsEmpty()) {
            m_identity.Append(u',');
            m_identity.Append(part.name);
            m_identity.Append(u"=\"");
            m_identity.Append(value);
            m_identity.Append(u'"');
        }
    }
}

void CAssemblyInfo::SetPlace(std::u16string_view place) {
    // A path may end in one backslash; with more of them it would be refused.
    while (place.ends_with(u'\\')) {
        place.remove_suffix(1);
    }
    m_assemblyFolder = CFilePathW(place);
    const CFilePathSegmentW name = m_assemblyFolder.GetLastSegment();
    // CompareExtension takes a name without a dot as its own extension, so the length is checked.
    const bool isManifest = name.GetText().GetLength() >= kManifestExtension.size() &&
                            name.CompareExtension(kManifestExtension) == 0;
    m_componentKey = isManifest ? name.GetStem() : name.GetText();
}

void CAssemblyInfo::AddMemberFile(const CFilePathW& path, bool match) {
    if (!match) {
        // What is no path gives an empty name, and a path with folders keeps them. Neither is the
        // name of a captured file, so the assembly stays incomplete.
        m_files.try_emplace(path.ToString());
    } else if (path.GetParent().Equals(m_assemblyFolder)) {
        const auto declared = m_files.find(path.GetFileName().GetText());
        if (declared != m_files.end()) {
            declared->second = path;
        }
    }
}

bool CAssemblyInfo::IsComplete() const {
    const bool isNamed = !m_identity.IsEmpty() && !m_manifestPath.IsEmpty() && !m_name.IsEmpty();
    if (m_isGlobal || !isNamed) {
        return isNamed;
    }
    return !m_catalogPath.IsEmpty() &&
           std::none_of(m_files.begin(), m_files.end(),
                        [](const Files::value_type& file) { return file.second.IsEmpty(); });
}
