#include "discovery/assembly_catalogs.h"

#include <algorithm>

namespace {

// The component registry. Below the first key each catalog has a key, below the second one each
// component. A value of the same name in both connects the two.
constexpr const char16_t* kCatalogsKey = uR"(HKEY_LOCAL_MACHINE\COMPONENTS\CanonicalData\Catalogs)";
constexpr const char16_t* kComponentsKey =
    uR"(HKEY_LOCAL_MACHINE\COMPONENTS\DerivedData\Components)";
// A value whose name begins so names a catalog.
constexpr std::u16string_view kCatalogMark = u"c!";

template <class TPaths>
CFilePathW FindPath(const TPaths& paths, const CStrW& key) {
    const auto found = paths.find(key);
    return found == paths.end() ? CFilePathW() : found->second;
}

}  // namespace

void CAssemblyCatalogs::AddFile(const CFilePathW& path) {
    // Of two paths that differ only in case the last one counts.
    m_catalogs.insert_or_assign(path.ToString(), CCatalogInfo{path, {}});
}

void CAssemblyCatalogs::AddValue(const CRegPathW& key, const CStrW& name) {
    // By the long name of the hive, as in FindValues. Only the names count; the data is not read.
    m_registry[key.ToLongString()].insert(name);
}

void CAssemblyCatalogs::Index(bool withValueNames) {
    // Built anew, because each target may have added catalogs and values.
    m_byStem.clear();
    m_byValueName.clear();
    // If several catalogs have the same name, the first one in the order of paths wins.
    for (auto& [name, catalog] : m_catalogs) {
        m_byStem.try_emplace(catalog.m_path.GetStem(), catalog.m_path);
        if (withValueNames) {
            LoadValueName(catalog);
            m_byValueName.try_emplace(catalog.m_valueName, catalog.m_path);
        }
    }
}

void CAssemblyCatalogs::LoadValueName(CCatalogInfo& catalog) const {
    // A file ".cat" has no stem. Without this check the key above all catalogs would be asked.
    const CRegPathSegmentW stem(catalog.m_path.GetStem());
    const SortedTexts* const values =
        stem.IsEmpty() ? nullptr : FindValues(CRegPathW(CRegPathW(kCatalogsKey), stem));
    if (values == nullptr) {
        return;
    }
    const auto name = std::find_if(values->begin(), values->end(), [](const CStrW& value) {
        return value.StartsWithNoCase(kCatalogMark);
    });
    if (name != values->end()) {
        catalog.m_valueName = *name;
    }
}

const SortedTexts* CAssemblyCatalogs::FindValues(const CRegPathW& key) const {
    const auto found = m_registry.find(key.ToLongString());
    return found == m_registry.end() ? nullptr : &found->second;
}

CFilePathW CAssemblyCatalogs::FindByName(const CStrW& stem) const {
    return FindPath(m_byStem, stem);
}

CFilePathW CAssemblyCatalogs::FindByComponent(const CStrW& componentKey) const {
    const SortedTexts* const values =
        FindValues(CRegPathW(CRegPathW(kComponentsKey), CRegPathW(componentKey)));
    if (values != nullptr) {
        // The first value, in the order of names, that is also the name of a catalog.
        // The default value has an empty name, and so has a catalog without a value: these match
        // too.
        for (const CStrW& name : *values) {
            if (const auto found = m_byValueName.find(name); found != m_byValueName.end()) {
                return found->second;
            }
        }
    }
    return {};
}
