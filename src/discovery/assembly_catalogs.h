// discovery/assembly_catalogs.h - the captured catalogs, and how an assembly finds its own.
#pragma once

#include <map>
#include <string_view>

#include "foundation/file_path.h"
#include "foundation/reg_path.h"
#include "foundation/sorted_texts.h"

// A captured catalog.
struct CCatalogInfo {
    CFilePathW m_path;
    CStrW m_valueName;  // that the component registry knows it by; empty when it does not
};

// The catalogs of a capture and the registry that ties them to components. An older system names a
// catalog after its manifest; a newer one names it by a value of the component registry, which
// stands in the key of the catalog and in those of its components. Each record stands once,
// whatever its letter case. One thread at a time.
class CAssemblyCatalogs {
public:
    void AddFile(const CFilePathW& path);
    void AddValue(const CRegPathW& key, const CStrW& name);

    // Makes what was added known to the look-ups; the value names only when asked for.
    void Index(bool withValueNames);

    // The catalog of a manifest, by its name less the extension, or of a component; an empty path
    // when there is none.
    [[nodiscard]] CFilePathW FindByName(const CStrW& stem) const;
    [[nodiscard]] CFilePathW FindByComponent(const CStrW& componentKey) const;

private:
    using Paths = std::map<CStrW, CFilePathW, STextLessNoCase>;

    [[nodiscard]] const SortedTexts* FindValues(const CRegPathW& key) const;
    void LoadValueName(CCatalogInfo& catalog) const;

    std::map<CStrW, CCatalogInfo, STextLessNoCase> m_catalogs;  // by their path
    std::map<CStrW, SortedTexts, STextLessNoCase> m_registry;   // names of values by their key
    Paths m_byStem;
    Paths m_byValueName;
};
