// tests/orvpackage/elements.h - the elements of a manifest.
#pragma once

#include <string_view>
#include <utility>

// One element of each kind with all that it can have, in the order of the manifest. A text stands
// for "@" where it is written as it is, for "#" in a path, "$" in a relative path and "*" in a key.
inline constexpr std::pair<std::string_view, std::string_view> kElements[] = {
    {"CreateFolders", R"(<Folder Target="#" />)"},
    {"DeleteFolders", R"(<Folder Target="#" Recursive="1" />)"},
    {"CreateFiles", R"(<File Target="#" RelativeSource="x\~d800 5|%" />)"},
    {"DeleteFiles", R"(<File Target="#" />)"},
    {"CreateKeys", R"(<Key Target="HKEY_LOCAL_MACHINE\*" Architecture="x86" />)"},
    {"DeleteKeys", R"(<Key Target="HKEY_CURRENT_USER\*" Architecture="x86" Recursive="0" />)"},
    {"CreateValues",
     R"(<Value Target="HKEY_LOCAL_MACHINE\*" Architecture="x86" Value="*" Type="REG_SZ">#</Value>)"},
    {"CreateValues", R"(<Value Target="HKEY_LOCAL_MACHINE\*" Value="* 2" Type="REG_SZ"></Value>)"},
    {"CreateValues",
     R"(<Value Target="HKEY_LOCAL_MACHINE\*" Type="REG_MULTI_SZ">x\\y\0z\0\0</Value>)"},
    {"DeleteValues", R"(<Value Target="HKEY_LOCAL_MACHINE\*" Architecture="x86" Value="*" />)"},
    {"CreateShortcuts",
     R"(<Shortcut Target="#" ShortcutTarget="#" Description="@" Arguments="#" Hotkey="839" )"
     R"(IconTarget="#" IconIndex="3" ShowCmd="7" WorkingDirectory="#" DataFlags="0x2AB">)"
     R"(<Data Signature="0xA0000006">05000000AB</Data>)"
     R"(<Data Signature="0xA0000009">0500000001</Data></Shortcut>)"},
    {"DeleteShortcuts", R"(<Shortcut Target="#" />)"},
    {"CreateEnvVars", R"(<EnvVar Variable="@" User="1" Value="#" InstallMode="2" />)"},
    {"DeleteEnvVars", R"(<EnvVar Variable="@" User="0" />)"},
    {"CreateServices",
     R"(<Service Name="@" ServiceType="272" StartType="2" ErrorControl="3" DisplayName="@" )"
     R"(Description="@" Binary="#" Arguments="#" LoadOrder="@" Dependencies="+x\0y\0\0" )"
     R"(Username="@" EncryptedPassword="@" />)"},
    {"DeleteServices", R"(<Service Name="@" />)"},
    {"ControlServices", R"(<Service Name="@" Action="2" Arguments="x\0y\0\0" />)"},
    {"CreateAssemblies",
     R"(<Assembly Id="@" AssemblyType="1" ManifestRelativeSource="$" CatalogRelativeSource="$" )"
     R"(Private="#"><File RelativeSource="$" /></Assembly>)"},
    {"DeleteAssemblies", R"(<Assembly Name="@" />)"},
    {"PreActions",
     R"(<Action ActionType="0" Path="#" RelativeSource="$" Arguments="#" ActionMode="1" Wait="0" />)"},
    {"PostActions",
     R"(<Action ActionType="2" RelativeSource="$" Arguments="#" ActionMode="1" Wait="0">@</Action>)"},
};
