#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "formats/hive/hive.h"
#include "formats/hive/log.h"
#include "platform/described/answers.h"
#include "platform/described/file_bytes.h"
#include "platform/status.h"
#include "platform/text.h"

namespace platform {

namespace {

constexpr std::uint32_t kFirstPredefinedKey = 0x80000000U;
constexpr std::uint32_t kLastPredefinedKey = 0x80000005U;
constexpr std::uint32_t kLocalMachine = 0x80000002U;

using formats::CHive;
using formats::CHiveImage;
using formats::CNameRules;

// The seed is random, so that nobody can make a hive whose names have colliding hashes.
const CNameRules& GetNameRules() {
    static const CNameRules s_rules = [] {
        std::random_device random;
        return CNameRules(&FoldUnit, static_cast<std::uint64_t>(random()) << 32 | random());
    }();
    return s_rules;
}

// A hive that is mounted below HKEY_LOCAL_MACHINE.
//
// INVARIANT: it stays at its address and in the list while `openKeys` is not 0: keys point to it.
// Threads: one at a time uses the list, the hives and their keys, as one conversion does.
struct SMount {
    std::u16string name;
    CHive hive{GetNameRules()};
    bool isWhole = true;  // false when its last write is lost, which the log tells
    std::size_t openKeys = 0;
};

std::vector<std::unique_ptr<SMount>>& GetMounts() {
    static std::vector<std::unique_ptr<SMount>> s_mounts;
    return s_mounts;
}

auto FindMount(std::u16string_view name) {
    return std::ranges::find_if(GetMounts(), [name](const auto& mount) {
        return std::ranges::equal(mount->name, name, [](char16_t left, char16_t right) {
            return GetNameRules().IsSame(left, right);
        });
    });
}

// Bytes past the limit are not read, because no hive has more.
int ReadImage(const std::u16string& fileName, CHiveImage& image) {
    SFileBytes file;
    if (const int status = ReadFileBytes(fileName.c_str(), CHiveImage::kMaxSize, file)) {
        return status;
    }
    image = CHiveImage(std::move(file.bytes), file.size);
    return ERROR_SUCCESS;
}

// Reads a hive's file, and also its logs if its last write was interrupted. `isWhole` becomes
// whether the hive is complete then.
int ReadHive(const std::u16string& fileName, CHiveImage& image, bool& isWhole) {
    if (const int status = ReadImage(fileName, image)) {
        return status;
    }
    isWhole = !formats::IsDirtyHive(image);
    if (isWhole) {
        return ERROR_SUCCESS;
    }
    std::vector<CHiveImage> logs;
    // A missing log is no failure, and must not be the last error of a load that succeeds.
    const int lastError = GetLastError();
    // Newer systems write the first two in turn, older ones only the last.
    for (const char16_t* const suffix : {u".LOG1", u".LOG2", u".LOG"}) {
        CHiveImage log;
        // A log that cannot be read is like one that does not exist.
        if (ReadImage(fileName + suffix, log) == ERROR_SUCCESS) {
            logs.push_back(std::move(log));
        }
    }
    SetLastError(lastError);
    isWhole = formats::ApplyHiveLogs(image, logs);
    return ERROR_SUCCESS;
}

// A key of a mounted hive, or HKEY_LOCAL_MACHINE itself, which has no mount.
class CDescribedKey final : public COpenKey {
public:
    CDescribedKey() = default;
    CDescribedKey(SMount& mount, formats::KeyNumber key) : m_mount(&mount), m_key(key) {
        ++mount.openKeys;
    }
    ~CDescribedKey() override {
        if (m_mount != nullptr) {
            --m_mount->openKeys;
        }
    }
    CDescribedKey(const CDescribedKey&) = delete;
    CDescribedKey& operator=(const CDescribedKey&) = delete;

