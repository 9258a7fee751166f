// Feeds arbitrary bytes to the reader of hives and goes through all that it makes of them.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/hive/hive.h"
#include "formats/hive/log.h"
#include "fuzz/hive_parts.h"
#include "fuzz/require.h"

namespace {

using formats::CHive;
using formats::CHiveImage;
using formats::KeyNumber;
using formats::SValueNode;

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
    std::vector<CHiveImage> parts;
    for (const std::string& part : DivideHiveInput({reinterpret_cast<const char*>(data), size})) {
        parts.emplace_back(std::as_bytes(std::span(part)));
    }
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
