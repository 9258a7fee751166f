#include "platform/posix/machine_description.h"

namespace platform {

namespace {

SMachineDescription MakeBuiltInMachine() {
    SMachineDescription machine;
    machine.version = {10, 0, true};
    machine.locale = u"en-US";
    machine.windowsFolder = uR"(C:\Windows)";
    machine.userSid = u"S-1-5-21-1-2-3-1000";
    // Three rows have no folder here: the alternate start-up folder is only known for the sake of
    // old programs, the computers nearby are no folder of a file system, and neither links of a
    // manufacturer nor localized resources come with a plain English system.
    machine.folders = {
        {u"CSIDL_ADMINTOOLS",
         uR"(C:\Users\User\AppData\Roaming\Microsoft\Windows\Start Menu\Programs\Administrative Tools)"},
    };
    machine.environment = {
        {u"SystemDrive", u"C:"},
    };
    machine.drives = {{u'Z', "/"}};
    machine.volatileHives = {uR"(\REGISTRY\MACHINE\HARDWARE)"};
    return machine;
}

}  // namespace

const SMachineDescription& GetBuiltInMachine() {
    static const SMachineDescription machine = MakeBuiltInMachine();
    return machine;
}

}  // namespace platform
