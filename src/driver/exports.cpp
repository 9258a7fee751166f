#include "casmodel/package.h"
#include "driver/cas_to_orv_converter.h"
#include "driver/reg_exclusions.h"
#include "driver/target_information.h"
#include "foundation/file_system.h"
#include "foundation/lost_memory.h"
#include "orvcasconv/orvcasconv.h"
#include "platform/com.h"
#include "platform/files.h"
#include "platform/local_paths.h"
#include "platform/machine.h"
#include "platform/status.h"
#include "reporting/logger.h"
#include "reporting/progress_event.h"
#include "reporting/record.h"

namespace {

// The host's texts, which are of type wchar_t on Windows.
const char16_t* TextOf(const OrvChar* text) { return reinterpret_cast<const char16_t*>(text); }

// Gives the storage of a text to the host.
OrvChar* Release(CStrW& text) { return reinterpret_cast<OrvChar*>(text.Detach()); }

// A path from the host. Empty for null and for a text that is not a path.
CFilePathW PathOf(const OrvChar* text) { return CFilePathW(CStrW(TextOf(text))); }

// Loads the machine's answers. On failure nothing can be converted, and the log has the reason.
int LoadMachineOrLog() {
    std::u16string problem;
    const int status = platform::LoadMachine(problem);
    if (status != ERROR_SUCCESS) {
        GetLogger().LogError(u"%1", problem.c_str());
    }
    return status;
}

// For as long as it lives, nothing is written but log and record, if ORVCASCONV_CHECK asks for
// that.
class CCheck {
public:
    CCheck() { SetCheckOnly(!platform::GetPathVariable("ORVCASCONV_CHECK").empty()); }
    ~CCheck() { SetCheckOnly(false); }
    CCheck(const CCheck&) = delete;
    CCheck& operator=(const CCheck&) = delete;
};

int Convert(const OrvChar* casFile, const CFilePathW& cas, const CFilePathW& orv, GUID** targets,
            std::uint32_t* targetCount, OrvProgressCallback callback, const CFilePathW& log) {
    CProgressEvent root(1, nullptr);
    root.SetCallback(callback);
    root.SetMessage(CStrW(FormatMessageStyle, u"Converting %1 to ORV.", TextOf(casFile)));
    // First, so that there is a record also when no machine can be loaded.
    CRecordSession record;
    int status = LoadMachineOrLog();
    if (status == ERROR_SUCCESS) {
        // Before the stages, which ask for the rules of the machine that answers now.
        CRegExclusions::EndOfFormerMachine();
        const CCheck check;
        CCasToOrvConverter converter;
        status = converter.Convert(cas, orv, targets, targetCount, &root);
    }
    record.SetStatus(status);
    root.Finish();
    // Last, so that the file has all lines of this conversion. It has those of earlier ones too.
    if (!log.IsEmpty()) {
        SaveLog(log);
    }
    return status;
}

// Gives the status of a call. A lack of memory has a status too, because a host in C cannot catch
// what is thrown. What was lost in earlier calls is their matter.
template <class TCall>
std::uint32_t Answer(TCall call) {
    static_cast<void>(TakeLostMemory());
    try {
        const int status = call();
        return static_cast<std::uint32_t>(
            status == ERROR_SUCCESS && TakeLostMemory() ? ERROR_NOT_ENOUGH_MEMORY : status);
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

// The targets of a package, for the host to go through.
int ListTargets(const OrvChar* casFile, void** handle) {
    const CFilePathW path = PathOf(casFile);
    if (path.IsEmpty()) {
        return ERROR_INVALID_PARAMETER;
    }
    int status = LoadMachineOrLog();
    if (status != ERROR_SUCCESS) {
        return status;
    }
    const CStrW name = path.ToString();
    platform::SFindData found;
    if (platform::FindEntry(name.Get(), found) != ERROR_SUCCESS || found.IsFolder()) {
        return ERROR_FILE_NOT_FOUND;
    }
    CCasPackage package;
    // The package logs why it cannot be read.
    status = package.Open(name);
    if (status != ERROR_SUCCESS) {
        return status;
    }
    // The list has copies of the texts, because the package ends with this call.
    auto list = std::make_unique<CasTargetInformationList>();
    for (const auto& target : package.GetProfile().Targets) {
        list->Items.push_back({CStrW(platform::GuidToText(target->Guid)), target->Name});
    }
    if (TakeLostMemory()) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    *handle = list.release();
    return ERROR_SUCCESS;
}

}  // namespace

extern "C" {

uint32_t CasToOrvW(const OrvChar* casFile, const OrvChar* orvFile, const OrvChar* logFile,
                   GUID** targets, uint32_t* targetCount, OrvProgressCallback progress) {
    // First of all, because a host may free what it finds here after any status.
    *targets = nullptr;
    *targetCount = 0;
    return Answer([=] {
        const CFilePathW cas = PathOf(casFile);
        const CFilePathW orv = PathOf(orvFile);
        // The path of the log is not among them: without a usable one there is only no log.
        if (cas.IsEmpty() || orv.IsEmpty()) {
            return TakeLostMemory() ? ERROR_NOT_ENOUGH_MEMORY : ERROR_INVALID_PARAMETER;
        }
        return Convert(casFile, cas, orv, targets, targetCount, progress, PathOf(logFile));
    });
}

uint32_t InitCasTargetInformation(const OrvChar* casFile, void** handle) {
    return Answer([=] { return ListTargets(casFile, handle); });
}

uint32_t GetNextCasTargetInformation(void* handle, OrvChar** guidText, OrvChar** name) {
    auto& items = static_cast<CasTargetInformationList*>(handle)->Items;
    if (items.empty()) {
        return ERROR_NO_MORE_ITEMS;
    }
    // The host owns both texts from here on.
    *guidText = Release(items.front().GuidText);
    *name = Release(items.front().Name);
    items.pop_front();
    return ERROR_SUCCESS;
}

uint32_t ReleaseCasTargetInformation(void* handle) {
    const std::unique_ptr<CasTargetInformationList> list(
        static_cast<CasTargetInformationList*>(handle));
    list->Items.clear();
    return ERROR_SUCCESS;
}

}  // extern "C"
