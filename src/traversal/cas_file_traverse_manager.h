// traversal/cas_file_traverse_manager.h - turns the captured file tree of a target into items.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "discovery/assembly_processor.h"
#include "foundation/file_path_converter.h"
#include "foundation/sorted_texts.h"
#include "orvpackage/file_collections.h"
#include "orvpackage/package.h"
#include "reporting/progress_event.h"
#include "reporting/record.h"
#include "traversal/file_traverse.h"

// Walks the folder "Device" of a target, in which each drive of the captured machine has a folder,
// and makes an item of the output package from every entry. Files are copied to the folder of the
// manifest, shortcuts are read, and an entry with the stream ":CTX_FILE_DELETE_MARKER" becomes a
// deletion. A file "$CTX$Placeholder.txt" only keeps a folder alive in the capture. Visits run on
// the worker thread while the owner waits. A failed copy or shortcut is logged, and so is a file of
// which the system does not tell whether it has that stream; then the walk goes on.
class CCasFileTraverseManager : public CFileTraverse {
public:
    // Neither is owned; both must outlive the manager.
    CCasFileTraverseManager(CAssemblyProcessor& assemblyProcessor, COrvPackage& package);
    ~CCasFileTraverseManager() override;

    // Sets where the captured paths begin: `deviceFolder` is the folder "Device".
    void SetRoot(const CFilePathW& deviceFolder);
    // Sets the folders that the conversion writes: those in `folder` with one of `names`, which is
    // not owned. The walk leaves them out if they are among the captured folders, because it would
    // copy its own copies, deeper each time.
    void SetOutputs(const CFilePathW& folder, const SortedTexts& names);
    // The number of entries, placeholders included: the total for the progress.
    [[nodiscard]] std::uint32_t CountItems() const { return CountEntries(); }
    void SetProgress(std::unique_ptr<CProgressEvent> progress) { m_progress = std::move(progress); }

protected:
    [[nodiscard]] bool IsExcluded(const CFilePathW& folder) const override;
    void OnStart() override;
    void OnFinish() override;
    void OnFolder(const CFilePathW& folder) override;
    void OnListed(const CFilePathW& folder, std::size_t entries) override;
    bool VisitFolder(const CFilePathW& path, const platform::SFindData& data) override;
    bool VisitFile(const CFilePathW& path, const platform::SFindData& data,
                   platform::CFindHandle& search) override;
    void OnUnread(const CFilePathW& folder, int status) override;
    void OnRefused(const CFilePathW& folder, const std::u16string& name) override;

private:
    // What a file became, for the record.
    struct SBecame {
        EThing thing;
        EReason reason;
        const char16_t* collection;
    };
    // Where the files of a captured folder go: each text and path of a file is that of the folder
    // here and the file's own name.
    //
    // INVARIANT: all of it follows from the folder, the table of paths and the package's folder,
    // which stay as they are during a walk. It is empty where a name may change more than the end.
    // Threads: the walk's.
    // Gain: a quarter of the instructions of a conversion of small files, 20 in a folder.
    struct SPlaces {
        SOrvFile texts;          // both end in a backslash
        CFilePathW destination;  // of the copies
        bool isSource = false;   // the destination is the captured folder itself

        // Whether a file with that name goes there; any other is mapped by itself.
        [[nodiscard]] bool AreOf(std::u16string_view name) const;
    };

    // Logs a link in place of the folder "Device" or of the folder above it.
    void TellSealedLinks();
    // Logs that a file is not in the payload.
    void TellMissingFile(const CStrW& name, int status, EReason reason);
    void RecordFile(const CStrW& name, const CStrW& target, SBecame became);
    void ShowProgress(const CStrW& name);
    // The path on the captured machine of an entry of the capture.
    [[nodiscard]] CFilePathW MapToTarget(const CFilePathW& path) const;
    [[nodiscard]] SPlaces FindPlaces(const CFilePathW& folder) const;
    // The target of a file of the present folder, as text.
    [[nodiscard]] CStrW GetTarget(const CFilePathW& path) const;
    // Adds the item of an empty folder. ERROR_READ_FAULT, and no item, when the system does not
    // tell whether it is to be deleted.
    [[nodiscard]] int AddFolder(const CFilePathW& path);
    // Whether an empty folder should have an item and has none. It had content when it was visited,
    // or could not be listed then.
    [[nodiscard]] bool LacksItem(const CFilePathW& folder) const;
    // Tells that an empty folder has no item, because of the status of AddFolder.
    static void TellUnknownMark(const CFilePathW& folder, int status);
    // `name` is `path` as text in what follows.
    // Adds the item of a file, which may be a shortcut and may be deleted, and copies the file.
    SBecame AddItem(const CFilePathW& path, const CStrW& name, bool shortcut, bool deleted);
    // These tell whether the item is new. The second one is for a file that its folder says nothing
    // of.
    bool AddFile(const CFilePathW& path, const CStrW& name);
    bool AddMappedFile(const CFilePathW& path, const CStrW& name);
    bool AddShortcut(const CFilePathW& path, const CStrW& name, const CStrW& target);
    // Tells of a copy that was not begun.
    void TellCopy(const CStrW& name, int status);

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
    bool m_hasSealedLink = false;
    // Whether the current directory has a mark as a file of its own.
    //
    // INVARIANT: asked for the first empty folder; what answers is the same for all.
    // Threads: the walk's.
    // Gain: a fifth of the time of a conversion with 50,000 empty folders.
    std::optional<bool> m_hasMarkAlone;
    CStrW m_fileName;  // of the file that is visited, and of its copy; kept for their memory
    CStrW m_copyName;
    // Of the folder whose entries are visited, from its first file on.
    std::optional<SPlaces> m_places;
    std::size_t m_placeholders = 0;  // in that folder, so far
};

// The path of a payload file relative to the manifest, from a collapsed path. The first name loses
// its percent signs or its colon. Empty when no such path is possible.
[[nodiscard]] CFilePathW MakePayloadName(const CStrW& collapsed);
