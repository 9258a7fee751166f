// orvpackage/file_collections.h - items that name a place in the file system.
#pragma once

#include <utility>

#include "foundation/file_path.h"
#include "orvpackage/content_items.h"

// A place, and nothing else.
struct SOrvTarget {
    CStrW target;

    [[nodiscard]] static SAttributes<SOrvTarget> GetAttributes();
    [[nodiscard]] bool IsValid() const { return !target.IsEmpty(); }
};

struct SOrvDeletedFolder {
    CStrW target;
    bool recursive = false;  // the default for keys is true (COrvDeleteKey)

    [[nodiscard]] static SAttributes<SOrvDeletedFolder> GetAttributes();
    [[nodiscard]] bool IsValid() const { return !target.IsEmpty(); }
};

// A file with its payload copy, which lies below the folder of the manifest.
struct SOrvFile {
    CStrW target;
    CStrW relativeSource;

    [[nodiscard]] static SAttributes<SOrvFile> GetAttributes();
    // An item also needs that the source is relative.
    [[nodiscard]] bool IsValid() const { return !target.IsEmpty(); }
};

class COrvCreateFolder : public COrvItemOf<&SOrvTarget::target> {
    using COrvItemOf::COrvItemOf;
};

class COrvDeleteFolder : public COrvItemOf<&SOrvDeletedFolder::target> {
    using COrvItemOf::COrvItemOf;
};

class COrvDeleteFile : public COrvItemOf<&SOrvTarget::target> {
    using COrvItemOf::COrvItemOf;
};

class COrvDeleteShortcut : public COrvItemOf<&SOrvTarget::target> {
    using COrvItemOf::COrvItemOf;
};

class COrvCreateFile : public COrvItemOf<&SOrvFile::target> {
public:
    explicit COrvCreateFile(SOrvFile content);
    // The same where it is known whether the relative source, expanded, is a relative path.
    COrvCreateFile(SOrvFile content, bool isRelative);
    // The same without a percent sign in its texts, so that there is nothing to expand.
    struct SPlain {
        explicit SPlain(SOrvFile&& from) : content(std::move(from)) {}
        SOrvFile content;
    };
    COrvCreateFile(SPlain plain, bool isRelative);

    [[nodiscard]] bool IsValid() const override;

private:
    bool m_isRelative;
};

using COrvCreateFoldersCollection = COrvCollectionOf<COrvCreateFolder, OrvCreateFolders>;

using COrvDeleteFoldersCollection = COrvCollectionOf<COrvDeleteFolder, OrvDeleteFolders>;

class COrvCreateFilesCollection : public COrvCollectionOf<COrvCreateFile, OrvCreateFiles> {
public:
    using COrvCollectionOf::COrvCollectionOf;

    // Adds a file and lends the item. Null for a double, whose payload copy is then deleted, unless
    // it is the target itself.
    COrvCreateFile* AddFile(const CFilePathW& target, const CFilePathW& relativeSource);
    // The same by texts. `sourceKind` is the kind of the relative source. `isPlain` tells that
    // neither has a percent sign.
    COrvCreateFile* AddFile(SOrvFile content, EFilePathKind sourceKind, bool isPlain);
};

using COrvDeleteFilesCollection = COrvCollectionOf<COrvDeleteFile, OrvDeleteFiles>;

using COrvDeleteShortcutsCollection = COrvCollectionOf<COrvDeleteShortcut, OrvDeleteShortcuts>;
