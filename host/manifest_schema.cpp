#include "host/manifest_schema.h"

#include <algorithm>
#include <array>

#include "platform/machine.h"

namespace host {

namespace {

using enum EForm;

constexpr bool kRequired = true;
constexpr bool kOptional = false;

constexpr std::u16string_view kFlags = u"0 1";
constexpr std::u16string_view kArchitectures = u"x86 x64";

constexpr SAttributeRule kTarget[] = {{u"Target", kRequired, Path}};
constexpr SAttributeRule kDeletedFolder[] = {{u"Target", kRequired, Path},
                                             {u"Recursive", kRequired, OneOf, kFlags}};
constexpr SAttributeRule kFile[] = {{u"Target", kRequired, Path},
                                    {u"RelativeSource", kRequired, RelativePath}};
constexpr SAttributeRule kKey[] = {{u"Target", kRequired, Key},
                                   {u"Architecture", kOptional, OneOf, kArchitectures}};
constexpr SAttributeRule kDeletedKey[] = {{u"Target", kRequired, Key},
                                          {u"Architecture", kOptional, OneOf, kArchitectures},
                                          {u"Recursive", kRequired, OneOf, kFlags}};
constexpr SAttributeRule kValue[] = {
    {u"Target", kRequired, Key},
    {u"Architecture", kOptional, OneOf, kArchitectures},
    {u"Value", kOptional, Path},
    {u"Type", kOptional, OneOf,
     u"REG_NONE REG_SZ REG_EXPAND_SZ REG_BINARY REG_DWORD REG_DWORD_BIG_ENDIAN REG_LINK "
     u"REG_MULTI_SZ REG_RESOURCE_LIST REG_FULL_RESOURCE_DESCRIPTOR "
     u"REG_RESOURCE_REQUIREMENTS_LIST REG_QWORD"},
};
constexpr SAttributeRule kDeletedValue[] = {{u"Target", kRequired, Key},
                                            {u"Architecture", kOptional, OneOf, kArchitectures},
                                            {u"Value", kOptional, Path}};
constexpr SAttributeRule kShortcut[] = {
    {u"Target", kRequired, Path},           {u"ShortcutTarget", kRequired, Path},
    {u"Description", kOptional, Text},      {u"Arguments", kOptional, Path},
    {u"Hotkey", kOptional, Decimal},        {u"IconTarget", kOptional, Path},
    {u"IconIndex", kOptional, Signed},      {u"ShowCmd", kRequired, OneOf, u"1 3 7"},
    {u"WorkingDirectory", kOptional, Path}, {u"DataFlags", kRequired, Hex},
};
constexpr SAttributeRule kData[] = {
    {u"Signature", kRequired, OneOf,
     u"0xA0000006 0xA0000005 0xA0000001 0xA0000007 0xA0000002 0xA0000004 0xA0000009"}};
constexpr SAttributeRule kEnvVar[] = {{u"Variable", kRequired, Text},
                                      {u"User", kRequired, OneOf, kFlags},
                                      {u"Value", kRequired, Path},
                                      {u"InstallMode", kRequired, OneOf, u"0"}};
constexpr SAttributeRule kDeletedEnvVar[] = {{u"Variable", kRequired, Text},
                                             {u"User", kRequired, OneOf, kFlags}};
constexpr SAttributeRule kService[] = {
    {u"Name", kRequired, Text},
    {u"ServiceType", kRequired, OneOf, u"1 2 16 32 272 288"},
    {u"StartType", kRequired, OneOf, u"0 1 2 3 4"},
    {u"ErrorControl", kRequired, OneOf, u"0 1 2 3"},
    {u"DisplayName", kOptional, Text},
    {u"Description", kOptional, Text},
    {u"Binary", kRequired, Path},
    {u"Arguments", kOptional, Path},
    {u"LoadOrder", kOptional, Text},
    {u"Dependencies", kOptional, MultiString},
    {u"Username", kOptional, Text},
    {u"EncryptedPassword", kOptional, Bytes},
};
constexpr SAttributeRule kName[] = {{u"Name"}};
constexpr SAttributeRule kControl[] = {{u"Name", kRequired, Text},
                                       {u"Action", kRequired, Decimal},
                                       {u"Arguments", kOptional, MultiPath}};
constexpr SAttributeRule kAssembly[] = {
    {u"Id", kRequired, Text},
    {u"AssemblyType", kRequired, OneOf, kFlags},
    {u"ManifestRelativeSource", kRequired, RelativePath},
    {u"CatalogRelativeSource", kOptional, RelativePath},
    {u"Private", kOptional, Path},
};
constexpr SAttributeRule kMember[] = {{u"RelativeSource", kRequired, RelativePath}};
constexpr SAttributeRule kAction[] = {
    {u"ActionType", kRequired, OneOf, u"0 1 2"},  {u"Path", kOptional, Path},
    {u"RelativeSource", kOptional, RelativePath}, {u"Arguments", kOptional, Path},
    {u"ActionMode", kRequired, Decimal},          {u"Wait", kRequired, OneOf, kFlags},
};

// An item of a collection, which has any number of it.
constexpr SElementRule Item(std::u16string_view name, std::span<const SAttributeRule> attributes,
                            std::span<const SElementRule> children = {}, EForm form = None) {
    return {name, attributes, children, false, true, form, {}};
}

constexpr SElementRule kBlocks[] = {Item(u"Data", kData, {}, Bytes)};
constexpr SElementRule kMembers[] = {Item(u"File", kMember)};

constexpr SElementRule kFolderItem[] = {Item(u"Folder", kTarget)};
constexpr SElementRule kDeletedFolderItem[] = {Item(u"Folder", kDeletedFolder)};
constexpr SElementRule kFileItem[] = {Item(u"File", kFile)};
constexpr SElementRule kDeletedFileItem[] = {Item(u"File", kTarget)};
constexpr SElementRule kKeyItem[] = {Item(u"Key", kKey)};
constexpr SElementRule kDeletedKeyItem[] = {Item(u"Key", kDeletedKey)};
constexpr SElementRule kValueItem[] = {Item(u"Value", kValue, {}, AnyPath)};
constexpr SElementRule kDeletedValueItem[] = {Item(u"Value", kDeletedValue)};
constexpr SElementRule kShortcutItem[] = {Item(u"Shortcut", kShortcut, kBlocks)};
constexpr SElementRule kDeletedShortcutItem[] = {Item(u"Shortcut", kTarget)};
constexpr SElementRule kEnvVarItem[] = {Item(u"EnvVar", kEnvVar)};
constexpr SElementRule kDeletedEnvVarItem[] = {Item(u"EnvVar", kDeletedEnvVar)};
constexpr SElementRule kServiceItem[] = {Item(u"Service", kService)};
constexpr SElementRule kDeletedServiceItem[] = {Item(u"Service", kName)};
constexpr SElementRule kControlItem[] = {Item(u"Service", kControl)};
constexpr SElementRule kAssemblyItem[] = {Item(u"Assembly", kAssembly, kMembers)};
constexpr SElementRule kDeletedAssemblyItem[] = {Item(u"Assembly", kName)};
constexpr SElementRule kActionItem[] = {Item(u"Action", kAction, {}, AnyText)};

constexpr SElementRule kProperties[] = {
    {u"Name", {}, {}, kOptional, false, Text},
    {u"Version", {}, {}, kOptional, false, Signed},
    {u"Manufacturer", {}, {}, kOptional, false, Text},
    {u"Architecture", {}, {}, kOptional, false, OneOf, kArchitectures},
    {u"PerUserInstall", {}, {}, kRequired, false, OneOf, kFlags},
};

// The order is that of the manifest, in which the check looks for them.
constexpr SElementRule kParts[] = {
    {u"Properties", {}, kProperties, kRequired},
    {u"CreateFolders", {}, kFolderItem},
    {u"DeleteFolders", {}, kDeletedFolderItem},
    {u"CreateFiles", {}, kFileItem},
    {u"DeleteFiles", {}, kDeletedFileItem},
    {u"CreateKeys", {}, kKeyItem},
    {u"DeleteKeys", {}, kDeletedKeyItem},
    {u"CreateValues", {}, kValueItem},
    {u"DeleteValues", {}, kDeletedValueItem},
    {u"CreateShortcuts", {}, kShortcutItem},
    {u"DeleteShortcuts", {}, kDeletedShortcutItem},
    {u"CreateEnvVars", {}, kEnvVarItem},
    {u"DeleteEnvVars", {}, kDeletedEnvVarItem},
    {u"CreateServices", {}, kServiceItem},
    {u"DeleteServices", {}, kDeletedServiceItem},
    {u"ControlServices", {}, kControlItem},
    {u"CreateAssemblies", {}, kAssemblyItem},
    {u"DeleteAssemblies", {}, kDeletedAssemblyItem},
    {u"PreActions", {}, kActionItem},
    {u"PostActions", {}, kActionItem},
};

constexpr SAttributeRule kVersion[] = {{u"Version", kRequired, OneOf, u"1"}};
constexpr SElementRule kPackage = {u"Package", kVersion, kParts, kRequired};

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }
bool IsUpperHex(char16_t unit) { return IsDigit(unit) || (unit >= u'A' && unit <= u'F'); }
bool IsLowerHex(char16_t unit) { return IsDigit(unit) || (unit >= u'a' && unit <= u'f'); }

// The words are parted by one blank each. A text that is empty or has a blank is none of them.
bool IsOneOf(std::u16string_view text, std::u16string_view words) {
    while (!words.empty()) {
        const std::u16string_view word = words.substr(0, words.find(u' '));
        if (word == text) {
            return true;
        }
        words.remove_prefix(std::min(word.size() + 1, words.size()));
    }
    return false;
}

// Digits that begin with no zero, unless it is the only one.
bool IsNumber(std::u16string_view digits, bool (&isDigit)(char16_t)) {
    return !digits.empty() && (digits[0] != u'0' || digits.size() == 1) &&
           std::all_of(digits.begin(), digits.end(), isDigit);
}

// The escape that `text` begins with, after its first tilde: "~~", or four digits that are no NUL.
std::size_t EscapeSize(std::u16string_view text) {
    if (text.substr(0, 2) == u"~~") {
        return 2;
    }
    // The result is its size in units, or 0 when it is no escape.
    const std::u16string_view digits = text.substr(1, 4);
    const bool isEscape = digits.size() == 4 && digits != u"0000" &&
                          std::all_of(digits.begin(), digits.end(), IsLowerHex);
    return isEscape ? 5 : 0;
}

// What `text` begins with, a bar or a percent sign.
std::size_t TokenSize(std::u16string_view text, bool withFiles) {
    constexpr std::u16string_view kSid = u"%SID%";
    // The result is a size in units, or 0 for what is not allowed there.
    if (text.starts_with(u"||") || text.starts_with(u"|%")) {
        return 2;
    }
    if (text.starts_with(kSid)) {
        return kSid.size();
    }
    const std::size_t end = text.find(u'%', 1);
    if (!withFiles || text[0] != u'%' || end == text.npos ||
        !IsFileToken(text.substr(1, end - 1))) {
        return 0;
    }
    // A backslash follows each token of files, unless the text ends there.
    return end + 1 == text.size() || text[end + 1] == u'\\' ? end + 1 : 0;
}

// Which tokens a text may have: none, so that bars and percent signs are themselves; that of the
// user; or those of files too.
enum class ETokens : std::uint8_t { Plain, User, All };

bool IsText(std::u16string_view text, ETokens tokens) {
    while (!text.empty()) {
        // Each round takes a unit, an escape or a token off. Control characters and everything from
        // the surrogates on are always escaped.
        const char16_t unit = text[0];
        std::size_t size = unit >= 0x20 && unit < 0xD800 ? 1 : 0;
        if (unit == u'~') {
            size = EscapeSize(text);
        } else if (tokens != ETokens::Plain && (unit == u'|' || unit == u'%')) {
            size = TokenSize(text, tokens == ETokens::All);
        }
        if (size == 0) {
            return false;
        }
        text.remove_prefix(size);
    }
    return true;
}

// A hive, and below it what may have the token of the user, but none of files.
bool IsKey(std::u16string_view text) {
    const std::size_t end = std::min(text.find(u'\\'), text.size());
    return IsOneOf(text.substr(0, end), u"HKEY_LOCAL_MACHINE HKEY_CURRENT_USER HKEY_USERS") &&
           IsText(text.substr(end), ETokens::User);
}

}  // namespace

