#include "host/library_run.h"

#include <chrono>
#include <memory>
#include <new>

#include "host/interruption.h"
#include "host/progress_display.h"
#include "host/system.h"
#include "orvcasconv/orvcasconv.h"
#include "platform/com.h"
#include "platform/local_paths.h"

namespace host {

namespace {

constexpr std::u16string_view kNoGuid = u"{00000000-0000-0000-0000-000000000000}";

// Global, because the library gives its callback no pointer of the host. Set only while RunLibrary
// runs.
CProgressDisplay* s_display = nullptr;

std::uint32_t OnProgress(const OrvProgress* root) {
    // First, because after a signal nothing may be drawn any more.
    CInterruption::Step();
    s_display->Show(*root);
    return 0;
}

EProgressDisplay ChooseDisplay(EProgressStyle style) {
    if (style == EProgressStyle::None) {
        return EProgressDisplay::None;
    }
    return style == EProgressStyle::Auto && HasTerminal() ? EProgressDisplay::Block
                                                          : EProgressDisplay::Lines;
}

const OrvChar* Chars(const std::u16string& text) {
    return reinterpret_cast<const OrvChar*>(text.c_str());
}

void SetVariables(const SLibraryCall& call) {
    // All three are set in each run, so that nothing in the environment of the user counts. An
    // empty value is the same as none.
    const bool isSet =
        SetVariable("ORVCASCONV_RECORD", platform::PathBytes(call.record)) &&
        SetVariable("ORVCASCONV_RECORD_LEVEL", call.isFullRecord ? "all" : "problems") &&
        SetVariable("ORVCASCONV_CHECK", call.isCheck ? "1" : "");
    if (!isSet) {
        throw std::bad_alloc();
    }
}

// The library throws a status if the account does not have the privileges for loading a hive.
std::uint32_t CallGuarded(const SLibraryCall& call, GUID*& targets, std::uint32_t& count) {
    try {
        return CasToOrvW(Chars(call.profile), Chars(call.pattern), Chars(call.log), &targets,
                         &count, &OnProgress);
    } catch (int status) {
        return static_cast<std::uint32_t>(status);
    }
}

}  // namespace

SLibraryResult RunLibrary(const SLibraryCall& call) {
    SetVariables(call);
    CProgressDisplay display(ChooseDisplay(call.progress), &WriteTerminal, &GetTerminalSize,
                             &std::chrono::steady_clock::now);
    s_display = &display;
    GUID* targets = nullptr;
    std::uint32_t count = 0;
    SLibraryResult result;
    result.status = CallGuarded(call, targets, count);
    // Before anything else is written, which would otherwise be mixed with the block.
    display.Clear();
    s_display = nullptr;
    // A failed call may return an array too.
    const std::unique_ptr<GUID, decltype(&FreeTargets)> owner(targets, &FreeTargets);
    result.targetCount = count;
    for (std::uint32_t i = 0; i < count; ++i) {
        // After a failed conversion, a target that was not reached has an empty GUID.
        const std::u16string guid = platform::GuidToText(targets[i]);
        if (result.status == 0 || guid != kNoGuid) {
            result.converted.push_back(guid);
        }
    }
    return result;
}

}  // namespace host
