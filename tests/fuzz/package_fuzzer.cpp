// Has the library read a manifest and save what it has read. The program reads that without a
// complaint and counts the same items, and reading and saving it again soon changes nothing more.
#include "fuzz/require.h"
#include "fuzz/text_input.h"
#include "host/manifest_items.h"
#include "orvpackage/elements.h"
#include "orvpackage/package_fixture.h"
#include "reporting/logger.h"

namespace {

// Ends an item of each kind. What is read of an item that never ends goes to the next of its kind.
std::string MakeEnds() {
    std::string ends = "<Package>";
    for (const auto& [collection, element] : kElements) {
        const std::string name(element.substr(1, element.find(' ') - 1));
        ends.append("<").append(collection).append("><").append(name).append("/></");
        ends.append(collection).append(">");
    }
    return ends + "</Package>";
}

struct SSaved {
    std::string bytes;
    std::size_t items = 0;  // as the package counts them
};

SSaved ReadAndSave(const CTempFolder& folder, std::string_view from, std::string_view to) {
    COrvPackage package;
    CLogger logger;
    package.SetLogger(&logger);
    Require(LoadManifest(CFilePathW(folder.Name(from)), package));
    package.SetManifestPath(CFilePathW(folder.Name(to)));
    Require(package.Save() == S_OK);
    SSaved saved{folder.ReadFile(to)};
    for (const SItemCount& items : package.GetSavedItems()) {
        saved.items += items.count;
    }
    return saved;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const CTempFolder folder;
    // Without folders, a user and variables: no text of the input has tokens of this machine.
    static const CTestMachine machine = CTestMachine().Sid(u"");
    static const std::u16string ends = folder.WriteFile("ends.orv", MakeEnds());
    folder.WriteFile("in.orv", "\xFF\xFE" + UnitBytes(u"<Package>" + TextOf(BytesOf(data, size))));
    const SSaved saved = ReadAndSave(folder, "in.orv", "first.orv");
    COrvPackage ignored;
    Require(LoadManifest(CFilePathW(ends), ignored));
    std::size_t items = 0;
    const std::string problem =
        host::ReadItems(folder.Path("first.orv"), [&items](const host::SItem& item) {
            Require(!item.hasBadEscape);
            items += item.collection == u"Properties" ? 0 : 1;
            return true;
        });
    Require(problem.empty() && saved.items == items);
    // An item that lacks something, or whose key is no path, is gone the next time, and after it
    // the collection.
    std::string before = saved.bytes;
    std::string after;
    for (int round = 0; (after = ReadAndSave(folder, "first.orv", "first.orv").bytes) != before;
         ++round) {
        Require(round < 3 && after.size() <= before.size());
        before = after;
    }
    return 0;
}
