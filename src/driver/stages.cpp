#include <memory>

#include "casmodel/isolation_environment.h"
#include "driver/cas_to_orv_converter.h"
#include "foundation/number_text.h"
#include "platform/com.h"
#include "platform/status.h"
#include "reporting/logger.h"
#include "traversal/cas_file_traverse_manager.h"

// A check that the rules can be read: none of them has an effect on the package.
int CCasToOrvConverter::ProcessIsolationEnvironment(COrvPackage& /*package*/,
                                                    const CCasTarget& target,
                                                    CProgressEvent& /*parent*/) {
    const CFilePathW file(TargetFolder(target), CFilePathSegmentW(u"SandboxData.xml"));
    CCasIsolationEnvironment environment;
    const int status = environment.ReadFromFile(file);
    if (status < 0) {
        GetLogger().LogStatus(status, ReadFailedText(file.ToString()));
    }
    return status;
}

int CCasToOrvConverter::ProcessProperties(COrvPackage& package, const CCasTarget& target,
                                          CProgressEvent& /*parent*/) {
    COrvPropertiesCollection& properties = package.GetProperties();
    properties.Name = m_package.GetName() + u'_' + CStrW(platform::GuidToText(target.Guid));
    properties.Version = IntToDecimal(static_cast<std::int32_t>(target.Ver));
    properties.Architecture = IsTarget64Bit(target) ? OrvArchitectureX64 : OrvArchitectureX86;
    properties.SetDirty(true);
    return ERROR_SUCCESS;
}

int CCasToOrvConverter::ProcessFiles(COrvPackage& package, const CCasTarget& target,
                                     CProgressEvent& parent) {
    CCasFileTraverseManager manager(m_assemblyProcessor, package);
    const CFilePathW device(TargetFolder(target), CFilePathSegmentW(u"Device"));
    manager.SetRoot(device);
    manager.AddRoot(device);
    manager.SetOutputs(m_outputFolder, m_outputNames);
    manager.SetProgress(std::make_unique<CProgressEvent>(manager.CountItems(), &parent));
    manager.Start();
    manager.Wait();
    return ERROR_SUCCESS;
}
