// Feeds arbitrary bytes to the reader of hives and goes through all that it makes of them.
//
// Given a hive alone, the input is that. Behind a hive may stand its logs: each part begins with 4
// bytes that say how long it is, and an input that is divided so begins with "logs".
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "formats/hive/hive.h"
#include "formats/hive/log.h"
#include "formats/hive/marvin.h"

namespace {

using formats::CHive;
using formats::CHiveImage;
using formats::CMarvin;
using formats::KeyNumber;
using formats::SValueNode;

using Bytes = std::span<const std::byte>;

constexpr std::uint64_t kEntrySeed = 0x82EF4D887A4E55C5U;
constexpr std::uint32_t kIsDivided = 0x73676F6C;  // "logs"

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void Store(std::span<std::byte> bytes, std::size_t offset, std::uint64_t number, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        bytes[offset + i] = static_cast<std::byte>(number >> 8 * i);
    }
}

// Gives a log the checksum and the hashes that it must have: a change by chance breaks them, and
// what stands behind them would never be reached.
void Seal(CHiveImage& log) {
    std::span<std::byte> bytes = log.GetBytes();
    if (bytes.size() < 512) {
        return;
    }
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < 508; i += 4) {
        sum ^= formats::LoadU32(bytes.data() + i);
    }
    Store(bytes, 508, sum, 4);
    bytes = bytes.subspan(std::min(bytes.size(), log.GetSectorSize()));
    while (bytes.size() >= 40) {
        const std::size_t size = formats::LoadU32(bytes.data() + 4);
        if (size < 40 || size > bytes.size()) {
            return;
        }
        Store(bytes, 24, CMarvin(kEntrySeed).Finish(bytes.first(size).subspan(40)), 8);
        Store(bytes, 32, CMarvin(kEntrySeed).Finish(bytes.first(32)), 8);
        bytes = bytes.subspan(size);
    }
}

std::vector<CHiveImage> Divide(Bytes input) {
    std::vector<CHiveImage> parts;
    if (input.size() < 4 || formats::LoadU32(input.data()) != kIsDivided) {
        parts.emplace_back(input);
        return parts;
    }
    for (input = input.subspan(4); input.size() >= 4 && parts.size() < 4;) {
        const std::size_t size =
            std::min<std::size_t>(formats::LoadU32(input.data()), input.size() - 4);
        parts.emplace_back(input.subspan(4, size));
        input = input.subspan(4 + size);
    }
    std::ranges::for_each(std::span(parts).subspan(parts.empty() ? 0 : 1), Seal);
    return parts;
}

// Reads the values of a key by index and again by name; returns how much data they have.
std::size_t ReadValues(CHive& hive, KeyNumber key) {
    std::size_t total = 0;
    std::u16string name;
    std::vector<std::byte> data;
    SValueNode value;
    std::uint32_t count = 0;
    for (; hive.GetValue(key, count, value); ++count) {
        value.name.CopyTo(name);
        Require(name.size() <= hive.GetInfo(key).longestValueName);
        data.resize(value.size);
        hive.CopyData(value, data.data());
        total += data.size();
        Require(hive.FindValue(key, name, value));
    }
    Require(count == hive.GetInfo(key).valueCount);
    return total;
}

void ReadTree(CHive& hive, std::size_t size) {
    std::size_t total = 0;
    std::u16string name;
    std::vector<std::pair<KeyNumber, std::u16string>> keys = {{formats::kRootKey, u""}};
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const KeyNumber key = keys[i].first;
        std::uint32_t count = 0;
        for (; hive.GetChildName(key, count, name); ++count) {
            Require(!name.empty() && name.find(u'\\') == std::u16string::npos);
            Require(name.size() <= hive.GetInfo(key).longestSubKeyName);
            const std::u16string path = i == 0 ? name : keys[i].second + u"\\" + name;
            const KeyNumber child = hive.FindKey(path);
            Require(child != formats::kNoKey);
            keys.emplace_back(child, path);
        }
        Require(count == hive.GetInfo(key).subKeyCount);
        Require(keys.size() <= size / 8 + 1);
        total += ReadValues(hive, key);
        Require(total <= 2 * size);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<CHiveImage> parts = Divide(std::as_bytes(std::span(data, size)));
    if (parts.empty()) {
        return 0;
    }
    CHiveImage image = std::move(parts.front());
    // A hive that is not whole is read too.
    static_cast<void>(formats::ApplyHiveLogs(image, std::span(parts).subspan(1)));
    const std::size_t imageSize = image.GetBytes().size();
    CHive hive(formats::CNameRules([](char16_t unit) { return unit; }, 1));
    if (hive.Load(std::move(image))) {
        ReadTree(hive, imageSize);
    }
    return 0;
}
