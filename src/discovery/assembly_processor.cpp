#include "discovery/assembly_processor.h"

#include <utility>

#include "foundation/file_system.h"
#include "orvpackage/assembly_collections.h"
#include "platform/assemblies.h"
#include "platform/files.h"
#include "platform/machine.h"
#include "platform/status.h"
#include "reporting/record.h"

namespace {

constexpr std::uint32_t kGlobalAssembly = 1;  // as AssemblyType of an item

bool IsCreated(std::uint32_t mode) { return mode == 1 || mode == 2; }

// Writes the line of an assembly, or of one of its files, for its path in the capture.
void RecordAssembly(const CFilePathW& path, EReason reason, const CStrW& identity = {},
                    int status = ERROR_SUCCESS) {
    GetRecord().Add({.thing = EThing::Assembly,
                     .reason = reason,
                     .source = path.ToString().View(),
                     .collection = u"CreateAssemblies",
                     .target = identity,
                     .status = status});
}

template <class TPath>
bool StartsWith(const TPath& path, const TPath& root) {
    return path.EqualsFirstN(root, root.GetSegmentCount());
}

}  // namespace

// The output of AddAssemblies for one package.
class CAssemblyProcessor::COutput {
public:
    COutput(COrvPackage& package, const CFilePathW& packageFolder)
        : m_assemblies(package.Get<COrvCreateAssembliesCollection>()),
          m_packageFolder(packageFolder),
          m_folder(packageFolder, CFilePathSegmentW(u"Assemblies")) {}

    platform::CAssemblyCache& Cache() { return m_cache; }
    COrvCreateAssembliesCollection& Assemblies() { return m_assemblies; }
    [[nodiscard]] const CFilePathW& GetFolder() const { return m_folder; }

    // Copies a file into a folder and replaces an existing one. Returns the path of the copy
    // relative to the package's folder, or an empty text when the file cannot be copied.
    [[nodiscard]] CStrW Copy(const CFilePathW& source, const CFilePathW& folder) const {
        const CFilePathSegmentW name = source.GetFileName();
        // Without a name the destination would be the folder itself.
        if (name.IsEmpty()) {
            return {};
        }
        CFilePathW destination(folder, name);
        if (const int status = CopyFileOver(source.ToString(), destination)) {
            RecordAssembly(source, EReason::CopyFailed, {}, status);
            return {};
        }
        destination.RemoveFirst(m_packageFolder.GetSegmentCount());
        return destination.ToString();
    }

private:
    platform::CAssemblyCache m_cache;
    COrvCreateAssembliesCollection& m_assemblies;
    const CFilePathW& m_packageFolder;
    CFilePathW m_folder;
};

CAssemblyProcessor::CAssemblyProcessor()
    : m_winSxSPath(GetWindowsDirectoryPath(), CFilePathSegmentW(u"WinSxS")),
      m_gacPath(GetGacPath()),
      m_netGacPath(GetNetGacPath()),
      m_sideBySideKey(
          uR"(HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\SideBySide)"),
      m_componentsKey(uR"(HKEY_LOCAL_MACHINE\COMPONENTS)"),
      m_isVistaOrLater(platform::GetSystemVersion().major >= 6) {}

bool CAssemblyProcessor::TakesFile(const CFilePathW& path) const {
    return StartsWith(path, m_winSxSPath);
}

bool CAssemblyProcessor::CheckFile(const CFilePathW& path, std::uint32_t mode) {
    if (!TakesFile(path)) {
        return true;
    }
    // A deleted entry is claimed, but nothing is kept of it.
    if (!IsCreated(mode)) {
        return false;
    }
    const CFilePathSegmentW name = path.GetFileName();
    if (!name.IsEmpty() && name.CompareExtension(u"manifest") == 0) {
        AddManifest(path, false);
    } else if (!name.IsEmpty() && name.CompareExtension(u"cat") == 0) {
        m_catalogs.AddFile(path);
    } else {
        // Which assembly it belongs to is not known before all manifests have been seen.
        m_files[path.GetParent().ToPlainString()].insert_or_assign(name.GetText(), path);
    }
    return false;
}

bool CAssemblyProcessor::TakesValuesOf(const CRegPathW& key) const {
    return StartsWith(key, m_sideBySideKey) || StartsWith(key, m_componentsKey);
}

bool CAssemblyProcessor::CheckValue(const CRegPathW& key, const CStrW& name, std::uint32_t mode) {
    if (!TakesValuesOf(key)) {
        return true;
    }
    if (IsCreated(mode)) {
        m_catalogs.AddValue(key, name);
    }
    return false;
}

// By path, so that a file that is seen twice is in the list once.
void CAssemblyProcessor::AddManifest(const CFilePathW& path, bool isGlobal) {
    m_manifests.insert_or_assign(path.ToString(), CManifestInfo{path, isGlobal});
}

