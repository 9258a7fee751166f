#include <algorithm>

#include "platform/described/answers.h"
#include "platform/described/description_in_effect.h"
#include "platform/utf8.h"

namespace platform {

namespace {

// An empty text means that the machine does not give this answer.
bool Answer(const std::u16string& text, std::u16string& result) {
    if (text.empty()) {
        return false;
    }
    result = text;
    return true;
}

template <class TMap>
bool LookUp(const TMap& map, std::u16string_view name, std::u16string& result) {
    const auto found = map.find(name);
    if (found == map.end()) {
        return false;
    }
    result = found->second;
    return true;
}

// Asks the description anew for each answer and keeps nothing, so another description that comes
// into effect needs no notice here.
class CDescribedMachine final : public CMachineAnswers {
public:
    bool GetSpecialFolder(int csidl, std::u16string& path) const override {
        const auto row =
            std::find_if(kSpecialFolders.begin(), kSpecialFolders.end(),
                         [csidl](const SSpecialFolder& f) { return f.csidl == csidl; });
        return row != kSpecialFolders.end() &&
               LookUp(GetMachineDescription().folders, row->name, path);
    }
    bool GetLocalAppDataLow(std::u16string& path) const override {
        return LookUp(GetMachineDescription().folders, kLocalAppDataLowName, path);
    }
    bool GetWindowsFolder(std::u16string& path) const override {
        return Answer(GetMachineDescription().windowsFolder, path);
    }
    bool GetEnvironmentText(const char16_t* name, std::u16string& value) const override {
        return LookUp(GetMachineDescription().environment, name, value);
    }
    SSystemVersion GetSystemVersion() const override { return GetMachineDescription().version; }
    std::u16string GetLocaleName() const override { return GetMachineDescription().locale; }
    std::u16string GetUserSid() const override { return GetMachineDescription().userSid; }
    std::vector<std::u16string> GetVolatileHives() const override {
        return GetMachineDescription().volatileHives;
    }
};

}  // namespace

const CMachineAnswers& GetDescribedMachine() {
    static const CDescribedMachine s_machine;
    return s_machine;
}

const SAnswers& GetDescribedAnswers() {
    static const SAnswers s_answers = {GetDescribedMachine(), GetDescribedRegistry(),
                                       ReadDescribedLink, OpenDescribedStore, OpenDescribedXml};
    return s_answers;
}

std::string FormatMachineDescription(const SMachineDescription& description) {
    std::string toml = FormatAnswers(description) + "\n[drives]\n";
    for (const auto& [letter, folder] : description.drives) {
        toml += FormatRow(Utf16ToUtf8(std::u16string{letter, u':'}), folder);
    }
    toml += "\n[shares]\n";
    for (const auto& [root, folder] : description.shares) {
        toml += FormatRow(Utf16ToUtf8(root), folder);
    }
    return toml;
}

}  // namespace platform