const SElementRule& GetManifestRule() { return kPackage; }

bool IsFileToken(std::u16string_view name) {
    const auto& folders = platform::kSpecialFolders;
    const auto& variables = platform::kEnvironmentVariables;
    return name == platform::kLocalAppDataLowName ||
           std::find(variables.begin(), variables.end(), name) != variables.end() ||
           std::any_of(folders.begin(), folders.end(),
                       [name](const auto& folder) { return name == folder.name; });
}

bool HasGoodEscapes(std::u16string_view text) {
    for (std::size_t at = text.find(u'~'); at != text.npos; at = text.find(u'~')) {
        text.remove_prefix(at);
        const std::size_t size = EscapeSize(text);
        if (size == 0) {
            return false;
        }
        text.remove_prefix(size);
    }
    return true;
}

bool HasForm(std::u16string_view text, EForm form, std::u16string_view words) {
    switch (form) {
        case None:
            return text.empty();
        case Text:
            return !text.empty() && IsText(text, ETokens::Plain);
        case AnyText:
            return IsText(text, ETokens::Plain);
        case Path:
            return !text.empty() && IsText(text, ETokens::All);
        case AnyPath:
            return IsText(text, ETokens::All);
        case RelativePath:
            return !text.empty() && IsText(text, ETokens::User);
        case Key:
            return IsKey(text);
        case MultiString:
            return text.ends_with(uR"(\0\0)") && IsText(text, ETokens::Plain);
        case MultiPath:
            return text.ends_with(uR"(\0\0)") && IsText(text, ETokens::All);
        case Decimal:
            return IsNumber(text, IsDigit);
        case Signed:
            return IsNumber(text.substr(text.starts_with(u'-') ? 1 : 0), IsDigit);
        case Hex:
            return text.starts_with(u"0x") && IsNumber(text.substr(2), IsUpperHex);
        case Bytes:
            return !text.empty() && text.size() % 2 == 0 &&
                   std::all_of(text.begin(), text.end(), IsUpperHex);
        case OneOf:
            return IsOneOf(text, words);
    }
    return false;
}

}  // namespace host
