// traversal/cas_file_traverse_manager.h - the captured file tree of a target on its way into the
// package.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "discovery/assembly_processor.h"
#include "foundation/file_path_converter.h"
#include "foundation/sorted_texts.h"
#include "orvpackage/package.h"
#include "reporting/progress_event.h"
#include "traversal/file_traverse.h"

// Walks the folder "Device" of a target, below which each drive of the captured machine has a
// folder, and turns every entry into an item of the output package: files are copied beside its
// manifest, shortcuts are read, and what carries the stream ":CTX_FILE_DELETE_MARKER" becomes a
// deletion. A file "$CTX$Placeholder.txt" only keeps a folder alive in the capture. Visits run on
// the worker thread while the owner waits; a failed copy or shortcut is logged and the walk goes
// on, and so is a file of which the system does not tell whether it is a deletion.
class CCasFileTraverseManager : public CFileTraverse {
public:
    // Both are used, not owned, for the lifetime of the manager.
    CCasFileTraverseManager(CAssemblyProcessor& assemblyProcessor, COrvPackage& package);
    ~CCasFileTraverseManager() override;

    // Tells where the captured paths begin: `deviceFolder` is the folder "Device".
    void SetRoot(const CFilePathW& deviceFolder);
    // Names the folders that the conversion writes: those of these names in one folder. The walk
    // leaves them out, should they lie among the captured ones: it would copy its own copies,
    // deeper each time. The names are used, not owned.
    void SetOutputs(const CFilePathW& folder, const SortedTexts& names);
    // The number of entries, placeholders included, for the total of the progress.
    [[nodiscard]] std::uint32_t CountItems() const { return CountEntries(); }
    void SetProgress(std::unique_ptr<CProgressEvent> progress) { m_progress = std::move(progress); }

protected:
    [[nodiscard]] bool IsExcluded(const CFilePathW& folder) const override;
    void OnStart() override;
    void OnFinish() override;
    bool VisitFolder(const CFilePathW& path, const platform::SFindData& data) override;
    bool VisitFile(const CFilePathW& path, const platform::SFindData& data) override;

private:
    // Tells of a link in place of the folder "Device" or of the one above it.
    void TellSealedLinks();
    // Tells that a file is not in the payload.
    void TellMissingFile(const CStrW& name, int status);
    void ShowProgress(const CStrW& name);
    // The place on the captured machine of an entry of the capture.
    [[nodiscard]] CFilePathW MapToTarget(const CFilePathW& path) const;
    // `name` is the path as text.
    void AddFile(const CFilePathW& path, const CStrW& name, const CFilePathW& target);
    void AddShortcut(const CFilePathW& path, const CStrW& target);
    void CopyPayload(const CFilePathW& path, const CStrW& name, const CFilePathW& relative);

    CFilePathW m_outputFolder;
    const SortedTexts* m_outputNames = nullptr;
    CFilePathW m_root;
    std::size_t m_rootDepth = 0;
    CAssemblyProcessor& m_assemblyProcessor;
    CSharedHolder<CFilePathConverter> m_pathConverter;
    std::unique_ptr<CProgressEvent> m_progress;
    COrvPackage& m_package;
    const CFilePathW m_packageFolder;
    platform::CFileCopier m_copier;
};

// The name of a payload copy relative to the manifest, from a collapsed path: its first name loses
// its percent signs or its colon. Empty when the path has no name.
[[nodiscard]] CFilePathW MakePayloadName(const CStrW& collapsed);