void CAssemblyProcessor::AddAssemblies(COrvPackage& package, const CFilePathW& packageFolder) {
    if (CRecord::IsOn()) {
        RecordUnusedFiles();
    }
    if (m_manifests.empty()) {
        return;
    }
    COutput output(package, packageFolder);
    if (!output.Cache().Open()) {
        for (const auto& [name, manifest] : m_manifests) {
            RecordAssembly(manifest.m_path, EReason::AssemblyIncomplete);
        }
        return;
    }
    // Before Vista there is no component registry.
    m_catalogs.Index(m_isVistaOrLater);
    for (const auto& [name, manifest] : m_manifests) {
        CAssemblyInfo assembly(manifest.m_path, manifest.m_isGlobal);
        assembly.ReadManifest();
        assembly.MakeIdentity();
        if (manifest.m_isGlobal) {
            AddGlobal(assembly, output);
        } else {
            AddSideBySide(assembly, output);
        }
    }
}

void CAssemblyProcessor::AddGlobal(const CAssemblyInfo& assembly, COutput& output) const {
    // A file that is no managed assembly, or only a part of one, cannot be installed in a global
    // cache.
    const CFilePathW& module = assembly.GetManifestPath();
    if (!assembly.IsComplete() || !output.Cache().IsManagedAssembly(module.ToString().Get())) {
        RecordAssembly(module, EReason::AssemblyIncomplete, assembly.GetIdentity());
        return;
    }
    CFilePathW folder = output.GetFolder();
    // A module outside both caches goes to "Assemblies" itself.
    for (const CFilePathW* const root : {&m_gacPath, &m_netGacPath}) {
        if (StartsWith(module, *root)) {
            // "GAC_MSIL\Name\Version_Culture_Token"
            static_cast<void>(folder.Append(module.SubPath(root->GetSegmentCount(), 3)));
            break;
        }
    }
    // Of two modules with the same identity the first one makes the item, and the second one is not
    // copied. AddSideBySide does the same.
    COrvCreateAssembly* const added = output.Assemblies().AddItem(assembly.GetIdentity());
    RecordAssembly(module, added == nullptr ? EReason::SameItem : EReason::Created,
                   assembly.GetIdentity());
    if (added == nullptr) {
        return;
    }
    SOrvAssembly content;
    content.type = kGlobalAssembly;
    content.manifest = output.Copy(module, folder);
    added->SetContent(std::move(content));
}

void CAssemblyProcessor::AddSideBySide(CAssemblyInfo& assembly, COutput& output) const {
    std::u16string place;
    if (output.Cache().FindAssembly(assembly.GetIdentity(), place)) {
        assembly.SetPlace(place);
    }
    // By name first, as systems before Vista have it. Only without such a catalog the component
    // registry is asked.
    assembly.SetCatalogPath(m_catalogs.FindByName(assembly.GetManifestPath().GetStem()));
    if (assembly.GetCatalogPath().IsEmpty() && m_isVistaOrLater) {
        assembly.SetCatalogPath(m_catalogs.FindByComponent(assembly.GetComponentKey()));
    }
    FindFiles(assembly);
    if (!assembly.IsComplete()) {
        RecordAssembly(assembly.GetManifestPath(), EReason::AssemblyIncomplete,
                       assembly.GetIdentity());
        return;
    }
    COrvCreateAssembly* const added = output.Assemblies().AddItem(assembly.GetIdentity());
    RecordAssembly(assembly.GetManifestPath(),
                   added == nullptr ? EReason::SameItem : EReason::Created, assembly.GetIdentity());
    if (added == nullptr) {
        return;
    }
    // If the key is not a valid name, the files go to "Assemblies" itself.
    const CFilePathW folder(output.GetFolder(), CFilePathSegmentW(assembly.GetComponentKey()));
    // After a failed copy of the manifest the item is not valid, so nothing more is copied. A
    // failed copy of the catalog ends it too. Of the other files only the failed ones are left out.
    SOrvAssembly content;
    content.manifest = output.Copy(assembly.GetManifestPath(), folder);
    if (!content.manifest.IsEmpty()) {
        content.catalog = output.Copy(assembly.GetCatalogPath(), folder);
    }
    if (!content.catalog.IsEmpty()) {
        for (const auto& [name, path] : assembly.GetFiles()) {
            const CStrW source = output.Copy(path, folder);
            if (!source.IsEmpty()) {
                content.AddFile(source);
            }
        }
    }
    added->SetContent(std::move(content));
}

// A file is in the folder of its assembly, which has the name of the manifest.
void CAssemblyProcessor::RecordUnusedFiles() const {
    SortedTexts used;
    for (const auto& [name, manifest] : m_manifests) {
        used.insert(manifest.m_path.GetStem());
    }
    for (const auto& [folder, files] : m_files) {
        if (!used.contains(CFilePathW(folder).GetLastSegment().GetText())) {
            for (const auto& [name, path] : files) {
                RecordAssembly(path, EReason::AssemblyFileUnused);
            }
        }
    }
}

// Adds the captured files of its folder to the assembly.
void CAssemblyProcessor::FindFiles(CAssemblyInfo& assembly) const {
    const auto files = m_files.find(assembly.GetAssemblyFolder().ToPlainString());
    if (files != m_files.end()) {
        for (const auto& [name, path] : files->second) {
            assembly.AddMemberFile(path, true);
        }
    }
}
