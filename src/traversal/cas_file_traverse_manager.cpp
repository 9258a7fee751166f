#include "traversal/cas_file_traverse_manager.h"

#include "foundation/file_system.h"
#include "orvpackage/shortcut_collection.h"
#include "platform/com.h"
#include "platform/status.h"
#include "platform/unit_marks.h"
#include "reporting/logger.h"

namespace {

constexpr std::u16string_view kPlaceholder = u"$CTX$Placeholder.txt";
constexpr std::u16string_view kDeleteMarker = u":CTX_FILE_DELETE_MARKER";
constexpr std::u16string_view kShortcutExtension = u"lnk";

// The modes of entries for the processors.
constexpr std::uint32_t kModeCreate = 1;
constexpr std::uint32_t kModeDelete = 3;

// Leaves the COM apartment of the thread at the end of a block, also after an exception.
class CApartmentEnd {
public:
    CApartmentEnd() = default;
    ~CApartmentEnd() { platform::LeaveApartment(); }
    CApartmentEnd(const CApartmentEnd&) = delete;
    CApartmentEnd& operator=(const CApartmentEnd&) = delete;
};

// Whether a folder contains nothing, or only the placeholder. False for a folder that cannot be
// listed.
bool IsFolderEmpty(const CFilePathW& folder) {
    platform::CFindHandle search;
    platform::SFindData data;
    const CFilePathW pattern(folder, CFilePathSegmentW(u"*"));
    int status = search.First(pattern.ToString().Get(), data);
    if (status != ERROR_SUCCESS) {
        return status == ERROR_FILE_NOT_FOUND;
    }
    while (status == ERROR_SUCCESS) {
        if (data.name != u"." && data.name != u".." && !EqualsNoCase(data.name, kPlaceholder)) {
            return false;
        }
        status = search.Next(data);
    }
    return status == ERROR_NO_MORE_FILES;
}

// Whether a package is on a drive, as far as an entry of it tells.
bool IsOnDrive(const CFilePathW& path) {
    return path.GetKind() == FilePathAbsolute || path.GetKind() == FilePathDriveRelative;
}

// With ERROR_FILE_INVALID the copy is there, but its source changed while it was read.
EReason ReasonOfCopy(int status) {
    return status == ERROR_CANT_ACCESS_FILE ? EReason::LinkNotFollowed
           : status == ERROR_FILE_INVALID   ? EReason::FileChanged
                                            : EReason::CopyFailed;
}

// Whether a percent sign is left when MakePayloadName has taken those of the first name.
bool HasInnerPercent(std::u16string_view collapsed) {
    const std::u16string_view first = collapsed.substr(0, collapsed.find(u'\\'));
    return collapsed.find(u'%', first.size()) != std::u16string_view::npos ||
           (first.size() > 2 && HasUnit(first.substr(1, first.size() - 2), u'%'));
}

void LogFailedCopy(const char16_t* source, int status, EReason reason) {
    // The log has no message for a file that was copied while it changed.
    const bool isLogged = reason != EReason::FileChanged;
    if (isLogged) {
        GetLogger().LogMessage(MessageCopyFailed, nullptr, source,
                               GetSystemErrorMessage(status).Get());
    }
    GetRecord().Add({.thing = EThing::File,
                     .reason = reason,
                     .source = source,
                     .status = status,
                     .isLogged = isLogged});
}

}  // namespace

CCasFileTraverseManager::CCasFileTraverseManager(CAssemblyProcessor& assemblyProcessor,
                                                 COrvPackage& package)
    : m_assemblyProcessor(assemblyProcessor),
      m_package(package),
      m_packageFolder(package.GetFolder()),
      m_copier([](const std::u16string& source, int status) {
          LogFailedCopy(source.c_str(), status, ReasonOfCopy(status));
      }) {
    SetPattern(CFilePathSegmentW(u"*"));
}

// The worker thread uses the fields of this class, so it ends before they do.
CCasFileTraverseManager::~CCasFileTraverseManager() { Stop(true); }

void CCasFileTraverseManager::SetRoot(const CFilePathW& deviceFolder) {
    // One segment more than the folder, as deep as the folder of a drive in it. The name is never
    // used, and TellSealedLinks removes it again.
    m_root = CFilePathW(deviceFolder, CFilePathSegmentW(u"Device"));
    m_rootDepth = m_root.GetSegmentCount();
}

