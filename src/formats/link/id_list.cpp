#include "formats/link/link_target.h"

#include <utility>

namespace formats {

namespace {

// Every item begins with its size and its type, whose middle bits give the class of item.
constexpr std::size_t kType = 2;
constexpr std::size_t kMinItemSize = 3;
constexpr unsigned kClassMask = 0x70;
constexpr unsigned kRootClass = 0x10;
constexpr unsigned kVolumeClass = 0x20;
constexpr unsigned kFileClass = 0x30;
constexpr unsigned kNetworkClass = 0x40;

// A volume without this bit is no drive but a virtual folder of the shell.
constexpr unsigned kVolumeHasName = 0x01;
constexpr std::size_t kVolumeName = 3;

constexpr unsigned kFileNameIsWide = 0x04;
constexpr std::size_t kFileName = 14;

// The block that Windows XP and later put after the name of a file entry.
constexpr std::uint32_t kFileExtension = 0xBEEF0004U;
constexpr std::size_t kExtensionSignature = 4;
constexpr std::size_t kExtensionNameOffset = 16;
constexpr std::size_t kMinExtensionSize = 8;
constexpr std::size_t kMinNameOffset = 18;

constexpr std::size_t kNetworkFlags = 4;
constexpr std::size_t kNetworkName = 5;
constexpr unsigned kNetworkHasDescription = 0x80;
constexpr unsigned kNetworkHasComment = 0x40;
constexpr unsigned kNetworkHasWideTexts = 0x10;

// The long name in the extension blocks of a file entry; empty without one.
std::u16string ReadLongName(const CByteReader& item) {
    // The last word of an item with such blocks is the offset of the first one.
    std::size_t offset = item.GetU16(item.GetSize() - 2);
    // Ends: each round moves on by at least the smallest size, and after the item sizes read as 0.
    for (std::size_t size = item.GetU16(offset); offset >= kFileName && size >= kMinExtensionSize;
         size = item.GetU16(offset)) {
        const CByteReader block = item.Part(offset, size);
        if (block.GetU32(kExtensionSignature) == kFileExtension) {
            const std::size_t name = block.GetU16(kExtensionNameOffset);
            return name >= kMinNameOffset ? block.GetWideText(name) : std::u16string();
        }
        offset += size;
    }
    return {};
}

bool AppendFile(const CByteReader& item, SLinkPath& path) {
    if (path.text.empty()) {
        return false;  // below a folder that the list does not spell
    }
    SLinkPath name{ReadLongName(item)};
    // Older systems wrote only this name, in their code page or in Unicode.
    if (name.text.empty()) {
        const bool isWide = (item.GetU8(kType) & kFileNameIsWide) != 0;
        name = isWide ? SLinkPath{item.GetWideText(kFileName)}
                      : MakeAnsiPath(item.GetAnsiText(kFileName));
    }
    AppendPathPart(path, name);
    return !name.text.empty();
}

bool StartAtDrive(const CByteReader& item, SLinkPath& path) {
    const std::u16string name = item.GetAnsiText(kVolumeName);
    if ((item.GetU8(kType) & kVolumeHasName) == 0 || name.size() < 2 || name[1] != u':') {
        return false;
    }
    path = {{name[0], u':', u'\\'}};
    return true;
}

// A list has items for the network and the domain before those of the server and the share. Only
// the last two have paths, so the others pass without changing `path`.
bool StartAtShare(const CByteReader& item, SLinkPath& path) {
    const unsigned flags = item.GetU8(kNetworkFlags);
    SLinkPath name = MakeAnsiPath(item.GetAnsiText(kNetworkName));
    // The Unicode texts follow all of the others, so these are counted first.
    if ((flags & kNetworkHasWideTexts) != 0) {
        std::size_t offset = kNetworkName + name.text.size() + 1;
        for (const unsigned text : {kNetworkHasDescription, kNetworkHasComment}) {
            if ((flags & text) != 0) {
                offset += item.GetAnsiText(offset).size() + 1;
            }
        }
        SLinkPath wideName{item.GetWideText(offset)};
        if (!wideName.text.empty()) {
            name = std::move(wideName);
        }
    }
    if (name.text.starts_with(u"\\\\")) {
        path = std::move(name);
    }
    return true;
}

unsigned ClassOf(const CByteReader& item) { return item.GetU8(kType) & kClassMask; }

// Adds one item to `path`; false when it cannot be part of a path.
bool AppendItem(const CByteReader& item, SLinkPath& path) {
    switch (ClassOf(item)) {
        case kRootClass:
            return path.text.empty();
        case kVolumeClass:
            return StartAtDrive(item, path);
        case kFileClass:
            return AppendFile(item, path);
        case kNetworkClass:
            return StartAtShare(item, path);
        default:
            return false;
    }
}

// Gives each item of a list and its offset to `take`. False when an item is not completely inside
// the list, or as soon as `take` refuses one. A list without its final zero ends all the same,
// because a size after the last byte reads as 0.
template <class TTake>
bool ForEachItem(const CByteReader& list, const TTake& take) {
    std::size_t offset = 0;
    for (std::size_t size = list.GetU16(0); size != 0; size = list.GetU16(offset)) {
        if (size < kMinItemSize || !list.Holds(offset, size) ||
            !take(list.Part(offset, size), offset)) {
            return false;
        }
        offset += size;
    }
    return true;
}

}  // namespace

SLinkPath ReadIdListPath(const CByteReader& list) {
    SLinkPath path;
    const bool isPath = ForEachItem(list, [&path](const CByteReader& item, std::size_t /*offset*/) {
        return AppendItem(item, path);
    });
    return isPath ? path : SLinkPath();
}

SLinkPath ReadIdListPath(const CByteReader& list, std::size_t start, std::u16string_view folder) {
    SLinkPath path{std::u16string(folder)};
    std::size_t end = 0;  // of the last item that belongs to the folder
    const bool isPath = ForEachItem(list, [&](const CByteReader& item, std::size_t offset) {
        if (offset < start) {
            end = offset + item.GetSize();
            return true;
        }
        return ClassOf(item) == kFileClass && AppendFile(item, path);
    });
    // A start that is not at the end of an item would cut one in two.
    return isPath && end == start ? path : SLinkPath();
}

}  // namespace formats
