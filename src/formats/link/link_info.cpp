#include "formats/link/link_target.h"

#include <algorithm>
#include <utility>

namespace formats {

namespace {

// Fields of the LinkInfo structure. Offsets count from its start.
constexpr std::size_t kHeaderSize = 0x04;
constexpr std::size_t kFlags = 0x08;
constexpr std::size_t kLocalBase = 0x10;
constexpr std::size_t kNetwork = 0x14;
constexpr std::size_t kSuffix = 0x18;
constexpr std::size_t kLocalBaseWide = 0x1C;
constexpr std::size_t kSuffixWide = 0x20;

constexpr std::uint32_t kMinHeaderSize = 0x1C;
constexpr std::uint32_t kHasLocal = 0x1;
constexpr std::uint32_t kHasNetwork = 0x2;

// Fields of the network structure inside it, which does not say how long its header is. A name that
// begins after the end of the short header shows that the header is the long one.
constexpr std::size_t kNetworkName = 0x08;
constexpr std::size_t kNetworkNameWide = 0x14;
constexpr std::uint32_t kShortNetworkHeader = 0x14;
constexpr std::uint32_t kLongNetworkHeader = 0x1C;

// The text at the offsets in two fields, one for each of its forms. The field of the Unicode form
// exists when the header is long enough to contain it. An offset that leads into the header itself
// is ignored, because there is no text.
SLinkPath TextOf(const CByteReader& structure, std::uint32_t headerSize, std::size_t ansiField,
                 std::size_t wideField) {
    if (headerSize >= wideField + sizeof(std::uint32_t)) {
        const std::uint32_t offset = structure.GetU32(wideField);
        std::u16string text;
        if (offset >= headerSize) {
            text = structure.GetWideText(offset, kMaxLinkText);
        }
        if (!text.empty()) {
            return {std::move(text)};
        }
    }
    const std::uint32_t offset = structure.GetU32(ansiField);
    return offset >= headerSize ? MakeAnsiPath(structure.GetAnsiText(offset, kMaxLinkText))
                                : SLinkPath();
}

// The path of the share, such as "\\server\share", that the network structure names.
SLinkPath ReadShare(const CByteReader& info) {
    // The first field of the structure is its size. What follows it is another part of the link.
    const CByteReader rest = info.Part(info.GetU32(kNetwork));
    const CByteReader network = rest.Part(0, rest.GetU32(0));
    const bool isLong = network.GetU32(kNetworkName) > kShortNetworkHeader;
    return TextOf(network, isLong ? kLongNetworkHeader : kShortNetworkHeader, kNetworkName,
                  kNetworkNameWide);
}

}  // namespace

SLinkPath MakeAnsiPath(std::u16string text) {
    const bool isCertain = std::all_of(text.begin(), text.end(),
                                       [](char16_t unit) { return unit < 0x80 && unit != u'?'; });
    return {std::move(text), isCertain};
}

SLinkPath ReadLinkInfoPath(const CByteReader& info) {
    const std::uint32_t headerSize = info.GetU32(kHeaderSize);
    if (headerSize < kMinHeaderSize) {
        return {};
    }
    const std::uint32_t flags = info.GetU32(kFlags);
    SLinkPath path;
    if ((flags & kHasLocal) != 0) {
        path = TextOf(info, headerSize, kLocalBase, kLocalBaseWide);
    }
    if (path.text.empty() && (flags & kHasNetwork) != 0) {
        path = ReadShare(info);
    }
    // Alone the suffix would be a path that begins nowhere.
    if (!path.text.empty()) {
        AppendPathPart(path, TextOf(info, headerSize, kSuffix, kSuffixWide));
    }
    return path;
}

void AppendPathPart(SLinkPath& path, const SLinkPath& part) {
    if (part.text.empty()) {
        return;
    }
    if (!path.text.ends_with(u'\\') && !part.text.starts_with(u'\\')) {
        path.text += u'\\';
    }
    path.text += part.text;
    path.isCertain = path.isCertain && part.isCertain;
}

}  // namespace formats
