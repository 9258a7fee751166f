// driver/cas_to_orv_converter.h - one conversion: every target of a package passes ten stages.
#pragma once

#include <cstdint>

#include "casmodel/package.h"
#include "discovery/assembly_processor.h"
#include "discovery/service_processor.h"
#include "foundation/file_path.h"
#include "foundation/sorted_texts.h"
#include "orvcasconv/orvcasconv.h"
#include "orvpackage/package.h"
#include "reporting/progress_event.h"

// Converts one package, once. A failure within a stage is logged by the stage, and the next stage
// runs with what there is. So the status of a conversion only says whether the package could be
// opened and every target was processed. Data that the processors collect for one target stays for
// the next ones. One thread at a time; the walks run on threads of their own, and the stage waits
// for them.
class CCasToOrvConverter {
public:
    CCasToOrvConverter() = default;
    virtual ~CCasToOrvConverter() = default;
    CCasToOrvConverter(const CCasToOrvConverter&) = delete;
    CCasToOrvConverter& operator=(const CCasToOrvConverter&) = delete;

    // Opens the package and converts its targets in their order. For an `orvFile` of "FOLDER\NAME",
    // the manifest of a target is "FOLDER\{GUID}\NAME". `*targets` becomes an array of
    // `*targetCount` GUIDs, which the host frees; the slot of a target that was not reached is
    // zero. Returns 0, ERROR_FILE_NOT_FOUND when there is no such file, the status of reading the
    // profile, or the last error when an exception ended the conversion.
    int Convert(const CFilePathW& casFile, const CFilePathW& orvFile, GUID** targets,
                std::uint32_t* targetCount, CProgressEvent* root);

private:
    // Adds data of the target to the package. Failures are logged, not returned.
    using Stage = void (CCasToOrvConverter::*)(COrvPackage& package, const CCasTarget& target,
                                               CProgressEvent& parent);

    void ConvertTargets(const CFilePathW& orvFile, GUID* targets, CProgressEvent& progress);
    void ConvertTarget(COrvPackage& package, const CCasTarget& target, CProgressEvent& parent);
    // Runs a stage. An exception of the stage is logged and ends only that stage.
    void RunStage(Stage stage, COrvPackage& package, const CCasTarget& target,
                  CProgressEvent& parent);

    // The stages, each in its own source file.
    void ProcessIsolationEnvironment(COrvPackage& package, const CCasTarget& target,
                                     CProgressEvent& parent);
    void ProcessProperties(COrvPackage& package, const CCasTarget& target, CProgressEvent& parent);
    void ProcessFiles(COrvPackage& package, const CCasTarget& target, CProgressEvent& parent);
    void ProcessRegistry(COrvPackage& package, const CCasTarget& target, CProgressEvent& parent);
    void ProcessServices(COrvPackage& package, const CCasTarget& target, CProgressEvent& parent);
    void ProcessScripts(COrvPackage& package, const CCasTarget& target, CProgressEvent& parent);
    void ProcessAssemblies(COrvPackage& package, const CCasTarget& target, CProgressEvent& parent);
    void SaveTarget(COrvPackage& package, const CCasTarget& target, CProgressEvent& parent);

    [[nodiscard]] CFilePathW TargetFolder(const CCasTarget& target) const;

    CCasPackage m_package;
    CAssemblyProcessor m_assemblyProcessor;
    CServiceProcessor m_serviceProcessor;
    CFilePathW m_outputFolder;  // each target has a folder in it
    SortedTexts m_outputNames;  // the names of those folders
};

// Whether a target was captured on a 64-bit system.
[[nodiscard]] bool IsTarget64Bit(const CCasTarget& target);

// Writes the lines of the process's log to a file and makes missing folders. Does nothing if there
// are no lines. A failure is not reported.
void SaveLog(const CFilePathW& logFile);
