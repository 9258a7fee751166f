// orvpackage/package.h - the output of a conversion: a manifest, and the payload beside it.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/file_path.h"
#include "orvpackage/collection.h"
#include "orvpackage/properties.h"
#include "orvpackage/sanitizer.h"
#include "reporting/record.h"

class CLogger;

// One package: its collections, its properties and the path of its manifest. It is filled by the
// stages of a conversion and saved once. Payload files are the business of whoever adds the items;
// their paths are relative to the folder of the manifest. Used by one thread at a time.
class COrvPackage {
public:
    COrvPackage();
    ~COrvPackage();
    COrvPackage(const COrvPackage&) = delete;
    COrvPackage& operator=(const COrvPackage&) = delete;

    void SetManifestPath(const CFilePathW& path);
    [[nodiscard]] const CFilePathW& GetManifestPath() const { return m_manifestPath; }
    [[nodiscard]] CFilePathW GetFolder() const { return m_manifestPath.GetParent(); }

    // The messages 6000, 6002 and 6003 go to this logger; without one they are not written. Not
    // owned.
    void SetLogger(CLogger* logger) { m_logger = logger; }
    [[nodiscard]] CLogger* GetLogger() const { return m_logger; }

    // The collection of a type, or of a class of collections.
    [[nodiscard]] COrvCollection& GetCollection(EOrvCollection type) const {
        return *m_collections[static_cast<std::size_t>(type)];
    }
    template <class TCollection>
    [[nodiscard]] TCollection& Get() const {
        return static_cast<TCollection&>(GetCollection(TCollection::kType));
    }
    [[nodiscard]] COrvPropertiesCollection& GetProperties() { return m_properties; }
    [[nodiscard]] const COrvPropertiesCollection& GetProperties() const { return m_properties; }
    [[nodiscard]] const COrvSanitizer& GetSanitizer() const { return m_sanitizer; }

    // Writes the manifest to a temporary file beside its place and moves it there. Returns S_FALSE
    // when nothing has changed, E_INVALIDARG without a path, the failure of opening the temporary
    // file (all stays as it was) or of the move (the old manifest is gone and the temporary file
    // remains), and otherwise 0. A failure while writing is not seen.
    int Save();
    // How many items the last Save wrote, by collection; only those that have some.
    [[nodiscard]] const std::vector<SItemCount>& GetSavedItems() const { return m_savedItems; }

private:
    template <class TCollection>
    void AddCollection();
    [[nodiscard]] bool IsDirty() const;
    void SetClean();
    [[nodiscard]] CFilePathW TemporaryPath() const;
    [[nodiscard]] int WriteManifest(const CFilePathW& path);

    CFilePathW m_manifestPath;
    bool m_isDirty = false;
    COrvPropertiesCollection m_properties;
    CLogger* m_logger = nullptr;
    COrvSanitizer m_sanitizer;
    std::uint32_t m_formatVersion = 1;
    std::array<std::unique_ptr<COrvCollection>, kOrvCollections> m_collections;
    std::vector<SItemCount> m_savedItems;
};
