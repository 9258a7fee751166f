#include "support/registry_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <utility>

#include "platform/registry.h"
#include "platform/status.h"
#include "support/text.h"

namespace {

constexpr std::uint32_t kLocalMachine = 0x80000002U;

std::string QueryData(platform::KeyHandle key, const std::u16string& name, std::uint32_t type) {
    std::uint32_t queriedType = 0;
    std::uint32_t size = 0;
    EXPECT_EQ(platform::QueryValue(key, name, queriedType, nullptr, size), ERROR_SUCCESS);
    EXPECT_EQ(queriedType, type);
    std::string data(size, '\0');
    EXPECT_EQ(platform::QueryValue(key, name, queriedType, data.data(), size), ERROR_SUCCESS);
    EXPECT_EQ(size, data.size());
    return data;
}

void ReadValues(platform::KeyHandle key, const std::string& path, RegistryTree& lines) {
    platform::SKeyInfo info;
    EXPECT_EQ(platform::QueryKeyInfo(key, info), ERROR_SUCCESS);
    std::u16string name;
    std::uint32_t type = 0;
    std::uint32_t count = 0;
    for (; platform::EnumValue(key, count, name, type) == ERROR_SUCCESS; ++count) {
        EXPECT_LE(name.size(), info.longestValueName) << path;
        lines.push_back(ValueLine(path, Utf8(name), type, QueryData(key, name, type)));
    }
    EXPECT_EQ(count, info.valueCount) << path;
}

}  // namespace

std::string KeyLine(std::string_view path) { return std::string(path) + "\\"; }

std::string ValueLine(std::string_view keyPath, std::string_view name, std::uint32_t type,
                      std::string_view data) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    constexpr std::size_t kMostShown = 64;
    std::string line = KeyLine(keyPath).append(name) + ": " + std::to_string(type) + " ";
    if (data.size() > kMostShown) {
        return line + std::to_string(data.size()) + " bytes #" +
               std::to_string(std::hash<std::string_view>()(data));
    }
    for (const char byte : data) {
        line += kDigits[static_cast<unsigned char>(byte) >> 4];
        line += kDigits[static_cast<unsigned char>(byte) & 15U];
    }
    return line;
}

RegistryTree ReadRegistryTree(std::u16string_view key) {
    RegistryTree lines;
    std::deque<std::u16string> paths = {std::u16string(key)};
    for (; !paths.empty(); paths.pop_front()) {
        const std::u16string& path = paths.front();
        const std::string shown = Utf8(path.substr(std::min(path.size(), key.size() + 1)));
        platform::KeyHandle handle = nullptr;
        if (platform::OpenKey(kLocalMachine, path, handle) != ERROR_SUCCESS) {
            ADD_FAILURE() << shown << " cannot be opened";
            continue;
        }
        lines.push_back(KeyLine(shown));
        platform::SKeyInfo info;
        EXPECT_EQ(platform::QueryKeyInfo(handle, info), ERROR_SUCCESS);
        std::u16string name;
        std::uint32_t count = 0;
        for (; platform::EnumKey(handle, count, name) == ERROR_SUCCESS; ++count) {
            EXPECT_LE(name.size(), info.longestSubKeyName) << shown;
            paths.push_back(std::u16string(path).append(u"\\").append(name));
        }
        EXPECT_EQ(count, info.subKeyCount) << shown;
        ReadValues(handle, shown, lines);
        platform::CloseKey(handle);
    }
    std::ranges::sort(lines);
    return lines;
}
