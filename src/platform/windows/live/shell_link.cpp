#include "platform/win.h"
// The headers of COM and the shell need the one above.
#include <objbase.h>
#include <shlobj.h>

#include <memory>
#include <optional>

#include "platform/status.h"
#include "platform/windows/com_pointer.h"
#include "platform/windows/live/answers.h"

namespace platform {

namespace {

constexpr int kTextBuffer = 1024;  // units, with the terminator

using Text = std::array<char16_t, kTextBuffer>;

// Asks for one text. A call that fails gives no text, which is not the same as an empty one.
template <typename TCall>
std::optional<std::u16string> Ask(const TCall& call) {
    Text text{};
    if (FAILED(call(ToWide(text.data())))) {
        return std::nullopt;
    }
    // A text that is cut off may have no NUL.
    text.back() = u'\0';
    return std::u16string(text.data());
}

// Asks for one number, which comes in a type of the system's own.
template <typename TNumber, typename TAnswer, typename TOperation>
void AskNumber(IShellLinkW* shellLink, TOperation operation, std::optional<TAnswer>& answer) {
    TNumber number{};
    if (SUCCEEDED((shellLink->*operation)(&number))) {
        answer = number;
    }
}

void ReadAnswers(IShellLinkW* shellLink, SShellLink& link) {
    // The raw path keeps its environment variables and need not exist.
    link.path = Ask([&](wchar_t* text) {
        return shellLink->GetPath(text, kTextBuffer, nullptr, SLGP_RAWPATH);
    });
    link.description =
        Ask([&](wchar_t* text) { return shellLink->GetDescription(text, kTextBuffer); });
    link.arguments = Ask([&](wchar_t* text) { return shellLink->GetArguments(text, kTextBuffer); });
    AskNumber<WORD>(shellLink, &IShellLinkW::GetHotkey, link.hotkey);
    int iconIndex = 0;
    link.iconLocation = Ask(
        [&](wchar_t* text) { return shellLink->GetIconLocation(text, kTextBuffer, &iconIndex); });
    // The index belongs to the location and means nothing without it.
    if (link.iconLocation) {
        link.iconIndex = iconIndex;
    }
    AskNumber<int>(shellLink, &IShellLinkW::GetShowCmd, link.showCommand);
    link.workingDirectory =
        Ask([&](wchar_t* text) { return shellLink->GetWorkingDirectory(text, kTextBuffer); });
}

struct SLocalFree {
    void operator()(void* memory) const { ::LocalFree(memory); }
};

// Each block is allocated for the caller, and its first word is its size in bytes.
void ReadDataBlocks(IShellLinkDataList* list, SShellLink& link) {
    DWORD flags = 0;
    if (SUCCEEDED(list->GetFlags(&flags))) {
        link.flags = flags;
    }
    for (std::size_t i = 0; i < kShellLinkBlocks.size(); ++i) {
        void* block = nullptr;
        // For a block that the link does not have, the call fails.
        if (FAILED(list->CopyDataBlock(kShellLinkBlocks[i], &block)) || block == nullptr) {
            continue;
        }
        const std::unique_ptr<void, SLocalFree> owner(block);
        const auto* const bytes = static_cast<const std::byte*>(block);
        const std::size_t size = static_cast<const DATABLOCK_HEADER*>(block)->cbSize;
        link.dataBlocks[i].assign(bytes, bytes + size);
    }
}

}  // namespace

int ReadLiveLink(const char16_t* name, SShellLink& link) {
    CComPointer<IPersistFile> file;
    HRESULT result = ::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER,
                                        __uuidof(IPersistFile), file.ReceiveAny());
    if (SUCCEEDED(result)) {
        result = file->Load(ToWide(name), 0);
    }
    if (FAILED(result)) {
        return result;
    }
    CComPointer<IShellLinkW> shellLink;
    result = file->QueryInterface(__uuidof(IShellLinkW), shellLink.ReceiveAny());
    if (FAILED(result)) {
        return result;
    }
    // The caller's link changes only at the end, when nothing can fail any more.
    SShellLink answers;
    ReadAnswers(shellLink.Get(), answers);
    CComPointer<IShellLinkDataList> dataList;
    if (SUCCEEDED(file->QueryInterface(__uuidof(IShellLinkDataList), dataList.ReceiveAny()))) {
        ReadDataBlocks(dataList.Get(), answers);
    }
    link = std::move(answers);
    return S_OK;
}

}  // namespace platform
