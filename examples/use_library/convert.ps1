# Lists the targets of a package and converts it, in a 64-bit PowerShell 3 or later:
#     powershell -ExecutionPolicy Bypass -File convert.ps1 PROFILE OUT.orv
# Run it elevated, or name a machine description by -Machine. Otherwise the library cannot load the
# captured hive, and ends the process.
param(
    [Parameter(Mandatory = $true)] [string] $CasFile,
    [Parameter(Mandatory = $true)] [string] $OrvFile,
    [string] $Machine,
    [string] $Library = "$PSScriptRoot\..\bin\OrvCasConv.dll"
)
$ErrorActionPreference = 'Stop'

# The library takes full paths with backslashes. PowerShell's current folder is not the process's.
function Get-FullPath([string] $path) {
    $ExecutionContext.SessionState.Path.GetUnresolvedProviderPathFromPSPath($path)
}

# The library looks there at each call.
if ($Machine) {
    $env:ORVCASCONV_MACHINE = Get-FullPath $Machine
}

# The texts of an enumeration stay the library's: nothing frees them. So they are pointers here.
# No log is asked for: its texts would come from the string table of PowerShell, which has others.
$import = "[DllImport(@""$(Get-FullPath $Library)"", CharSet = CharSet.Unicode, " +
    'ExactSpelling = true, CallingConvention = CallingConvention.Cdecl)] public static extern uint'
$native = Add-Type -PassThru -Namespace OrvCasConv -Name Native -MemberDefinition @"
$import CasToOrvW(string casFile, string orvFile, IntPtr logFile, out IntPtr targets,
                  out uint targetCount, IntPtr progress);
$import InitCasTargetInformation(string casFile, out IntPtr handle);
$import GetNextCasTargetInformation(IntPtr handle, out IntPtr guidText, out IntPtr name);
$import ReleaseCasTargetInformation(IntPtr handle);
"@
$marshal = [System.Runtime.InteropServices.Marshal]

$profilePath = Get-FullPath $CasFile
$output = Get-FullPath $OrvFile
$handle = [IntPtr]::Zero
$status = $native::InitCasTargetInformation($profilePath, [ref] $handle)
if ($status -ne 0) {
    throw "the package cannot be opened: status $status"
}
$guid = [IntPtr]::Zero
$name = [IntPtr]::Zero
while ($native::GetNextCasTargetInformation($handle, [ref] $guid, [ref] $name) -eq 0) {
    "$($marshal::PtrToStringUni($guid))`t$($marshal::PtrToStringUni($name))"
}
[void] $native::ReleaseCasTargetInformation($handle)

$targets = [IntPtr]::Zero
$count = [uint32] 0
$status = $native::CasToOrvW($profilePath, $output, [IntPtr]::Zero, [ref] $targets, [ref] $count,
                             [IntPtr]::Zero)
$marshal::FreeCoTaskMem($targets)
if ($status -ne 0) {
    throw "the conversion failed: status $status"
}
"$count targets were converted"
