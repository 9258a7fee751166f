#include "casmodel/isolation_environment.h"
#include "driver/cas_to_orv_converter.h"
#include "reporting/logger.h"
#include "reporting/record.h"

// Checks only that the rules can be read: they have no effect on the package.
void CCasToOrvConverter::ProcessIsolationEnvironment(COrvPackage& /*package*/,
                                                     const CCasTarget& target,
                                                     CProgressEvent& /*parent*/) {
    const CFilePathW file(TargetFolder(target), CFilePathSegmentW(u"SandboxData.xml"));
    CCasIsolationEnvironment environment;
    const CStrW name = file.ToString();
    SRecordLine line{.thing = EThing::Rules, .reason = EReason::RulesWithoutEffect, .source = name};
    if (const int status = environment.ReadFromFile(file); status < 0) {
        GetLogger().LogStatus(status, ReadFailedText(name));
        line.reason = EReason::RulesUnread;
        line.status = status;
        line.isLogged = true;
    }
    GetRecord().Add(line);
}
