#include <span>
#include <unordered_map>
#include <vector>

#include "formats/assembly/managed_assembly.h"
#include "platform/described/answers.h"
#include "platform/files.h"
#include "platform/input_file.h"
#include "platform/status.h"
#include "platform/text.h"
#include "platform/xml.h"

namespace platform {

namespace {

constexpr std::u16string_view kManifestExtension = u".manifest";
constexpr std::u16string_view kNone = u"none";
// Units. Longer names and languages are shortened in the middle.
constexpr std::size_t kMaxName = 40;
constexpr std::size_t kMaxLanguage = 8;

// The components of a store by their keys. A key is the name up to its hash, in lower case. Names
// that were shortened to the same text differ only in the hash, which depends on the whole identity
// in a way that is not documented. So one key may have several components.
using Components = std::unordered_map<std::u16string, std::vector<std::u16string>>;

// The parts of an identity such as `Name,version="1.0.0.0",language="en"`, borrowed from its text.
struct SIdentity {
    std::u16string_view name;
    std::u16string_view version;
    std::u16string_view language;
    std::u16string_view publicKeyToken;
    std::u16string_view processorArchitecture;
};

// Empty for an attribute that is missing. The comma is part of the search, so the end of a longer
// name is not taken for `name`. A value ends at the next quote.
std::u16string_view AttributeOf(std::u16string_view identity, std::u16string_view name) {
    const std::u16string start = u',' + std::u16string(name) + u"=\"";
    const std::size_t found = identity.find(start);
    if (found == std::u16string_view::npos) {
        return {};
    }
    identity.remove_prefix(found + start.size());
    return identity.substr(0, identity.find(u'"'));
}

SIdentity ReadIdentity(std::u16string_view text) {
    return {text.substr(0, text.find(u',')), AttributeOf(text, u"version"),
            AttributeOf(text, u"language"), AttributeOf(text, u"publicKeyToken"),
            AttributeOf(text, u"processorArchitecture")};
}

std::u16string Folded(std::u16string_view text) {
    std::u16string folded(text);
    FoldText(folded.data(), folded.size());
    return folded;
}

// A part of an identity as it is in the names of a store, with only letters, digits and ".-_".
std::u16string KeyPart(std::u16string_view text, std::u16string_view missing) {
    std::u16string part;
    for (const char16_t unit : Folded(text.empty() ? missing : text)) {
        const bool isAlphanumeric =
            (unit >= u'0' && unit <= u'9') || (unit >= u'a' && unit <= u'z');
        if (isAlphanumeric || unit == u'.' || unit == u'-' || unit == u'_') {
            part += unit;
        }
    }
    return part;
}

// Keeps equal parts of both ends with two dots between them, `limit` units in all. `limit` is even.
std::u16string Shortened(const std::u16string& text, std::size_t limit) {
    const std::size_t kept = limit / 2 - 1;
    return text.size() <= limit ? text
                                : text.substr(0, kept) + u".." + text.substr(text.size() - kept);
}

// "neutral" means no language.
std::u16string_view LanguageOf(std::u16string_view language) {
    return language == u"neutral" ? std::u16string_view() : language;
}

// The order of the parts is that of the names in a store: architecture, name, token of the public
// key, version, language. A hash comes last, which is no part of a key.
std::u16string JoinKey(const SIdentity& identity, std::u16string_view name,
                       std::u16string_view language) {
    return KeyPart(identity.processorArchitecture, kNone)
        .append(u"_")
        .append(name)
        .append(u"_")
        .append(KeyPart(identity.publicKeyToken, kNone))
        .append(u"_")
        .append(KeyPart(identity.version, kNone))
        .append(u"_")
        .append(language);
}

std::u16string MakeKey(const SIdentity& identity) {
    return JoinKey(identity, Shortened(KeyPart(identity.name, kNone), kMaxName),
                   Shortened(KeyPart(LanguageOf(identity.language), kNone), kMaxLanguage));
}

// The form of the stores of Windows 5, such as XP: nothing is shortened.
std::u16string MakeOldKey(const SIdentity& identity) {
    return JoinKey(identity, KeyPart(identity.name, kNone),
                   KeyPart(LanguageOf(identity.language), u"x-ww"));
}

// Enters the subfolders of a folder, or with an extension its files that have it. A folder that
// cannot be listed has none. Each folder of a store is listed once, however many assemblies are
// looked up in it: real ones have many thousands of entries.
void Index(const std::u16string& folder, std::u16string_view extension, Components& components) {
    CFindHandle search;
    SFindData found;
    int status = search.First((folder + uR"(\*)").c_str(), found);
    for (; status == ERROR_SUCCESS; status = search.Next(found)) {
        std::u16string key = Folded(found.name);
        if (found.IsFolder() != extension.empty() || !key.ends_with(extension)) {
            continue;
        }
        found.name.resize(found.name.size() - extension.size());
        // A name without "_" has no hash, so it is no component.
        const std::size_t hash = key.rfind(u'_');
        if (hash != std::u16string::npos) {
            key.resize(hash);
            components[key].push_back(found.name);
        }
    }
}

// Whether a manifest of the store is that of an identity. Only the parts that are shortened are
// compared, because the key has shown that the others are the same.
bool IsManifestOf(const std::u16string& file, const SIdentity& identity) {
    CXmlInput input;
    EXmlNode node = EXmlNode::None;
    if (input.Open(file.c_str()) != S_OK) {
        return false;
    }
    while (input.Read(node) == S_OK) {
        if (node != EXmlNode::Element || input.GetLocalName() != u"assemblyIdentity") {
            continue;
        }
        // The first of these elements is the assembly's own; later ones name what it needs.
        bool isSame = true;
        for (int status = input.MoveToFirstAttribute(); status == S_OK;
             status = input.MoveToNextAttribute()) {
            if (input.GetLocalName() == u"name") {
                isSame = isSame && Folded(input.GetValue()) == Folded(identity.name);
            } else if (input.GetLocalName() == u"language") {
                isSame = isSame && Folded(LanguageOf(input.GetValue())) ==
                                       Folded(LanguageOf(identity.language));
            }
        }
        return isSame;
    }
    return false;
}

// INVARIANT: after Open the two tables do not change. Assemblies that are added to the store later
// are not found, but each conversion opens a store of its own.
class CDescribedStore final : public CAssemblyStore {
public:
    // False when the machine has none.
    [[nodiscard]] bool Open();
    bool FindAssembly(std::u16string_view identity, std::u16string& place) const override;
    bool IsManagedAssembly(const char16_t* name) const override;

private:
    [[nodiscard]] const std::u16string* Find(const Components& components,
                                             const SIdentity& identity) const;
    [[nodiscard]] std::u16string ManifestOf(const std::u16string& component) const {
        return (m_manifestFolder + u'\\' + component).append(kManifestExtension);
    }

