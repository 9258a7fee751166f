#include "driver/cas_to_orv_converter.h"

#include <algorithm>
#include <exception>
#include <new>
#include <vector>

#include "foundation/file_system.h"
#include "foundation/lost_memory.h"
#include "foundation/text_file.h"
#include "platform/com.h"
#include "platform/files.h"
#include "platform/status.h"
#include "reporting/logger.h"
#include "reporting/record.h"

namespace {

// Tells the file layer the folder of the package for as long as this object lives.
class CPackageFolder {
public:
    explicit CPackageFolder(const CFilePathW& folder) {
        platform::SetPackageFolder(folder.ToString().Get());
    }
    ~CPackageFolder() { platform::SetPackageFolder(nullptr); }
    CPackageFolder(const CPackageFolder&) = delete;
    CPackageFolder& operator=(const CPackageFolder&) = delete;
};

// Logs an exception of a stage or of the conversion. Returns the last error as its status, which a
// lack of memory does not set.
int LogThrown(const std::exception& exception) {
    const bool isMemory = dynamic_cast<const std::bad_alloc*>(&exception) != nullptr;
    // First, because logging may set another last error.
    const int status = isMemory ? ERROR_NOT_ENOUGH_MEMORY : platform::GetLastError();
    GetLogger().LogException(exception);
    GetRecord().Add({.thing = EThing::Stage,
                     .reason = EReason::StageFailed,
                     .status = status,
                     .isLogged = true});
    return status;
}

// A text that was lost for want of memory ends its stage, as what throws does.
void ThrowIfTextWasLost() {
    if (TakeLostMemory()) {
        throw std::bad_alloc();
    }
}

CStrW GuidText(const GUID& guid) { return CStrW(platform::GuidToText(guid)); }

// Writes the lines of a profile that nothing comes of, and of the targets of profiles within it.
void RecordProfile(const CCasProfile& profile) {
    if (profile.Targets.empty()) {
        GetRecord().Add({.thing = EThing::Profile, .reason = EReason::NoTarget});
    }
    // A list on the heap and no recursion, because how deep profiles nest is up to the file.
    std::vector<const CCasProfile*> pending{&profile};
    while (!pending.empty() && CRecord::IsFull()) {
        const CCasProfile* const outer = pending.back();
        pending.pop_back();
        for (const auto& inner : outer->SubProfiles) {
            pending.push_back(inner.get());
            for (const auto& target : inner->Targets) {
                GetRecord().Add({.thing = EThing::Target,
                                 .reason = EReason::SubProfile,
                                 .source = GuidText(target->Guid).View()});
            }
        }
    }
}

}  // namespace

int CCasToOrvConverter::Convert(const CFilePathW& casFile, const CFilePathW& orvFile,
                                GUID** targets, std::uint32_t* targetCount, CProgressEvent* root) {
    // A wrong name is the caller's mistake: its status says all, and nothing is logged.
    platform::SFindData found;
    const CStrW name = casFile.ToString();
    if (platform::FindEntry(name.Get(), found) != ERROR_SUCCESS || found.IsFolder()) {
        return ERROR_FILE_NOT_FOUND;
    }
    // The package logs why it cannot be read.
    if (const int status = m_package.Open(name); status != ERROR_SUCCESS) {
        return status;
    }
    RecordProfile(m_package.GetProfile());
    const std::size_t count = m_package.GetProfile().Targets.size();
    CProgressEvent progress(static_cast<std::uint32_t>(count), root);
    int status = ERROR_SUCCESS;
    try {
        if (count != 0) {
            // The host gets the array also when an exception ends the conversion. So it is filled
            // with zeros first, and given to the host before the work.
            auto* const slots =
                static_cast<GUID*>(platform::AllocateForCaller(count * sizeof(GUID)));
            if (slots == nullptr) {
                throw std::bad_alloc();
            }
            std::fill_n(slots, count, GUID{});
            *targets = slots;
        }
        *targetCount = static_cast<std::uint32_t>(count);
        ConvertTargets(orvFile, *targets, progress);
        ThrowIfTextWasLost();
    } catch (const std::exception& exception) {
        // What is thrown as a number passes: that of a missing privilege goes on to the host.
        status = LogThrown(exception);
    }
    progress.Finish();
    return status;
}

