// orvpackage/assembly_collections.h - assemblies to install with all their files, and to remove.
#pragma once

#include <cstdint>

#include "foundation/sorted_texts.h"
#include "orvpackage/named_items.h"

// An assembly to install. All sources are payload paths, relative to the folder of the manifest.
struct SOrvAssembly {
    CStrW id;                // its identity text
    std::uint32_t type = 0;  // 1 for an assembly of the global cache
    CStrW manifest;
    CStrW catalog;
    CStrW privateFolder;  // of a private assembly
    SortedTexts files;    // with their tokens expanded

    // Adds a member file, with its tokens expanded. Of two that differ only in letter case, the
    // first stays.
    void AddFile(CStrW file);

    [[nodiscard]] static SAttributes<SOrvAssembly> GetAttributes();
    [[nodiscard]] bool IsValid() const { return !id.IsEmpty() && !manifest.IsEmpty(); }
};

class COrvCreateAssembly : public COrvItemOf<&SOrvAssembly::id> {
public:
    using COrvItemOf::COrvItemOf;
    using COrvItemOf::SetContent;
};

class COrvDeleteAssembly : public COrvItemOf<&SOrvName::name> {
    using COrvItemOf::COrvItemOf;
};

class COrvCreateAssembliesCollection
    : public COrvCollectionOf<COrvCreateAssembly, OrvCreateAssemblies> {
public:
    using COrvCollectionOf::COrvCollectionOf;

protected:
    void WriteInside(CXmlWriter& writer, const SOrvAssembly& assembly) const override;
    bool ReadChild(std::u16string_view child, CXmlReader& reader) override;
};

// What is "Id" above is "Name" here.
using COrvDeleteAssembliesCollection = COrvCollectionOf<COrvDeleteAssembly, OrvDeleteAssemblies>;