    int LoadHive(const char16_t* mountName, const char16_t* fileName) override;
    int UnloadHive(const char16_t* mountName) override;
    int OpenSubKey(std::u16string_view name, KeyHandle& key) const override;
    int QueryInfo(SKeyInfo& info) const override;
    int EnumKey(std::uint32_t index, std::u16string& name) const override;
    int EnumValue(std::uint32_t index, std::u16string& name, std::uint32_t& type) const override;
    int QueryValue(std::u16string_view name, std::uint32_t& type, void* data,
                   std::uint32_t& size) const override;

private:
    SMount* m_mount = nullptr;
    formats::KeyNumber m_key = formats::kRootKey;
};

int CDescribedKey::LoadHive(const char16_t* mountName, const char16_t* fileName) {
    // A mounted hive is never replaced, because keys may be open in it.
    if (FindMount(mountName) != GetMounts().end()) {
        return SetLastError(ERROR_ACCESS_DENIED);
    }
    CHiveImage image;
    auto mount = std::make_unique<SMount>();
    if (const int status = ReadHive(fileName, image, mount->isWhole)) {
        return status;
    }
    mount->name = mountName;
    if (!mount->hive.Load(std::move(image))) {
        return SetLastError(ERROR_BADDB);
    }
    // Last, so that a failure mounts nothing.
    GetMounts().push_back(std::move(mount));
    return ERROR_SUCCESS;
}

int CDescribedKey::UnloadHive(const char16_t* mountName) {
    const auto mount = FindMount(mountName);
    if (mount == GetMounts().end()) {
        return SetLastError(ERROR_FILE_NOT_FOUND);
    }
    // As on Windows, a hive with open keys cannot be unloaded.
    if ((*mount)->openKeys != 0) {
        return SetLastError(ERROR_ACCESS_DENIED);
    }
    GetMounts().erase(mount);
    return ERROR_SUCCESS;
}

// Opens a key of a mounted hive that was looked for.
int OpenFound(SMount& mount, formats::KeyNumber number, KeyHandle& key) {
    if (number == formats::kNoKey) {
        return SetLastError(ERROR_FILE_NOT_FOUND);
    }
    key = new CDescribedKey(mount, number);
    return ERROR_SUCCESS;
}

int CDescribedKey::OpenSubKey(std::u16string_view name, KeyHandle& key) const {
    if (m_mount != nullptr) {
        return OpenFound(*m_mount, m_mount->hive.FindChild(m_key, name), key);
    }
    const auto mount = FindMount(name);
    return mount == GetMounts().end() ? SetLastError(ERROR_FILE_NOT_FOUND)
                                      : OpenFound(**mount, formats::kRootKey, key);
}

int CDescribedKey::QueryInfo(SKeyInfo& info) const {
    if (m_mount != nullptr) {
        const formats::SKeyInfo found = m_mount->hive.GetInfo(m_key);
        info = {found.subKeyCount, found.longestSubKeyName, found.valueCount,
                found.longestValueName};
        return ERROR_SUCCESS;
    }
    // HKEY_LOCAL_MACHINE has a subkey for each mount, and no values.
    info = SKeyInfo();
    for (const auto& mount : GetMounts()) {
        ++info.subKeyCount;
        info.longestSubKeyName =
            std::max(info.longestSubKeyName, static_cast<std::uint32_t>(mount->name.size()));
    }
    return ERROR_SUCCESS;
}

int CDescribedKey::EnumKey(std::uint32_t index, std::u16string& name) const {
    if (m_mount != nullptr) {
        return m_mount->hive.GetChildName(m_key, index, name) ? ERROR_SUCCESS
                                                              : SetLastError(ERROR_NO_MORE_ITEMS);
    }
    if (index >= GetMounts().size()) {
        return SetLastError(ERROR_NO_MORE_ITEMS);
    }
    name = GetMounts()[index]->name;
    return ERROR_SUCCESS;
}

int CDescribedKey::EnumValue(std::uint32_t index, std::u16string& name, std::uint32_t& type) const {
    formats::SValueNode value;
    if (m_mount == nullptr || !m_mount->hive.GetValue(m_key, index, value)) {
        return SetLastError(ERROR_NO_MORE_ITEMS);
    }
    value.name.CopyTo(name);
    type = value.type;
    return ERROR_SUCCESS;
}

int CDescribedKey::QueryValue(std::u16string_view name, std::uint32_t& type, void* data,
                              std::uint32_t& size) const {
    formats::SValueNode value;
    if (m_mount == nullptr || !m_mount->hive.FindValue(m_key, name, value)) {
        return SetLastError(ERROR_FILE_NOT_FOUND);
    }
    // RegQueryValueExW gives type and size in any case, and without a buffer nothing else.
    const bool hasRoom = value.size <= size;
    type = value.type;
    size = value.size;
    if (data == nullptr) {
        return ERROR_SUCCESS;
    }
    if (!hasRoom) {
        return SetLastError(ERROR_MORE_DATA);
    }
    m_mount->hive.CopyData(value, static_cast<std::byte*>(data));
    return ERROR_SUCCESS;
}

class CDescribedRegistry final : public CRegistryAnswers {
public:
    int ConnectMachine(KeyHandle& machine) const override {
        machine = new CDescribedKey;
        return ERROR_SUCCESS;
    }
    int OpenKey(std::uint32_t predefinedKey, std::u16string_view subKey,
                KeyHandle& key) const override;
    EHiveState GetHiveState(const char16_t* mountName) const override {
        const auto mount = FindMount(mountName);
        if (mount == GetMounts().end()) {
            return EHiveState::Whole;
        }
        return !(*mount)->isWhole           ? EHiveState::Dirty
               : (*mount)->hive.IsDamaged() ? EHiveState::Damaged
                                            : EHiveState::Whole;
    }
    int EnablePrivilege(const char16_t* /*name*/) const override { return 0; }
    bool DisablePrivilege(const char16_t* /*name*/) const override { return true; }
};

int CDescribedRegistry::OpenKey(std::uint32_t predefinedKey, std::u16string_view subKey,
                                KeyHandle& key) const {
    if (predefinedKey < kFirstPredefinedKey || predefinedKey > kLastPredefinedKey) {
        return SetLastError(ERROR_INVALID_HANDLE);
    }
    // Nothing is ever mounted below the other predefined keys.
    if (predefinedKey != kLocalMachine) {
        return SetLastError(ERROR_FILE_NOT_FOUND);
    }
    if (subKey.empty()) {
        return ConnectMachine(key);
    }
    // The first name is that of the mount. What follows is a path in its hive, and nothing means
    // its root.
    const std::size_t length = std::min(subKey.find(u'\\'), subKey.size());
    const auto mount = FindMount(subKey.substr(0, length));
    if (mount == GetMounts().end()) {
        return SetLastError(ERROR_FILE_NOT_FOUND);
    }
    const std::u16string_view path = subKey.substr(std::min(length + 1, subKey.size()));
    return OpenFound(**mount, (*mount)->hive.FindKey(path), key);
}

}  // namespace

const CRegistryAnswers& GetDescribedRegistry() {
    static const CDescribedRegistry s_registry;
    return s_registry;
}

}  // namespace platform
