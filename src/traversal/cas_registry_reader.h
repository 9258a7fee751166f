// traversal/cas_registry_reader.h - mounts the captured hive of a target and has it walked.
#pragma once

#include "discovery/assembly_processor.h"
#include "discovery/service_processor.h"
#include "foundation/file_path.h"
#include "orvpackage/package.h"
#include "reporting/progress_event.h"

// Makes a hive readable under a fixed name below HKEY_LOCAL_MACHINE for the time of one call. There
// is one such name on a machine, so that of two conversions at the same moment one fails to mount
// its hive.
class CCasRegistryReader {
public:
    // All three are used, not owned. The progress is the parent of that of the walk.
    CCasRegistryReader(CAssemblyProcessor& assemblyProcessor, CServiceProcessor& serviceProcessor,
                       CProgressEvent& parentProgress);

    // Walks the hive into the package. Returns 0, or the Windows error number of mounting or
    // unmounting, which is logged. Throws ERROR_PRIVILEGE_NOT_HELD as a signed number when the
    // privileges that loading a hive takes cannot be had.
    int Read(COrvPackage& package, const CFilePathW& hiveFile, bool is64Bit);

private:
    int ReadMounted(COrvPackage& package, const CFilePathW& hiveFile, bool is64Bit);
    void Walk(COrvPackage& package, const CRegPathW& root, bool is64Bit);

    CAssemblyProcessor& m_assemblyProcessor;
    CServiceProcessor& m_serviceProcessor;
    CProgressEvent& m_parentProgress;
};
