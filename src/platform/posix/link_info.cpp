#include "platform/posix/link_target.h"

namespace platform {

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

// Fields of the network structure inside it. It has no size of its header: a name that begins
// behind the short header tells of the long one.
constexpr std::size_t kNetworkName = 0x08;
constexpr std::size_t kNetworkNameWide = 0x14;
constexpr std::uint32_t kShortNetworkHeader = 0x14;
constexpr std::uint32_t kLongNetworkHeader = 0x1C;

// A text by the fields that hold the offsets of its two forms. The wide field is there when the
// header reaches beyond it; an offset into the header is no offset.
std::u16string TextOf(const CByteReader& structure, std::uint32_t headerSize, std::size_t ansiField,
                      std::size_t wideField) {
    if (headerSize >= wideField + sizeof(std::uint32_t)) {
        const std::uint32_t offset = structure.GetU32(wideField);
        std::u16string text;
        if (offset >= headerSize) {
            text = structure.GetWideText(offset, kMaxLinkText);
        }
        if (!text.empty()) {
            return text;
        }
    }
    const std::uint32_t offset = structure.GetU32(ansiField);
    return offset >= headerSize ? structure.GetAnsiText(offset, kMaxLinkText) : std::u16string();
}

std::u16string ReadShare(const CByteReader& info) {
    const CByteReader rest = info.Part(info.GetU32(kNetwork));
    const CByteReader network = rest.Part(0, rest.GetU32(0));
    const bool isLong = network.GetU32(kNetworkName) > kShortNetworkHeader;
    return TextOf(network, isLong ? kLongNetworkHeader : kShortNetworkHeader, kNetworkName,
                  kNetworkNameWide);
}

}  // namespace

std::u16string ReadLinkInfoPath(const CByteReader& info) {
    const std::uint32_t headerSize = info.GetU32(kHeaderSize);
    if (headerSize < kMinHeaderSize) {
        return {};
    }
    const std::uint32_t flags = info.GetU32(kFlags);
    std::u16string path;
    if ((flags & kHasLocal) != 0) {
        path = TextOf(info, headerSize, kLocalBase, kLocalBaseWide);
    }
    if (path.empty() && (flags & kHasNetwork) != 0) {
        path = ReadShare(info);
    }
    if (!path.empty()) {
        AppendPathPart(path, TextOf(info, headerSize, kSuffix, kSuffixWide));
    }
    return path;
}

void AppendPathPart(std::u16string& path, std::u16string_view part) {
    if (part.empty()) {
        return;
    }
    if (!path.ends_with(u'\\') && !part.starts_with(u'\\')) {
        path += u'\\';
    }
    path += part;
}

}  // namespace platform
