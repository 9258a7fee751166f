// orvpackage/file_collections.h - items that name a place in the file system.
#pragma once

#include "foundation/file_path.h"
#include "orvpackage/collection.h"

// An item known by a place: a concrete path, in which the tokens of the text given are expanded, so
// that a path with a token and its concrete form are one item.
class COrvTargetItem : public COrvItem {
public:
    [[nodiscard]] const CStrW& GetTarget() const { return m_target; }
    [[nodiscard]] CStrW GetName() const override { return m_target; }
    [[nodiscard]] bool IsValid() const override { return !m_target.IsEmpty(); }

protected:
    explicit COrvTargetItem(const CStrW& target);

private:
    struct SExpanded;
    explicit COrvTargetItem(SExpanded expanded);

    CStrW m_target;
};

class COrvCreateFolder : public COrvTargetItem {
public:
    explicit COrvCreateFolder(const CStrW& target) : COrvTargetItem(target) {}
};

class COrvDeleteFolder : public COrvTargetItem {
public:
    explicit COrvDeleteFolder(const CStrW& target) : COrvTargetItem(target) {}
    bool Recursive = false;
};

class COrvDeleteFile : public COrvTargetItem {
public:
    explicit COrvDeleteFile(const CStrW& target) : COrvTargetItem(target) {}
};

class COrvDeleteShortcut : public COrvTargetItem {
public:
    explicit COrvDeleteShortcut(const CStrW& target) : COrvTargetItem(target) {}
};

// A file with its payload copy, which lies below the folder of the manifest.
class COrvCreateFile : public COrvTargetItem {
public:
    explicit COrvCreateFile(const CStrW& target) : COrvTargetItem(target) {}

    [[nodiscard]] const CStrW& GetRelativeSource() const { return m_relativeSource; }
    // Takes the payload's path, and expands its tokens.
    void SetRelativeSource(const CStrW& text);
    void SetRelativeSource(const CFilePathW& path);
    // Needs a payload path that is relative.
    [[nodiscard]] bool IsValid() const override;

private:
    CStrW m_relativeSource;
    bool m_isRelative = false;
};

// A collection whose items' elements hold a "Target" and little else.
class COrvTargetCollection : public COrvCollection {
protected:
    using COrvCollection::COrvCollection;

    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override;
    void ReadAttribute(const CStrW& name, const CStrW& value) override;
    // The target read of the element that ends; forgets it.
    [[nodiscard]] CStrW TakeReadName();
};

class COrvCreateFoldersCollection
    : public COrvCollectionOf<COrvTargetCollection, COrvCreateFolder> {
public:
    static constexpr EOrvCollection kType = OrvCreateFolders;
    explicit COrvCreateFoldersCollection(COrvPackage& package) : COrvCollectionOf(package, kType) {}
};

class COrvDeleteFoldersCollection
    : public COrvCollectionOf<COrvTargetCollection, COrvDeleteFolder> {
public:
    static constexpr EOrvCollection kType = OrvDeleteFolders;
    explicit COrvDeleteFoldersCollection(COrvPackage& package) : COrvCollectionOf(package, kType) {}

protected:
    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override;
    void ReadAttribute(const CStrW& name, const CStrW& value) override;
    bool FinishItem() override;
};

class COrvCreateFilesCollection : public COrvTargetCollection {
public:
    static constexpr EOrvCollection kType = OrvCreateFiles;
    explicit COrvCreateFilesCollection(COrvPackage& package)
        : COrvTargetCollection(package, kType) {}

    // Adds a file and lends the item. Null for a double, whose payload copy is then deleted, unless
    // it is the target itself.
    COrvCreateFile* AddFile(const CFilePathW& target, const CFilePathW& relativeSource);

protected:
    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override;
    void ReadAttribute(const CStrW& name, const CStrW& value) override;
    bool FinishItem() override;
};

class COrvDeleteFilesCollection : public COrvCollectionOf<COrvTargetCollection, COrvDeleteFile> {
public:
    static constexpr EOrvCollection kType = OrvDeleteFiles;
    explicit COrvDeleteFilesCollection(COrvPackage& package) : COrvCollectionOf(package, kType) {}
};

class COrvDeleteShortcutsCollection
    : public COrvCollectionOf<COrvTargetCollection, COrvDeleteShortcut> {
public:
    static constexpr EOrvCollection kType = OrvDeleteShortcuts;
    explicit COrvDeleteShortcutsCollection(COrvPackage& package)
        : COrvCollectionOf(package, kType) {}
};