void CCasToOrvConverter::ConvertTargets(const CFilePathW& orvFile, GUID* targets,
                                        CProgressEvent& progress) {
    const CPackageFolder packageFolder(m_package.GetFolder());
    m_outputFolder = orvFile.GetParent();
    for (const auto& target : m_package.GetProfile().Targets) {
        // All names before the first conversion, because the walk of any target may meet the output
        // of each.
        m_outputNames.insert(GuidText(target->Guid));
    }
    SortedTexts converted;
    std::uint32_t number = 0;
    for (const auto& target : m_package.GetProfile().Targets) {
        COrvPackage package;
        const CStrW guid = GuidText(target->Guid);
        GetRecord().SetTarget(++number);
        // Before the work, so that the host also learns of a target in which the conversion ends.
        *targets++ = target->Guid;
        const CFilePathW folder(m_outputFolder, CFilePathSegmentW(guid));
        package.SetManifestPath(CFilePathW(folder, orvFile.GetFileName()));
        progress.SetMessage(CStrW(FormatMessageStyle, u"CAS Target:  %1", guid.Get()));
        ConvertTarget(package, *target, progress);
        // Targets with the same GUID have one folder, so the manifest of the last one is there.
        const bool isNew = converted.insert(guid).second;
        GetRecord().Add({.thing = EThing::Target,
                         .reason = isNew ? EReason::Converted : EReason::SameGuid,
                         .source = TargetFolder(*target).ToString().View(),
                         .target = CStrW(guid + u'\\' + orvFile.GetFileName().GetText()).View(),
                         .detail = target->Name,
                         .items = package.GetSavedItems()});
        progress.Step();
    }
    GetRecord().SetTarget(0);
}

void CCasToOrvConverter::ConvertTarget(COrvPackage& package, const CCasTarget& target,
                                       CProgressEvent& parent) {
    // An exception ends only its stage, except in the last two stages: without them the target has
    // no manifest, so it ends the conversion.
    enum class EFailure { EndsStage, EndsConversion };
    struct SStep {
        const char16_t* message;
        Stage stage;  // null for a step without work
        EFailure failure = EFailure::EndsStage;
    };
    // Every step counts the same. Folders are walked together with files, so their step only shows
    // its message, as does that of the compression settings.
    static constexpr SStep kSteps[] = {
        {u"Processing isolation environment settings.",
         &CCasToOrvConverter::ProcessIsolationEnvironment},
        {u"Processing properties.", &CCasToOrvConverter::ProcessProperties},
        {u"Processing folders.", nullptr},
        {u"Processing files.", &CCasToOrvConverter::ProcessFiles},
        {u"Processing registry.", &CCasToOrvConverter::ProcessRegistry},
        {u"Processing services.", &CCasToOrvConverter::ProcessServices},
        {u"Processing scripts.", &CCasToOrvConverter::ProcessScripts},
        {u"Processing compression settings.", nullptr},
        {u"Processing assemblies", &CCasToOrvConverter::ProcessAssemblies,
         EFailure::EndsConversion},
        {u"Saving target.", &CCasToOrvConverter::SaveTarget, EFailure::EndsConversion},
    };
    CProgressEvent progress(static_cast<std::uint32_t>(std::size(kSteps)), &parent);
    for (const SStep& step : kSteps) {
        progress.SetMessage(step.message);
        // RunStage catches what the stage throws; without it Convert does.
        if (step.stage != nullptr && step.failure == EFailure::EndsStage) {
            RunStage(step.stage, package, target, progress);
        } else if (step.stage != nullptr) {
            (this->*step.stage)(package, target, progress);
            ThrowIfTextWasLost();
        }
        progress.Step();
    }
}

void CCasToOrvConverter::RunStage(Stage stage, COrvPackage& package, const CCasTarget& target,
                                  CProgressEvent& parent) {
    try {
        (this->*stage)(package, target, parent);
        ThrowIfTextWasLost();
    } catch (const std::exception& exception) {
        static_cast<void>(LogThrown(exception));  // its status is in the log
    }
}

CFilePathW CCasToOrvConverter::TargetFolder(const CCasTarget& target) const {
    return CFilePathW(m_package.GetFolder(), CFilePathSegmentW(target.GetFolderName()));
}

bool IsTarget64Bit(const CCasTarget& target) {
    // The packager's numbers of the 64-bit editions of Windows. Any other number, even an unknown
    // one, counts as 32-bit.
    switch (target.CreateOS) {
        case 1:
        case 3:
        case 5:
        case 7:
        case 9:
        case 11:
        case 12:
            return true;
        default:
            return false;
    }
}

void SaveLog(const CFilePathW& logFile) {
    const std::vector<CStrW>& lines = GetLogger().GetLines();
    if (lines.empty()) {
        return;
    }
    // In UTF-16, because a line may have any name in it.
    CTextFileW file;
    file.SetUnicode(true);
    for (const CStrW& line : lines) {
        file.AddLine(line);
    }
    // If one of these fails, creating the file fails too, and nothing is written.
    static_cast<void>(DeleteFileForce(logFile));
    static_cast<void>(CreateDirectoryChain(logFile.GetParent()));
    if (file.Create(logFile) == ERROR_SUCCESS) {
        file.Save();
    }
}