void CCasFileTraverseManager::SetOutputs(const CFilePathW& folder, const SortedTexts& names) {
    m_outputFolder = folder;
    m_outputNames = &names;
}

bool CCasFileTraverseManager::IsExcluded(const CFilePathW& folder) const {
    const CFilePathSegmentW& name = folder.GetLastSegment();
    // Compared as folders, not as paths: by a link or a mapped drive the same folder has another
    // path. The names come first, because they cost no system call.
    const bool isOutput = m_outputNames != nullptr && m_outputNames->contains(name.GetText()) &&
                          platform::IsSameFolder(CFilePathW(m_outputFolder, name).ToString().Get(),
                                                 folder.ToString().Get());
    if (isOutput && CRecord::IsFull()) {
        GetRecord().Add({.thing = EThing::Folder,
                         .reason = EReason::OwnOutput,
                         .source = folder.ToString().View()});
    }
    return isOutput || CFileTraverse::IsExcluded(folder);
}

void CCasFileTraverseManager::OnStart() {
    // On Windows shortcuts are read by a COM object, on this thread.
    platform::EnterApartment();
    CFileTraverse::OnStart();
    TellSealedLinks();
}

void CCasFileTraverseManager::OnFinish() {
    const CApartmentEnd end;
    m_copier.Finish();
    CFileTraverse::OnFinish();
}

void CCasFileTraverseManager::TellSealedLinks() {
    // The walk finds nothing through such links. A folder that is missing needs no message.
    const CFilePathW device = m_root.GetParent();
    for (const CFilePathW& folder : {device.GetParent(), device}) {
        const CStrW name = folder.ToString();
        if (platform::IsSealedLink(name.Get())) {
            m_hasSealedLink = true;
            LogFailedCopy(name.Get(), ERROR_CANT_ACCESS_FILE, EReason::LinkNotFollowed);
        }
    }
}

void CCasFileTraverseManager::TellMissingFile(const CStrW& name, int status, EReason reason) {
    // So that the messages of earlier files come first.
    m_copier.Finish();
    LogFailedCopy(name.Get(), status, reason);
}

void CCasFileTraverseManager::OnUnread(const CFilePathW& folder, int status) {
    // Of a link in place of the folder "Device" TellSealedLinks has told already.
    const bool isDevice = folder.Equals(m_root.GetParent());
    if (!isDevice || !m_hasSealedLink) {
        const bool isMissing = isDevice && status == ERROR_PATH_NOT_FOUND;
        GetRecord().Add({.thing = EThing::Folder,
                         .reason = isMissing ? EReason::FilesMissing : EReason::FolderUnread,
                         .source = folder.ToString().View(),
                         .status = status});
    }
}

void CCasFileTraverseManager::OnRefused(const CFilePathW& folder, const std::u16string& name) {
    // A file system without streams may list a mark. It is told with its file.
    if (name.ends_with(kDeleteMarker)) {
        return;
    }
    const CStrW source = folder.ToString() + u'\\' + CStrW(name);
    GetRecord().Add({.thing = EThing::File, .reason = EReason::NameRefused, .source = source});
}

void CCasFileTraverseManager::RecordFile(const CStrW& name, const CStrW& target, SBecame became) {
    GetRecord().Add({.thing = became.thing,
                     .reason = became.reason,
                     .source = name,
                     .collection = became.collection,
                     .target = target});
    if (became.reason == EReason::Deleted) {
        GetRecord().Add({.thing = EThing::Mark,
                         .reason = EReason::Deleted,
                         .source = name + CStrW(kDeleteMarker),
                         .collection = became.collection,
                         .target = target});
    }
}

void CCasFileTraverseManager::ShowProgress(const CStrW& name) {
    if (m_progress) {
        m_progress->SetMessage(name);
        m_progress->Step();
    }
}

CFilePathW CCasFileTraverseManager::MapToTarget(const CFilePathW& path) const {
    // The folder of a drive is named by its letter. With any other name the result is a relative
    // path.
    CFilePathW target(path.GetSegment(m_rootDepth - 1).GetText() + uR"(:\)");
    CFilePathW below(path);
    below.DropFirst(m_rootDepth);
    static_cast<void>(target.Append(below));
    return target;
}

