// driver/cas_to_orv_converter.h - one conversion: every target of a package through ten stages.
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

// Converts one package, once. What fails in a stage is logged by the stage, and the next one runs
// on what is there; the status of a conversion tells only whether the package could be opened and
// all its targets were gone through. What the processors gather in one target stays with them for
// the next.
class CCasToOrvConverter {
public:
    CCasToOrvConverter() = default;
    virtual ~CCasToOrvConverter() = default;
    CCasToOrvConverter(const CCasToOrvConverter&) = delete;
    CCasToOrvConverter& operator=(const CCasToOrvConverter&) = delete;

    // Opens the package and converts its targets in their order, each into the folder of `orvFile`,
    // in it a folder named by the target's GUID, and there under the name of `orvFile`. `*targets`
    // becomes an array of `*targetCount` GUIDs that the host frees; a target that was never reached
    // leaves its slot zero. Returns 0, ERROR_FILE_NOT_FOUND when there is no such file, the status
    // of reading the profile, or the last error when an exception ended the conversion.
    int Convert(const CFilePathW& casFile, const CFilePathW& orvFile, GUID** targets,
                std::uint32_t* targetCount, CProgressEvent* root);

private:
    // A stage fills the package from the target. What fails in it is in the log.
    using Stage = void (CCasToOrvConverter::*)(COrvPackage& package, const CCasTarget& target,
                                               CProgressEvent& parent);

    void ConvertTargets(const CFilePathW& orvFile, GUID* targets, CProgressEvent& progress);
    void ConvertTarget(COrvPackage& package, const CCasTarget& target, CProgressEvent& parent);
    // The frame of a stage: what it throws is logged, and ends nothing but the stage.
    void RunStage(Stage stage, COrvPackage& package, const CCasTarget& target,
                  CProgressEvent& parent);

    // The stages, each in a source of its own.
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
    CFilePathW m_outputFolder;  // in which each target has one of its own
    SortedTexts m_outputNames;
};

// Whether a target was captured on a system of 64 bits.
[[nodiscard]] bool IsTarget64Bit(const CCasTarget& target);

// Writes the lines of the process's log to a file, with the folders above it. Without any line it
// does nothing; a failure is not reported.
void SaveLog(const CFilePathW& logFile);
