// What is written is read again the same: paths of files and of keys, portable texts, and the
// escapes of XML. The input is a folder, a file in it, and any text, parted by line feeds.
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

void CheckFilePath(const std::u16string& text) {
    const CFilePathW path{std::u16string_view(text)};
    if (path.IsEmpty()) {
        return;
    }
    const CFilePathW again(path.ToPlainString());
    Require(again.ToPlainString() == path.ToPlainString() && again.GetKind() == path.GetKind());
    Require(CFilePathW(path.ToString()).ToString() == path.ToString());
    Require(again.Equals(path) && path.ToString().GetLength() <= text.size() + 8);
    const CFilePathW root = path.SubPath(0, 1);
    const CFilePathW rest = path.SubPath(1, path.GetSegmentCount());
    Require(root.GetSegmentCount() + rest.GetSegmentCount() <= path.GetSegmentCount());
    CFilePathW both = path.GetParent();
    if (!path.IsRoot() && both.GetSegmentCount() + 1 == path.GetSegmentCount()) {
        Require(path.EqualsFirstN(both, both.GetSegmentCount()) || both.IsEmpty());
    }
}

void CheckKeyPath(const std::u16string& text) {
    const CRegPathW path{std::u16string_view(text)};
    const CRegPathW again(path.View());
    Require(again.View() == path.View() && again.HasHive() == path.HasHive());
    Require(path.IsEmpty() || again.Equals(path));
    Require(CRegPathW(path.ToLongString()).ToLongString() == path.ToLongString());
    Require(path.SubPath(0, path.GetSegmentCount()).View() == path.View());
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
        Require(sanitizer.Desanitize(CStrW(std::u16string_view(portable)), flags).View() == text);
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
    CheckFilePath(text);
    CheckKeyPath(text);
    // From here on a NUL ends a text.
    text = text.substr(0, text.find(u'\0'));
    CheckXmlEscapes(text);
    CheckPortableText(sanitizer, text);
    return 0;
}