// Maps a file with a name of one unit as any file is mapped, and takes that name off the results.
CCasFileTraverseManager::SPlaces CCasFileTraverseManager::FindPlaces(
    const CFilePathW& folder) const {
    constexpr std::u16string_view kName = u"x";
    constexpr std::u16string_view kEnd = uR"(\x)";
    SPlaces places;
    // An entry of "Device" itself is taken for a drive, also a file.
    if (folder.GetSegmentCount() < m_rootDepth) {
        return places;
    }
    const CFilePathW target = MapToTarget(folder);
    const CStrW text = target.GetChild(kName).ToPlainString();
    const CStrW collapsed = m_pathConverter->Collapse(text);
    const CFilePathW payload = MakePayloadName(collapsed);
    const CStrW source = payload.ToString();
    const CFilePathW destination(m_packageFolder, payload);
    const auto withoutName = [kName](const CStrW& path) {
        return path.Mid(0, path.GetLength() - kName.size());
    };
    // Empty for other paths, for what the item would expand, and where a row of the table may match
    // a part of a name.
    if (target.GetKind() == FilePathAbsolute && payload.GetKind() == FilePathRelative &&
        collapsed.View().ends_with(kEnd) && source.View().ends_with(kEnd) &&
        destination.GetSegmentCount() ==
            m_packageFolder.GetSegmentCount() + payload.GetSegmentCount() &&
        !HasUnit(text, u'%') && !HasUnit(source, u'%') &&
        m_pathConverter->KeepsNamesIn(withoutName(text))) {
        places.texts = {withoutName(text), withoutName(source)};
        places.destination = destination.GetParent();
        places.isSource = places.destination.Equals(folder);
    }
    return places;
}

// A long path has a prefix, a name with a colon may be a drive, and the item expands a token.
bool CCasFileTraverseManager::SPlaces::AreOf(std::u16string_view name) const {
    const auto marksOf = [](platform::UnitBlock units) {
        return platform::Equals(units, u'%') | platform::Equals(units, u':');
    };
    return !texts.target.IsEmpty() && texts.target.GetLength() + name.size() <= kMaxPlainPath &&
           platform::CollectMarks(name, marksOf) == 0;
}

CFilePathW MakePayloadName(const CStrW& collapsed) {
    CFilePathW path(collapsed);
    CStrW first = path.GetFirstSegment().GetText();
    // Each sign by itself: a relative first folder "100%" loses its percent sign too. This must
    // stay.
    if (first.View().starts_with(u'%')) {
        first.Delete(0, 1);
    }
    if (first.View().ends_with(u'%')) {
        first.Truncate(first.GetLength() - 1);
    }
    if (first.GetLength() > 1 && first.View()[1] == u':') {
        first.Delete(1, 1);
    }
    const CFilePathSegmentW name(first);
    // A folder named "%..%" must not lead the payload out of the target's folder.
    if (name.IsDot() || name.IsDotDot()) {
        return CFilePathW();
    }
    path.RemoveFirst(1);
    static_cast<void>(path.PrependSegment(name));
    return path;
}

bool CCasFileTraverseManager::VisitFolder(const CFilePathW& path,
                                          const platform::SFindData& /*data*/) {
    ShowProgress(path.ToString());
    // A folder with content is made with its files, so it needs no item. And a package on a drive
    // gives no items for folders. This must stay.
    const bool isOnDrive = IsOnDrive(path);
    if (!isOnDrive && IsFolderEmpty(path)) {
        const int status = AddFolder(path);
        // Any other folder is asked about again when it is listed.
        if (status != ERROR_SUCCESS && m_assemblyProcessor.TakesFile(path)) {
            TellUnknownMark(path, status);
        }
    } else if (CRecord::IsFull()) {
        GetRecord().Add({.thing = EThing::Folder,
                         .reason = isOnDrive ? EReason::FolderOnDrive : EReason::FolderWithContent,
                         .source = path.ToString().View()});
    }
    return true;
}

void CCasFileTraverseManager::OnFolder(const CFilePathW& /*folder*/) {
    m_places.reset();
    m_placeholders = 0;
}

void CCasFileTraverseManager::OnListed(const CFilePathW& folder, std::size_t entries) {
    if (entries != m_placeholders || !LacksItem(folder)) {
        return;
    }
    if (const int status = AddFolder(folder)) {
        TellUnknownMark(folder, status);
    }
}

