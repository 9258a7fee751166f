#include "sample.h"

namespace {

constexpr std::string_view kGuid64 = "41B7A0C2-5E0D-4F6A-8D3B-0C9E7A126401";
constexpr std::string_view kGuid32 = "41B7A0C2-5E0D-4F6A-8D3B-0C9E7A123202";

constexpr std::string_view kPackageElements = R"(
<Guid>6D0F3C52-88A1-4E0B-9C7D-2B5A41E7F010</Guid>
<CreateTime>1767225600</CreateTime>
<ModifyTime>1769904000</ModifyTime>
<UserrootExecuteRestricted>1</UserrootExecuteRestricted>
<SupportLegacyClients>0</SupportLegacyClients>
<AsyncFontImport>1</AsyncFontImport>
<HashOfHashes>00112233445566778899aabbccddeeff00112233</HashOfHashes>
<HashOfHashes256>00112233445566778899aabbccddeeff00112233445566778899aabbccddeeff</HashOfHashes256>
<CreatePkgrVer>
<MajorUpper>2</MajorUpper><MajorLower>1</MajorLower><MinorUpper>0</MinorUpper><MinorLower>12</MinorLower>
</CreatePkgrVer>
<ModifyPkgrVer>
<MajorUpper>2</MajorUpper><MajorLower>3</MajorLower><MinorUpper>1</MinorUpper><MinorLower>3</MinorLower>
</ModifyPkgrVer>
<Version>4</Version>
<SubProfiles/>
)";

// The published applications, with their icons and file types.
constexpr std::string_view kPackageApplications = R"(
<Apps>
<App>
<Name>Planner</Name>
<Icons>
<Icon><Offset>0</Offset><Size>1406</Size><MultiImage>1</MultiImage><Default>1</Default></Icon>
<Icon><Offset>1406</Offset><Size>318</Size><MultiImage>0</MultiImage><Default>0</Default></Icon>
</Icons>
<Icons3><Icon><Id>1</Id></Icon></Icons3>
<FTAs>
<FTA>
<Name>Tarnbrook.Plan</Name>
<Description>Plan</Description>
<Executables><Executable>planner.exe</Executable></Executables>
<Extensions><Extension>.tbplan</Extension><Extension>.tbtemplate</Extension></Extensions>
<MimeTypes><MimeType>application/x-tarnbrook-plan</MimeType></MimeTypes>
</FTA>
</FTAs>
</App>
<App>
<Name>Planner Import</Name>
<Icons><Icon><Offset>1724</Offset><Size>318</Size><MultiImage>0</MultiImage><Default>1</Default></Icon></Icons>
<FTAs/>
</App>
</Apps>
)";

constexpr std::string_view kPackageConditions = R"(
<PreLaunchAnalysis>
<Enabled>1</Enabled>
<File>
<Path>%SystemRoot%\System32\msxml6.dll</Path><MinVersion>6.0</MinVersion><MaxVersion>6.99</MaxVersion>
</File>
<File>
<Path>%SystemRoot%\System32\spool\drivers\tbprint.dll</Path><MinVersion>2.0</MinVersion>
</File>
<Application>
<ID>{0C4E9B1F-3F55-4D0C-8A61-7E1D20B3A901}</ID><Name>Tarnbrook Runtime</Name>
<MinVersion>2.1</MinVersion><MaxVersion>3.0</MaxVersion>
</Application>
</PreLaunchAnalysis>
<DigitalSignature>
<Enabled>1</Enabled><SignatureType>2</SignatureType><ExpirationDate>47119.5</ExpirationDate>
</DigitalSignature>
)";

constexpr std::string_view kTargetElements = R"(
<CreateTime>1767229200</CreateTime>
<ModifyTime>1769907600</ModifyTime>
<CodePage>1252</CodePage>
<Size>262144</Size>
<CreatePkgrVer><MajorUpper>2</MajorUpper><MajorLower>3</MajorLower></CreatePkgrVer>
<ModifyPkgrVer><MajorUpper>2</MajorUpper><MajorLower>3</MajorLower></ModifyPkgrVer>
<UsePkgLevelScripts>1</UsePkgLevelScripts>
<UsePkgPreLaunchAnalysis>1</UsePkgPreLaunchAnalysis>
<BootDrive>C:</BootDrive>
<IsolationRevision>3</IsolationRevision>
<Languages>1033;1031;1036</Languages>
<PreLaunchAnalysis><Enabled>0</Enabled></PreLaunchAnalysis>
<OSes>
<OS><Enum>9</Enum><ServicePacks>0-2</ServicePacks></OS>
<OS><Enum>11</Enum><ServicePacks/></OS>
</OSes>
<Apps>
<App>
<Name>Planner</Name>
<InitialExe>planner.exe</InitialExe>
<InitialExeVirtual>C:\Program Files\Tarnbrook Works\Planner\planner.exe</InitialExeVirtual>
<WorkingDir>Planner</WorkingDir>
<WorkingDirVirtual>C:\Program Files\Tarnbrook Works\Planner</WorkingDirVirtual>
<CommandLine>/nologo</CommandLine>
<Version>4.2.0</Version>
<IEApp>0</IEApp>
<IsIE64>0</IsIE64>
<FTAs><FTA><Name>Tarnbrook.Plan</Name><Extensions><Extension>.tbplan</Extension></Extensions></FTA></FTAs>
</App>
</Apps>
)";

