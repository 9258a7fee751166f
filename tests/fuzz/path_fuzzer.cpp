// What is written is read again the same: paths of files and of keys, portable texts, and the
// escapes of XML. The input is a folder, a file in it, and any text, parted by line
// feeds.
#include "foundation/file_path.h"
#include "foundation/reg_path.h"
#include "foundation/xml_escape.h"
#include "fuzz/require.h"
#include "fuzz/text_input.h"
#include "host/manifest_schema.h"
#include "host/portable_text.h"
#include "orvpackage/sanitizer.h"
#include "platform/text.h"
#include "support/machine.h"

namespace {

void RequireReadBack(const CFilePathW& path) {
    const CFilePathW again(path.ToPlainString());
    Require(again.ToPlainString() == path.ToPlainString() && again.GetKind() == path.GetKind());
    Require(CFilePathW(path.ToString()).ToString() == path.ToString());
    Require(path.IsEmpty() || again.Equals(path));
}

void CheckFilePaths(const std::u16string& head, const std::u16string& tail) {
    const CFilePathW first{std::u16string_view(head)};
    const CFilePathW second{std::u16string_view(tail)};
    RequireReadBack(second);
    Require(second.ToString().GetLength() <= tail.size() + 8);
    // What is refused changes nothing.
    CFilePathW joined = first;
    // A name such as "C:" may be in the middle of a path, and may come to its start by "..".
    const bool isPlain = tail.find(u':') == tail.npos;
    if (joined.Append(second) == 0) {
        RequireReadBack(isPlain ? joined : second);
    } else {
        Require(joined.ToString() == first.ToString());
    }
    CFilePathW child = first;
    const CFilePathSegmentW name(tail);
    if (!first.IsEmpty() && !name.IsEmpty() && child.AppendSegment(name) == 0) {
        Require(first.GetChild(tail).ToString() == child.ToString());
        Require(first.ToString(tail) == child.ToString());
    }
    CFilePathW prepended = second;
    if (prepended.Prepend(first) == 0) {
        RequireReadBack(isPlain ? prepended : second);
    } else {
        Require(prepended.ToString() == second.ToString());
    }
}

void CheckKeyPaths(const std::u16string& head, const std::u16string& tail) {
    const CRegPathW first{std::u16string_view(head)};
    const CRegPathW second{std::u16string_view(tail)};
    const CRegPathW again(second.View());
    Require(again.View() == second.View() && again.HasHive() == second.HasHive());
    Require(CRegPathW(second.ToLongString()).ToLongString() == second.ToLongString());
    Require(second.SubPath(0, second.GetSegmentCount()).View() == second.View());
    CRegPathW joined = first;
    if (joined.Append(second) != 0) {
        Require(joined.View() == first.View());
        return;
    }
    Require(joined.GetSegmentCount() == first.GetSegmentCount() + second.GetSegmentCount());
    Require(second.IsEmpty() || joined.Contains(second));
    Require(first.IsEmpty() || joined.EqualsFirstN(first, first.GetSegmentCount()));
}

void CheckXmlEscapes(const std::u16string& text) {
    CStrW escaped = EscapeXmlText(text);
    Require(host::HasGoodEscapes(escaped));
    Require(!IsPlainXmlText(text) || escaped.View() == text);
    UnescapeXmlText(escaped);
    Require(escaped.View() == text);
}

// A token takes the backslash after it, and in a name it gets one; so not every text is reversed.
void CheckPortableText(const COrvSanitizer& sanitizer, const std::u16string& text) {
    for (const std::uint32_t flags :
         {SanitizeAll, SanitizeNoFilePaths, SanitizeNoRegPaths, SanitizeNoPaths}) {
        std::u16string buffer;
        const std::u16string portable(sanitizer.Sanitize(text, flags, buffer));
        Require(sanitizer.Sanitize(text, flags) == CStrW(std::u16string_view(portable)));
        if (flags != SanitizeNoPaths) {
            continue;
        }
        // The library takes the last unit of an escape for the start of a token: "|%SID%SID%".
        const CStrW back = sanitizer.Desanitize(CStrW(std::u16string_view(portable)), flags);
        Require(back.View() == text || text.find(u"%SID") != text.npos);
        host::CPortableText resolver(host::ETokenUse::Replace);
        const auto resolved = resolver.Resolve(portable, host::EForm::Key);
        Require(resolved && *resolved == text);
    }
}

void CheckFolder(const COrvSanitizer& sanitizer, const std::u16string& folder,
                 const std::u16string& name) {
    if (name.empty() || name.find_first_of(u"\\:") != name.npos ||
        !(folder.empty() || folder.ends_with(u'\\'))) {
        return;
    }
    for (const std::uint32_t flags : {SanitizeNoRegPaths, SanitizeNoPaths}) {
        std::u16string start;
        if (sanitizer.SanitizeFolder(folder, flags, start)) {
            const CStrW both(start + std::u16string(sanitizer.Sanitize(name, SanitizeNoPaths)));
            Require(sanitizer.Sanitize(folder + name, flags) == both);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const CTestMachine machine = CTestMachine()
                                            .Sid(u"S-1-5-21-7")
                                            .Folder(u"CSIDL_PROGRAM_FILES", uR"(C:\Program Files)")
                                            .Folder(u"CSIDL_STARTUP", uR"(\\server\share\Start)")
                                            .Environment(u"SystemDrive", u"C:");
    static const COrvSanitizer sanitizer;
    std::string_view input = BytesOf(data, size);
    const std::u16string folder = TextOf(TakePart(input, '\n'));
    const std::u16string name = TextOf(TakePart(input, '\n'));
    CheckFolder(sanitizer, folder, name);
    std::u16string text = TextOf(input);
    CheckFilePaths(folder, text);
    CheckKeyPaths(folder, text);
    // From here on a NUL ends a text.
    text = text.substr(0, text.find(u'\0'));
    CheckXmlEscapes(text);
    CheckPortableText(sanitizer, text);
    return 0;
}
