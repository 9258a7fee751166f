#include "foundation/reg_key.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/status.h"

namespace {

constexpr std::size_t kUnit = sizeof(char16_t);
constexpr std::size_t kMostTerminators = 2;  // of a list of texts

}  // namespace

CStrW CRegBuf::GetText() const {
    // An odd last byte is no unit and is dropped. c_str() ends the text at its first NUL.
    const std::size_t units = m_dataSize / kUnit;
    std::u16string text(units, u'\0');
    if (units != 0) {
        std::memcpy(text.data(), m_data.get(), units * kUnit);
    }
    return CStrW(text.c_str());
}

std::uint32_t CRegBuf::GetNumber() const {
    std::uint32_t number = 0;
    if (m_dataSize != 0) {
        std::memcpy(&number, m_data.get(), std::min<std::size_t>(m_dataSize, sizeof(number)));
    }
    return number;
}

bool CRegBuf::Reserve(std::size_t size) {
    m_data.reset();  // first, so that the old and the new data are never both in memory
    m_data.reset(new (std::nothrow) std::byte[size + kMostTerminators * kUnit]);
    m_capacity = m_data == nullptr ? 0 : static_cast<std::uint32_t>(size);
    return m_data != nullptr;
}

// Makes the data, which has at least that many units, end in `units` NULs.
void CRegBuf::Terminate(std::size_t units) {
    std::size_t present = 0;
    while (present < units) {
        // Unit by unit from the end, without regard to alignment.
        const std::byte* const last = m_data.get() + m_dataSize - (present + 1) * kUnit;
        if (last[0] != std::byte{0} || last[1] != std::byte{0}) {
            break;
        }
        ++present;
    }
    const std::size_t added = (units - present) * kUnit;
    std::fill_n(m_data.get() + m_dataSize, added, std::byte{0});
    m_dataSize += static_cast<std::uint32_t>(added);
}

int CRegKey::Open(const CRegPathW& path) {
    Close();
    return platform::OpenKey(path.GetHiveHandle(), path.ViewSubKey(), m_hKey);
}

int CRegKey::OpenSubKey(const CRegKey& parent, std::u16string_view name) {
    Close();
    return platform::OpenSubKey(parent.m_hKey, name, m_hKey);
}

void CRegKey::Close() {
    if (m_hKey != nullptr) {
        platform::CloseKey(m_hKey);
        m_hKey = nullptr;
    }
}

int CRegKey::QueryInfo(platform::SKeyInfo& info) const {
    return platform::QueryKeyInfo(m_hKey, info);
}

int CRegKey::EnumKey(std::uint32_t index, std::u16string& name) const {
    return platform::EnumKey(m_hKey, index, name);
}

int CRegKey::EnumValue(std::uint32_t index, std::u16string& name, std::uint32_t& type) const {
    return platform::EnumValue(m_hKey, index, name, type);
}

int CRegKey::QueryValue(std::u16string_view name, CRegBuf& buffer) const {
    buffer.m_dataSize = 0;
    buffer.m_type = REG_NONE;
    std::uint32_t type = REG_NONE;
    std::uint32_t size = buffer.m_capacity;
    // A buffer without storage is null, which asks only for the size; then the second call reads.
    int status = platform::QueryValue(m_hKey, name, type, buffer.m_data.get(), size);
    if (status == ERROR_MORE_DATA || size > buffer.m_capacity) {
        if (size > buffer.m_capacity && !buffer.Reserve(size)) {
            return ERROR_NOT_ENOUGH_MEMORY;
        }
        // If the value has grown since the first call, this fails too, and the buffer stays empty.
        size = buffer.m_capacity;
        status = platform::QueryValue(m_hKey, name, type, buffer.m_data.get(), size);
    }
    if (status != ERROR_SUCCESS) {
        return status;
    }
    buffer.m_dataSize = size;
    buffer.m_type = type;
    // After an odd last byte the terminators follow directly. Data of less than one unit (two in a
    // list) gets none.
    if ((type == REG_SZ || type == REG_EXPAND_SZ) && size >= kUnit) {
        buffer.Terminate(1);
    } else if (type == REG_MULTI_SZ && size >= 2 * kUnit) {
        buffer.Terminate(2);
    }
    return ERROR_SUCCESS;
}

int CRegKey::QueryString(std::u16string_view name, CStrW& value) const {
    value.Assign({});
    std::uint32_t type = REG_NONE;
    std::uint32_t size = 0;
    int status = platform::QueryValue(m_hKey, name, type, nullptr, size);
    // For a missing value the type is still REG_NONE, so its status is returned here too.
    if ((type != REG_SZ && type != REG_EXPAND_SZ) ||
        (status != ERROR_SUCCESS && status != ERROR_MORE_DATA)) {
        return status;
    }
    // One unit more than the data, so that the text always ends in a NUL.
    const std::size_t capacity = size / kUnit + 1;
    auto* const buffer = static_cast<char16_t*>(std::calloc(capacity, kUnit));
    if (buffer == nullptr) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    size = static_cast<std::uint32_t>(capacity * kUnit);
    status = platform::QueryValue(m_hKey, name, type, buffer, size);
    if (status != ERROR_SUCCESS) {
        std::free(buffer);
        return status;
    }
    value.Attach(buffer, capacity);
    return status;
}

std::uint32_t CRegKey::QueryNumber(std::u16string_view name) const {
    std::uint32_t number = 0;
    std::uint32_t type = REG_NONE;
    std::uint32_t size = sizeof(number);
    const int status = platform::QueryValue(m_hKey, name, type, &number, size);
    return status == ERROR_SUCCESS && type == REG_DWORD && size == sizeof(number) ? number : 0;
}
