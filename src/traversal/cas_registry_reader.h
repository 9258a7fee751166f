// traversal/cas_registry_reader.h - mounts the captured hive of a target and walks it.
#pragma once

#include "discovery/assembly_processor.h"
#include "discovery/service_processor.h"
#include "foundation/file_path.h"
#include "orvpackage/package.h"
#include "reporting/progress_event.h"

// Mounts a hive under a fixed name below HKEY_LOCAL_MACHINE for the time of one call. A machine has
// that name only once, so of two conversions at the same time one cannot mount its hive. One thread
// at a time.
class CCasRegistryReader {
public:
    // None is owned; all must outlive the reader. `parentProgress` is the parent of the walk's
    // progress.
    CCasRegistryReader(CAssemblyProcessor& assemblyProcessor, CServiceProcessor& serviceProcessor,
                       CProgressEvent& parentProgress);

    // Walks the hive and adds its items to the package. Returns 0, or the Windows error number of
    // mounting or unmounting, which is logged. Throws ERROR_PRIVILEGE_NOT_HELD as an int when the
    // process cannot get the privileges for loading a hive.
    int Read(COrvPackage& package, const CFilePathW& hiveFile, bool is64Bit);

private:
    int ReadMounted(COrvPackage& package, const CFilePathW& hiveFile, bool is64Bit);
    void Walk(COrvPackage& package, const CRegPathW& root, bool is64Bit);

    CAssemblyProcessor& m_assemblyProcessor;
    CServiceProcessor& m_serviceProcessor;
    CProgressEvent& m_parentProgress;
};