void CCasFileTraverseManager::TellUnknownMark(const CFilePathW& folder, int status) {
    GetRecord().Add({.thing = EThing::Folder,
                     .reason = EReason::MarkUnknown,
                     .source = folder.ToString().View(),
                     .status = status});
}

bool CCasFileTraverseManager::LacksItem(const CFilePathW& folder) const {
    if (folder.GetSegmentCount() < m_rootDepth || IsOnDrive(folder) ||
        m_assemblyProcessor.TakesFile(folder)) {
        return false;
    }
    const CStrW target = MapToTarget(folder).ToString();
    const auto& created = m_package.Get<COrvCreateFoldersCollection>();
    const auto& deleted = m_package.Get<COrvDeleteFoldersCollection>();
    return created.Find(COrvCreateFolder({target})) == nullptr &&
           deleted.Find(COrvDeleteFolder({target})) == nullptr;
}

int CCasFileTraverseManager::AddFolder(const CFilePathW& path) {
    if (!m_hasMarkAlone) {
        // Only the name of the stream is asked for, without the folder. So the current directory
        // answers, not the folder. This must stay.
        platform::SFindData found;
        const int status = platform::FindEntry(kDeleteMarker, found);
        if (status == ERROR_READ_FAULT) {
            return status;
        }
        m_hasMarkAlone = status == ERROR_SUCCESS && !found.IsFolder();
    }
    const bool deleted = *m_hasMarkAlone;
    const CStrW target = MapToTarget(path).ToString();
    EReason reason = EReason::OfAssembly;
    if (m_assemblyProcessor.CheckFile(path, deleted ? kModeDelete : kModeCreate)) {
        const bool isNew =
            deleted ? m_package.Get<COrvDeleteFoldersCollection>().AddItem(target) != nullptr
                    : m_package.Get<COrvCreateFoldersCollection>().AddItem(target) != nullptr;
        reason = !isNew ? EReason::SameItem : deleted ? EReason::Deleted : EReason::Created;
    }
    if (CRecord::IsFull()) {
        GetRecord().Add({.thing = EThing::Folder,
                         .reason = reason,
                         .source = path.ToString().View(),
                         .collection = deleted ? u"DeleteFolders" : u"CreateFolders",
                         .target = target});
    }
    return ERROR_SUCCESS;
}

bool CCasFileTraverseManager::VisitFile(const CFilePathW& path, const platform::SFindData& data,
                                        platform::CFindHandle& search) {
    path.WriteTo(m_fileName);
    const CStrW& name = m_fileName;
    ShowProgress(name);
    const std::u16string_view last = data.name;
    if (EqualsNoCase(last, kPlaceholder)) {
        GetRecord().Add({.thing = EThing::File, .reason = EReason::Placeholder, .source = name});
        ++m_placeholders;
        return true;
    }
    bool deleted = false;
    if (const int status = search.FindStream(data, kDeleteMarker.substr(1), deleted);
        status == ERROR_READ_FAULT) {
        // Without an answer the file may be one to create or one to delete. To make the wrong item
        // would be worse than none.
        TellMissingFile(name, status, EReason::MarkUnknown);
        return true;
    }
    // The extension alone makes a shortcut, whatever the file contains.
    const bool shortcut = !path.IsRoot() && HasExtension(last, kShortcutExtension);
    if (!m_assemblyProcessor.CheckFile(path, deleted ? kModeDelete : kModeCreate)) {
        GetRecord().Add({.thing = EThing::File, .reason = EReason::OfAssembly, .source = name});
        return true;
    }
    if (!m_places) {
        m_places = FindPlaces(path.GetParent());
    }
    const SBecame became = AddItem(path, name, shortcut, deleted);
    // Every level of the record tells of a place that an earlier item has.
    if (CRecord::IsFull() || became.reason == EReason::PlaceTaken) {
        RecordFile(name, GetTarget(path), became);
    }
    return true;
}

