#include "platform/posix/files/file_location.h"

#include <bit>

#include "platform/described/description_in_effect.h"
#include "platform/posix/files/file_name.h"
#include "platform/status.h"
#include "platform/unit_marks.h"

namespace platform {

namespace {

// Cuts the first segment off `rest`, and the backslash after it.
std::u16string_view TakeSegment(std::u16string_view& rest) {
    const std::size_t end = rest.find(u'\\');
    const std::u16string_view segment = rest.substr(0, end);
    rest.remove_prefix(end == std::u16string_view::npos ? rest.size() : end + 1);
    return segment;
}

void StartAt(SFileLocation& location, std::string_view folder, std::u16string_view key) {
    location.root = folder;
    location.path = key;
    location.rootLength = key.size();
}

// The key of the current directory is ".", and each level above it adds one dot. No other root has
// a key that begins with a dot.
void StartAtCurrentFolder(SFileLocation& location) { StartAt(location, ".", u"."); }

// Server and share are looked up in upper case, so the key is one for all letter cases.
int StartAtShare(SFileLocation& location, std::u16string_view& rest) {
    const std::u16string_view server = TakeSegment(rest);
    const std::u16string_view share = TakeSegment(rest);
    std::u16string key = u"\\\\";
    AppendUpper(key, server);
    key += u'\\';
    AppendUpper(key, share);
    const auto& shares = GetMachineDescription().shares;
    const auto mapped = shares.find(key);
    if (mapped == shares.end()) {
        return ERROR_PATH_NOT_FOUND;
    }
    StartAt(location, mapped->second, key);
    return ERROR_SUCCESS;
}

int StartAtDrive(SFileLocation& location, std::u16string_view& rest) {
    const char16_t letter = UpperUnit(rest[0]);
    const auto& drives = GetMachineDescription().drives;
    const auto mapped = drives.find(letter);
    if (mapped == drives.end()) {
        return ERROR_PATH_NOT_FOUND;
    }
    rest.remove_prefix(2);
    // Only the drive that is the whole file tree has a current directory.
    if (mapped->second == "/" && (rest.empty() || rest[0] != u'\\')) {
        StartAtCurrentFolder(location);
    } else {
        StartAt(location, mapped->second, std::u16string{letter, u':'});
    }
    return ERROR_SUCCESS;
}

// Cuts the start of the way off `rest`. The long prefixes are looked for first, because they begin
// with two backslashes, as a share does.
int ReadStart(SFileLocation& location, std::u16string_view& rest) {
    constexpr std::u16string_view kLong = uR"(\\?\)";
    constexpr std::u16string_view kLongShare = uR"(\\?\UNC\)";
    if (IsSameName(rest.substr(0, kLongShare.size()), kLongShare)) {
        rest.remove_prefix(kLongShare.size());
        return StartAtShare(location, rest);
    }
    const bool isLong = rest.substr(0, kLong.size()) == kLong;
    if (isLong) {
        rest.remove_prefix(kLong.size());
    }
    if (rest.size() >= 2 && rest[1] == u':') {
        return StartAtDrive(location, rest);
    }
    // After the prefix there is a drive or a share, and nothing else.
    if (isLong) {
        return ERROR_PATH_NOT_FOUND;
    }
    if (rest.substr(0, 2) == uR"(\\)") {
        rest.remove_prefix(2);
        return StartAtShare(location, rest);
    }
    if (rest.substr(0, 1) == uR"(\)") {
        StartAt(location, "/", u"/");
    } else {
        StartAtCurrentFolder(location);
    }
    return ERROR_SUCCESS;
}

// Goes one folder up. Above a root is the root itself, but the current directory has folders above.
void RemoveLastName(SFileLocation& location) {
    if (!location.IsRoot()) {
        location.path.resize(location.path.rfind(u'\\'));
    } else if (location.path[0] == u'.') {
        StartAt(location, location.rootLength == 1 ? ".." : location.root + "/..",
                location.path + u'.');
    }
}

// Cuts the stream off "name:stream", and the type that may follow it. False when there is a colon
// and no stream.
bool CutStream(std::u16string_view& name, std::u16string_view& stream) {
    constexpr std::u16string_view kDataType = u":$DATA";
    const std::size_t colon = name.find(u':');
    if (colon == std::u16string_view::npos) {
        return true;
    }
    stream = name.substr(colon + 1);
    name = name.substr(0, colon);
    if (stream.size() > kDataType.size() &&
        IsSameName(stream.substr(stream.size() - kDataType.size()), kDataType)) {
        stream.remove_suffix(kDataType.size());
    }
    return !stream.empty() && stream.find(u':') == std::u16string_view::npos;
}

int AddName(SFileLocation& location, std::u16string_view name) {
    if (name.empty() || name == u".") {
        return ERROR_SUCCESS;
    }
    // On the text alone, as on Windows: a link before it is not followed first.
    if (name == u"..") {
        RemoveLastName(location);
        return ERROR_SUCCESS;
    }
    if (name.find(u'/') != std::u16string_view::npos) {
        return ERROR_INVALID_NAME;
    }
    location.path += u'\\';
    location.path += name;
    return ERROR_SUCCESS;
}

// Whether a path has a slash, an empty name, or a name that is a dot or begins with two, apart from
// its first unit and its last. True for a short path without a look.
// Gain: half the instructions of ReadLocation.
bool MayHaveOddNames(std::u16string_view path) {
    constexpr std::size_t kBeside = 2;  // units before and after a block
    if (path.size() < kUnitsOfBlock + kBeside) {
        return true;
    }
    const auto marksAt = [path](std::size_t at) {
        const UnitBlock before = LoadUnits(path.data() + at);
        const UnitBlock units = LoadUnits(path.data() + at + 1);
        const UnitBlock after = LoadUnits(path.data() + at + 2);
        const MarkBlock areDots =
            Equals(units, u'.') & (Equals(after, u'.') | Equals(after, u'\\'));
        return Equals(units, u'/') | (Equals(before, u'\\') & (Equals(units, u'\\') | areDots));
    };
    // The last block overlaps the one before, so nothing is left over.
    const std::size_t last = path.size() - kBeside - kUnitsOfBlock;
    MarkBlock marks = marksAt(last);
    for (std::size_t at = 0; at < last; at += kUnitsOfBlock) {
        marks |= marksAt(at);
    }
    const auto halves = std::bit_cast<MarkHalves>(marks);
    return (halves[0] | halves[1]) != 0;
}

// Whether a path is nothing but names, none of them of dots alone.
bool HasOnlyNames(std::u16string_view path) {
    const auto isOdd = [](char16_t unit) { return unit == u'.' || unit == u'/' || unit == u'\\'; };
    if (!MayHaveOddNames(path) && !isOdd(path.front()) && !isOdd(path.back())) {
        return true;
    }
    bool isEmpty = true;  // the present segment, but for dots
    for (const char16_t unit : path) {
        if (unit == u'/' || (unit == u'\\' && isEmpty)) {
            return false;
        }
        isEmpty = unit == u'\\' || (isEmpty && unit == u'.');
    }
    return !isEmpty;
}

// Adds all names at once, as nearly every path allows. False, with nothing added, for the others.
bool AddNames(SFileLocation& location, std::u16string_view path) {
    if (path.starts_with(u'\\')) {
        path.remove_prefix(1);
    }
    if (!HasOnlyNames(path)) {
        return false;
    }
    const std::size_t cut = path.rfind(u'\\') + 1;  // 0 when there is none
    std::u16string_view name = path.substr(cut);
    std::u16string_view stream;
    // "..:stream" has become a name of dots.
    if (!CutStream(name, stream) || name.empty() || name == u"." || name == u"..") {
        return false;
    }
    location.path += u'\\';
    location.path += path.substr(0, cut + name.size());
    location.stream = stream;
    return true;
}

}  // namespace

std::u16string_view SFileLocation::GetName() const {
    return IsRoot() ? std::u16string_view()
                    : std::u16string_view(path).substr(path.rfind(u'\\') + 1);
}

std::u16string_view SFileLocation::GetFolderPath() const {
    return std::u16string_view(path).substr(0, path.rfind(u'\\'));
}

// May refuse more than it has to, because the caller then reads the whole path.
bool SplitPath(std::u16string_view text, SSplitPath& split) {
    const std::size_t cut = text.rfind(u'\\') + 1;  // 0 when there is none
    std::u16string_view name = text.substr(cut);
    const bool hasColon =
        CollectMarks(name, [](UnitBlock units) { return Equals(units, u':'); }) != 0;
    const bool hasDrive = cut == 0 && name.size() >= 2 && name[1] == u':';
    std::u16string_view stream;
    if (hasDrive || text.size() > kMaxPath || (hasColon && !CutStream(name, stream))) {
        return false;
    }
    split = {text.substr(0, cut), name, stream};
    return !name.empty() && name != u"." && name != u"..";
}

int ReadLocation(std::u16string_view text, SFileLocation& location) {
    if (text.size() > kMaxPath) {
        return ERROR_FILENAME_EXCED_RANGE;
    }
    if (text.empty()) {
        return ERROR_PATH_NOT_FOUND;
    }
    location.path.reserve(text.size() + 1);
    if (const int status = ReadStart(location, text)) {
        return status;
    }
    if (AddNames(location, text)) {
        return ERROR_SUCCESS;
    }
    // A path that ends in a backslash means a folder, and "a:b" is no name of a folder.
    const bool mayHaveStream = !text.empty() && text.back() != u'\\';
    std::u16string_view stream;
    // Every round cuts off a segment. Only the last one may have a stream.
    while (!text.empty()) {
        std::u16string_view segment = TakeSegment(text);
        if (text.empty() && mayHaveStream && !CutStream(segment, stream)) {
            return ERROR_INVALID_NAME;
        }
        if (const int status = AddName(location, segment)) {
            return status;
        }
    }
    location.stream = stream;
    return ERROR_SUCCESS;
}

}  // namespace platform
