#include "host/item_columns.h"

#include <algorithm>

namespace host {

namespace {

using Text = std::u16string_view;
using enum EShow;

constexpr SItemColumn Fixed(Text name, EShow show, std::uint8_t width) {
    return {name, show, width, 0};
}
constexpr SItemColumn Shared(Text name, EShow show, std::uint8_t share) {
    return {name, show, 0, share};
}

constexpr SItemColumn kFlag = Fixed(u"Recursive", Words, 9);
constexpr SItemColumn kScope = Fixed(u"User", Words, 11);
constexpr SItemColumn kOthers = Shared(u"Others", Others, 1);

// The last column of each shares the room, because it also takes what has no column.
constexpr SItemColumn kUnknown[] = {Shared(u"Element", Element, 1), Shared(u"Others", Others, 4)};
constexpr SItemColumn kProperty[] = {Shared(u"Name", Element, 1),
                                     Shared(u"Text", EShow::Content, 4)};
constexpr SItemColumn kTarget[] = {{u"Target"}};
constexpr SItemColumn kDeletedFolder[] = {kFlag, {u"Target"}};
constexpr SItemColumn kFile[] = {{u"Target"}, {u"RelativeSource"}};
constexpr SItemColumn kKey[] = {{u"Target", Key}};
constexpr SItemColumn kDeletedKey[] = {kFlag, {u"Target", Key}};
constexpr SItemColumn kValue[] = {Shared(u"Target", Key, 4), Shared(u"Value", ValueName, 2),
                                  Fixed(u"Type", Plain, 13), Shared(u"Data", Data, 3)};
constexpr SItemColumn kDeletedValue[] = {Shared(u"Target", Key, 2), Shared(u"Value", ValueName, 1)};
constexpr SItemColumn kShortcut[] = {
    Shared(u"Target", Plain, 3), Shared(u"ShortcutTarget", Plain, 3), {u"Arguments"}, kOthers};
constexpr SItemColumn kEnvVar[] = {Shared(u"Variable", Plain, 1), kScope,
                                   Fixed(u"InstallMode", Plain, 11), Shared(u"Value", Plain, 3)};
constexpr SItemColumn kDeletedEnvVar[] = {kScope, {u"Variable"}};
constexpr SItemColumn kService[] = {
    Shared(u"Name", Plain, 2),   Fixed(u"ServiceType", Words, 16), Fixed(u"StartType", Words, 13),
    Shared(u"Binary", Plain, 3), Shared(u"Others", Others, 2),
};
constexpr SItemColumn kName[] = {{u"Name"}};
constexpr SItemColumn kControl[] = {{u"Name"}, Fixed(u"Action", Plain, 6), {u"Arguments", List}};
constexpr SItemColumn kAssembly[] = {Shared(u"Id", Plain, 3), Fixed(u"AssemblyType", Words, 16),
                                     Shared(u"ManifestRelativeSource", Plain, 3),
                                     Shared(u"Others", Others, 2)};
constexpr SItemColumn kAction[] = {
    Fixed(u"ActionType", Words, 10), {u"Path"}, {u"RelativeSource"}, {u"Arguments"}, kOthers};

constexpr SItemColumns kRows[] = {
    {u"Properties", u"", kProperty},
    {u"CreateFolders", u"Folder", kTarget},
    {u"DeleteFolders", u"Folder", kDeletedFolder},
    {u"CreateFiles", u"File", kFile},
    {u"DeleteFiles", u"File", kTarget},
    {u"CreateKeys", u"Key", kKey},
    {u"DeleteKeys", u"Key", kDeletedKey},
    {u"CreateValues", u"Value", kValue},
    {u"DeleteValues", u"Value", kDeletedValue},
    {u"CreateShortcuts", u"Shortcut", kShortcut},
    {u"DeleteShortcuts", u"Shortcut", kTarget},
    {u"CreateEnvVars", u"EnvVar", kEnvVar},
    {u"DeleteEnvVars", u"EnvVar", kDeletedEnvVar},
    {u"CreateServices", u"Service", kService},
    {u"DeleteServices", u"Service", kName},
    {u"ControlServices", u"Service", kControl},
    {u"CreateAssemblies", u"Assembly", kAssembly},
    {u"DeleteAssemblies", u"Assembly", kName},
    {u"PreActions", u"Action", kAction},
    {u"PostActions", u"Action", kAction},
    {u"", u"", kUnknown},
};

struct SWord {
    Text attribute;
    Text number;
    Text word;
};

constexpr SWord kWords[] = {
    {u"Recursive", u"0", u"no"},
    {u"Recursive", u"1", u"yes"},
    {u"Wait", u"0", u"no"},
    {u"Wait", u"1", u"yes"},
    {u"User", u"0", u"machine"},
    {u"User", u"1", u"user"},
    {u"ShowCmd", u"1", u"normal"},
    {u"ShowCmd", u"3", u"maximised"},
    {u"ShowCmd", u"7", u"minimised"},
    {u"ServiceType", u"1", u"kernel driver"},
    {u"ServiceType", u"2", u"file system driver"},
    {u"ServiceType", u"16", u"own process"},
    {u"ServiceType", u"32", u"shared process"},
    {u"ServiceType", u"272", u"own process, interactive"},
    {u"ServiceType", u"288", u"shared process, interactive"},
    {u"StartType", u"0", u"boot"},
    {u"StartType", u"1", u"system"},
    {u"StartType", u"2", u"automatic"},
    {u"StartType", u"3", u"manual"},
    {u"StartType", u"4", u"disabled"},
    {u"ErrorControl", u"0", u"ignore"},
    {u"ErrorControl", u"1", u"normal"},
    {u"ErrorControl", u"2", u"severe"},
    {u"ErrorControl", u"3", u"critical"},
    {u"AssemblyType", u"0", u"side by side"},
    {u"AssemblyType", u"1", u"global"},
    {u"ActionType", u"0", u"path"},
    {u"ActionType", u"1", u"path"},
    {u"ActionType", u"2", u"script"},
};

}  // namespace

const SItemColumns& FindItemColumns(Text collection) {
    const auto* const found = std::ranges::find(kRows, collection, &SItemColumns::collection);
    return found == std::end(kRows) ? *std::prev(found) : *found;
}

Text FindWord(Text attribute, Text number) {
    const auto* const found = std::ranges::find_if(kWords, [&](const SWord& row) {
        return row.attribute == attribute && row.number == number;
    });
    return found == std::end(kWords) ? Text() : found->word;
}

}  // namespace host