CCasFileTraverseManager::SBecame CCasFileTraverseManager::AddItem(const CFilePathW& path,
                                                                  const CStrW& name, bool shortcut,
                                                                  bool deleted) {
    SBecame became{shortcut ? EThing::Shortcut : EThing::File, EReason::Created,
                   shortcut ? u"CreateShortcuts" : u"CreateFiles"};
    if (deleted) {
        const CStrW text = GetTarget(path);
        const bool isNew =
            shortcut ? m_package.Get<COrvDeleteShortcutsCollection>().AddItem(text) != nullptr
                     : m_package.Get<COrvDeleteFilesCollection>().AddItem(text) != nullptr;
        became.reason = isNew ? EReason::Deleted : EReason::SameItem;
        became.collection = shortcut ? u"DeleteShortcuts" : u"DeleteFiles";
    } else if (!(shortcut ? AddShortcut(path, name, GetTarget(path)) : AddFile(path, name))) {
        became.reason = EReason::PlaceTaken;
    }
    return became;
}

CStrW CCasFileTraverseManager::GetTarget(const CFilePathW& path) const {
    const std::u16string_view last = path.ViewLastSegment();
    return m_places->AreOf(last) ? m_places->texts.target + CStrW(last)
                                 : MapToTarget(path).ToString();
}

// If the package has the item already, the file is copied all the same.
bool CCasFileTraverseManager::AddFile(const CFilePathW& path, const CStrW& name) {
    const std::u16string_view last = path.ViewLastSegment();
    if (!m_places->AreOf(last)) {
        return AddMappedFile(path, name);
    }
    const bool isNew =
        m_package.Get<COrvCreateFilesCollection>().AddFile(m_places->texts, last) != nullptr;
    // The copy would delete an existing destination, which here is the captured file itself.
    if (!m_places->isSource) {
        m_places->destination.WriteTo(m_copyName, last);
        TellCopy(name, CopyFileInto(name, m_places->destination, m_copyName, &m_copier));
    }
    return isNew;
}

bool CCasFileTraverseManager::AddMappedFile(const CFilePathW& path, const CStrW& name) {
    const CFilePathW target = MapToTarget(path);
    // Without the prefix of long paths, so that the payload of a deep file is named like any other.
    const CStrW collapsed = m_pathConverter->Collapse(target.ToPlainString());
    const CFilePathW payload = MakePayloadName(collapsed);
    const COrvCreateFile* const added =
        m_package.Get<COrvCreateFilesCollection>().AddFile(target, payload);
    const bool isNew = added != nullptr;
    // The item expands what looks like a token, but the payload keeps its name.
    if (isNew && CRecord::IsOn() && HasInnerPercent(collapsed) &&
        added->GetRelativeSource() != payload.ToString()) {
        GetRecord().Add({.thing = EThing::File,
                         .reason = EReason::TokenInName,
                         .source = name,
                         .collection = u"CreateFiles",
                         .target = target.ToString().View(),
                         .detail = added->GetRelativeSource()});
    }
    const CFilePathW destination(m_packageFolder, payload);
    if (payload.IsEmpty()) {
        // The destination would be the output folder itself.
        TellMissingFile(name, ERROR_ACCESS_DENIED, EReason::NoPayloadName);
    } else if (!destination.Equals(path)) {
        TellCopy(name, CopyFileOver(name, destination, &m_copier));
    }
    return isNew;
}

void CCasFileTraverseManager::TellCopy(const CStrW& name, int status) {
    if (status != ERROR_SUCCESS) {
        TellMissingFile(name, status, ReasonOfCopy(status));
    }
}

bool CCasFileTraverseManager::AddShortcut(const CFilePathW& path, const CStrW& name,
                                          const CStrW& target) {
    COrvCreateShortcut* const added =
        m_package.Get<COrvCreateShortcutsCollection>().AddItem(target);
    if (added == nullptr) {
        return false;
    }
    const int status = added->LoadFromFile(path);
    if (status < 0) {
        m_copier.Finish();
        GetLogger().LogMessage(MessageShortcutFailed, nullptr, name.Get(),
                               GetSystemErrorMessage(status).Get());
        GetRecord().Add({.thing = EThing::Shortcut,
                         .reason = EReason::ShortcutFailed,
                         .source = name,
                         .status = status,
                         .isLogged = true});
    } else if (!added->IsValid()) {
        // A link that says nothing of its target is in no manifest.
        GetRecord().Add({.thing = EThing::Shortcut,
                         .reason = EReason::ItemIncomplete,
                         .source = name,
                         .collection = u"CreateShortcuts",
                         .target = target});
    }
    return true;
}
