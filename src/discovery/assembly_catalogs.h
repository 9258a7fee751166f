// discovery/assembly_catalogs.h - the captured catalogs, and how to find that of an assembly.
#pragma once

#include <map>
#include <string_view>

#include "foundation/file_path.h"
#include "foundation/reg_path.h"
#include "foundation/sorted_texts.h"

// A captured catalog.
struct CCatalogInfo {
    CFilePathW m_path;
    CStrW m_valueName;  // its name in the component registry; empty if it has none
};

// The captured catalogs, and the captured registry values that connect them with components.
// Windows before Vista names a catalog after its manifest. Later systems name it by a value of the
// component registry, which is in the key of the catalog and in the keys of its components. Paths
// and names are compared ignoring case. One thread at a time.
//
// INVARIANT: `m_byStem` and `m_byValueName` index what was added before the last call of Index.
// They make a look-up O(log n) in the number of catalogs.
class CAssemblyCatalogs {
public:
    void AddFile(const CFilePathW& path);
    void AddValue(const CRegPathW& key, const CStrW& name);

    // Builds the indexes for the look-ups below; that of value names only with `withValueNames`.
    void Index(bool withValueNames);

    // The catalog of a manifest, by its file name without extension, or of a component. An empty
    // path when there is none.
    [[nodiscard]] CFilePathW FindByName(const CStrW& stem) const;
    [[nodiscard]] CFilePathW FindByComponent(const CStrW& componentKey) const;

private:
    using Paths = std::map<CStrW, CFilePathW, STextLessNoCase>;

    [[nodiscard]] const SortedTexts* FindValues(const CRegPathW& key) const;
    void LoadValueName(CCatalogInfo& catalog) const;

    std::map<CStrW, CCatalogInfo, STextLessNoCase> m_catalogs;  // by path
    std::map<CStrW, SortedTexts, STextLessNoCase> m_registry;   // value names by key
    Paths m_byStem;
    Paths m_byValueName;
};