    std::u16string m_folder;
    std::u16string m_manifestFolder;
    Components m_folders;
    Components m_manifests;
};

bool CDescribedStore::Open() {
    if (!GetDescribedMachine().GetWindowsFolder(m_folder)) {
        return false;
    }
    m_folder += uR"(\WinSxS)";
    SFindData found;
    if (FindEntry(m_folder.c_str(), found) != ERROR_SUCCESS || !found.IsFolder()) {
        return false;
    }
    m_manifestFolder = m_folder + uR"(\Manifests)";
    Index(m_folder, {}, m_folders);
    Index(m_manifestFolder, kManifestExtension, m_manifests);
    return true;
}

// The name of an identity's component; null when there is none. If several fit and no manifest
// decides between them, the first is taken.
const std::u16string* CDescribedStore::Find(const Components& components,
                                            const SIdentity& identity) const {
    auto found = components.find(MakeKey(identity));
    if (found == components.end()) {
        found = components.find(MakeOldKey(identity));
    }
    if (found == components.end()) {
        return nullptr;
    }
    const std::vector<std::u16string>& names = found->second;
    // A single name needs no manifest, which saves reading it.
    for (std::size_t i = 0; names.size() > 1 && i < names.size(); ++i) {
        if (IsManifestOf(ManifestOf(names[i]), identity)) {
            return &names[i];
        }
    }
    return &names.front();
}

// A folder has the files; a policy has only a manifest.
bool CDescribedStore::FindAssembly(std::u16string_view identity, std::u16string& place) const {
    const SIdentity parts = ReadIdentity(identity);
    if (const std::u16string* const name = Find(m_folders, parts)) {
        place = m_folder + u'\\' + *name;
        return true;
    }
    if (const std::u16string* const name = Find(m_manifests, parts)) {
        place = ManifestOf(*name);
        return true;
    }
    return false;
}

// The reader asks for parts of the file, so a large one is not read as a whole.
bool CDescribedStore::IsManagedAssembly(const char16_t* name) const {
    CInputFile file;
    return file.Open(name) == ERROR_SUCCESS &&
           formats::HoldsManagedAssembly([&file](std::uint64_t offset, std::span<std::byte> bytes) {
               std::size_t count = 0;
               static_cast<void>(file.Read(offset, bytes, count));  // what there is counts
               return count;
           });
}

}  // namespace

std::unique_ptr<CAssemblyStore> OpenDescribedStore() {
    auto store = std::make_unique<CDescribedStore>();
    return store->Open() ? std::move(store) : nullptr;
}

}  // namespace platform
