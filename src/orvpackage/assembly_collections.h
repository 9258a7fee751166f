// orvpackage/assembly_collections.h - assemblies to install with all their files, and to remove.
#pragma once

#include <cstdint>

#include "foundation/sorted_texts.h"
#include "orvpackage/named_items.h"

// An assembly to install, known by its identity text. All sources are payload paths, relative to
// the folder of the manifest.
class COrvCreateAssembly : public COrvNamedItem {
public:
    explicit COrvCreateAssembly(const CStrW& id) : COrvNamedItem(id) {}

    // Needs a manifest.
    [[nodiscard]] bool IsValid() const override;

    // Take a text and expand its tokens.
    void SetManifestRelativeSource(const CStrW& text);
    void SetCatalogRelativeSource(const CStrW& text);
    void SetPrivate(const CStrW& text);
    // Adds a member file, with its tokens expanded; of two that differ in case alone, the first
    // stays.
    void AddFile(const CStrW& text);

    [[nodiscard]] const CStrW& GetManifestRelativeSource() const { return m_manifest; }
    [[nodiscard]] const CStrW& GetCatalogRelativeSource() const { return m_catalog; }
    [[nodiscard]] const SortedTexts& GetFiles() const { return m_files; }
    // The folder of a private assembly.
    [[nodiscard]] const CStrW& GetPrivate() const { return m_private; }

    std::uint32_t AssemblyType = 0;  // 1 for an assembly of the global cache

private:
    CStrW m_manifest;
    CStrW m_catalog;
    SortedTexts m_files;
    CStrW m_private;
};

class COrvDeleteAssembly : public COrvNamedItem {
public:
    explicit COrvDeleteAssembly(const CStrW& name) : COrvNamedItem(name) {}
};

class COrvCreateAssembliesCollection
    : public COrvCollectionOf<COrvNamedItemCollection, COrvCreateAssembly> {
public:
    static constexpr EOrvCollection kType = OrvCreateAssemblies;
    explicit COrvCreateAssembliesCollection(COrvPackage& package)
        : COrvCollectionOf(package, kType, u"Id") {}

protected:
    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override;
    void ReadAttribute(const CStrW& name, const CStrW& value) override;
    bool ReadChild(std::u16string_view child, CXmlReader& reader) override;
    bool FinishItem() override;
};

// What is "Id" above is "Name" here.
class COrvDeleteAssembliesCollection
    : public COrvCollectionOf<COrvNamedItemCollection, COrvDeleteAssembly> {
public:
    static constexpr EOrvCollection kType = OrvDeleteAssemblies;
    explicit COrvDeleteAssembliesCollection(COrvPackage& package)
        : COrvCollectionOf(package, kType, u"Name") {}
};