constexpr std::string_view kSyncService = R"(
<Name>TarnbrookSync</Name>
<DisplayName>Tarnbrook Planner Synchronisation</DisplayName>
<Description>Keeps plans that several people share up to date.</Description>
<AccountName>NT AUTHORITY\LocalService</AccountName>
<VirtualPath>"C:\Program Files\Tarnbrook Works\Planner\sync service.exe"</VirtualPath>
<Security>D:(A;;CCLCSWRPWPDTLOCRRC;;;SY)</Security>
<Type>16</Type><StartType>2</StartType><ErrorControl>1</ErrorControl>
<DeleteFlag>0</DeleteFlag><Mangled>0</Mangled>
<Dependencies><Dependency>RpcSs</Dependency></Dependencies>
)";

constexpr std::string_view kPrintService = R"(
<Name>TarnbrookPrint</Name>
<DisplayName>Tarnbrook Plotter Queue</DisplayName>
<AccountName>LocalSystem</AccountName>
<VirtualPath>C:\Windows\System32\tbprint.exe</VirtualPath>
<Type>272</Type><StartType>3</StartType><ErrorControl>0</ErrorControl>
)";

constexpr std::string_view kOldService = R"(
<Name>TarnbrookUpdater</Name>
<DeleteFlag>1</DeleteFlag>
)";

constexpr std::string_view kIsolationRules = R"(<?xml version="1.0" encoding="utf-8"?>
<CitrixAIE><AIE>
<Name>Planner</Name>
<Description>Rules under which Planner was captured</Description>
<Security>
<ExeSecurityMode><Enhanced>true</Enhanced></ExeSecurityMode>
<ExeControlList>
<ExeControl><ExePathName>C:\Program Files\Tarnbrook Works\Planner\planner.exe</ExePathName></ExeControl>
</ExeControlList>
</Security>
<NamedObjectDefaultRule><RuleType><IsolatePerUser/></RuleType></NamedObjectDefaultRule>
<RegistryDefaultRule>
<RuleType><IsolatePerUser/></RuleType>
<AccessFlags>
<UserExecute>true</UserExecute><InstallExecute>true</InstallExecute>
<PhysicalExecute>true</PhysicalExecute><InstallCopyOnWrite>true</InstallCopyOnWrite>
<PhysicalCopyOnWrite>false</PhysicalCopyOnWrite>
</AccessFlags>
<UserRootLocation>user layer</UserRootLocation>
<InstallRootLocation>installation layer</InstallRootLocation>
</RegistryDefaultRule>
<FileSystemDefaultRule>
<RuleType><StrictIsolation/></RuleType>
<Description>All drives</Description>
<VirtualizedName>*</VirtualizedName>
<PhysicalName>*</PhysicalName>
</FileSystemDefaultRule>
<Rules>
<Rule origin="System" type="File">
<RuleType><Ignore/></RuleType><VirtualizedName>%Temp%\*</VirtualizedName>
</Rule>
<Rule origin="User" type="Registry">
<RuleType><Redirect/></RuleType><Description>Shared settings</Description>
<VirtualizedName>HKEY_LOCAL_MACHINE\SOFTWARE\Tarnbrook Works</VirtualizedName>
</Rule>
</Rules>
<Applications/>
</AIE></CitrixAIE>
)";

// The numbers are those of two systems, a 64-bit one and a 32-bit one.
CTestTarget MakeTarget(std::string_view guid, bool is64Bit) {
    CTestTarget target(guid, "2");
    target
        .Elements(is64Bit ? "<Name>Planner, 64-bit</Name><CreateOS>9</CreateOS>"
                            "<Description>Windows 8 and later, 64-bit</Description>"
                          : "<Name>Planner, 32-bit</Name><CreateOS>8</CreateOS>"
                            "<Description>Windows 8 and later, 32-bit</Description>")
        .Elements(kTargetElements)
        .Service(kSyncService)
        .Service(kPrintService)
        .Service(kOldService)
        .Script("prepare.cmd", "@echo off\r\nif not exist \"%ProgramData%\" exit /b 1\r\n",
                "<Cmdline>/quiet</Cmdline><Prelaunch>1</Prelaunch><Isolated>1</Isolated>")
        .Script("register.cmd", "@echo off\r\nregsvr32 /s tbcore.dll\r\n",
                "<Prelaunch>0</Prelaunch><Isolated>1</Isolated>")
        .Script("unused.cmd", "@echo off\r\n", "<Disabled>1</Disabled>")
        .Hive(MakeHive(is64Bit).LoadableBytes())
        .Sandbox(kIsolationRules);
    AddFiles(target, is64Bit);
    return target;
}

}  // namespace

CTestPackage MakeSample() {
    return CTestPackage()
        .Elements(kPackageElements)
        .Elements(kPackageApplications)
        .Elements(kPackageConditions)
        .Target(MakeTarget(kGuid64, true))
        .Target(MakeTarget(kGuid32, false))
        .Script("prepare.cmd", "@echo off\r\nver\r\n", "<Prelaunch>1</Prelaunch>")
        .Script("clean up.vbs", "WScript.Quit 0\r\n", "<Cmdline>//B</Cmdline>");
}

std::string MakeMachine(std::string_view packageFolder) {
    std::string folder;
    for (const char c : packageFolder) {
        folder.append(c == '"' || c == '\\' ? "\\" : "").push_back(c);
    }
    return std::string(R"([system]
windows = '\\sample\planner\)") +
           std::string(kGuid64) + R"(_2\Device\C\Windows'

[shares]
'\\sample\planner' = ")" +
           folder + "\"\n";
}
