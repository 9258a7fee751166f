// Feeds arbitrary bytes to the reader of machine descriptions. What it takes has the forms that the
// rest relies on, and reads back from its own text; what it refuses changes nothing.
#include "foundation/file_path.h"
#include "fuzz/require.h"
#include "fuzz/text_input.h"
#include "platform/described/machine_description.h"
#include "support/temp_folder.h"

using platform::SMachineDescription;

namespace {

void RequireForms(const SMachineDescription& description) {
    // What were no path for the conversion would be no folder, without a word.
    for (const auto& [name, path] : description.folders) {
        Require(!name.empty() && !CFilePathW(path).IsEmpty());
    }
    Require(description.windowsFolder.empty() || !CFilePathW(description.windowsFolder).IsEmpty());
    for (const auto& [name, value] : description.environment) {
        Require(!name.empty() && name.find(u'=') == name.npos);
    }
    for (const auto& [letter, folder] : description.drives) {
        Require(letter >= u'A' && letter <= u'Z' && folder.starts_with('/'));
    }
    for (const auto& [name, folder] : description.shares) {
        Require(CFilePathW(name).GetKind() == FilePathUnc && folder.starts_with('/'));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const CTempFolder folder;
    folder.WriteFile("machine.toml", BytesOf(data, size));
    SMachineDescription before;
    before.locale = u"unchanged";
    SMachineDescription description = before;
    std::u16string problem;
    if (!platform::ReadMachineDescription(folder.Path("machine.toml"), description, problem)) {
        Require(description == before && !problem.empty());
        return 0;
    }
    Require(problem.empty());
    RequireForms(description);
    folder.WriteFile("again.toml", platform::FormatMachineDescription(description));
    SMachineDescription again;
    Require(platform::ReadMachineDescription(folder.Path("again.toml"), again, problem));
    Require(again == description);
    return 0;
}
