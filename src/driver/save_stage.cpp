#include <cstdint>
#include <unordered_set>

#include "driver/cas_to_orv_converter.h"
#include "foundation/file_system.h"
#include "orvpackage/action_collections.h"
#include "orvpackage/file_collections.h"
#include "reporting/record.h"

namespace {

// Tells of files that have a place in the payload which another file, a script or the manifest has
// too. Which of the two is there depends on their order. A place is known by its hash.
void RecordTakenPlaces(const COrvPackage& package) {
    // A path with a drive has a place of its own, so mostly there is nothing to compare.
    const auto& files = package.Get<COrvCreateFilesCollection>();
    bool hasRelative = false;
    for (COrvItemCItr<COrvCreateFile> file(files); !hasRelative && file.Get() != nullptr;
         file.Advance()) {
        hasRelative = !HasUnit(file.Get()->GetFolder().target.text, u':') &&
                      !HasUnit(file.Get()->GetNameInFolder(), u':');
    }
    if (!hasRelative) {
        return;
    }
    std::unordered_set<std::uint64_t> places{
        HashKeyText(package.GetManifestPath().GetFileName().GetText())};
    const auto addActions = [&places](const COrvActionsCollection& actions) {
        for (COrvItemCItr<COrvAction> action(actions); action.Get() != nullptr; action.Advance()) {
            places.insert(HashKeyText(action.Get()->GetContent().relativeSource));
        }
    };
    addActions(package.Get<COrvPreActionsCollection>());
    addActions(package.Get<COrvPostActionsCollection>());
    for (COrvItemCItr<COrvCreateFile> file(files); file.Get() != nullptr; file.Advance()) {
        const CStrW relativeSource = file.Get()->GetRelativeSource();
        if (!places.insert(HashKeyText(relativeSource)).second) {
            GetRecord().Add({.thing = EThing::File,
                             .reason = EReason::PlaceTaken,
                             .collection = u"CreateFiles",
                             .target = file.Get()->GetTarget(),
                             .detail = relativeSource});
        }
    }
}

}  // namespace

void CCasToOrvConverter::SaveTarget(COrvPackage& package, const CCasTarget& /*target*/,
                                    CProgressEvent& /*parent*/) {
    if (CRecord::IsOn()) {
        RecordTakenPlaces(package);
    }
    // Nothing is saved then, but the record still tells of items that the manifest would leave out.
    if (IsCheckOnly()) {
        for (std::size_t type = 0; type < kOrvCollections; ++type) {
            package.GetCollection(static_cast<EOrvCollection>(type)).CheckItems();
        }
        return;
    }
    // The log does not tell of a manifest that cannot be saved: callers see that it is missing or
    // old.
    static_cast<void>(DeleteFileForce(package.GetManifestPath()));
    static_cast<void>(CreateDirectoryChain(package.GetFolder()));
    if (const int status = package.Save(); status < 0) {
        GetRecord().Add({.thing = EThing::Manifest,
                         .reason = EReason::ManifestFailed,
                         .target = package.GetManifestPath().ToString().View(),
                         .status = status});
    }
}
