#include "discovery/service_processor.h"

#include <algorithm>
#include <span>
#include <string>

#include "foundation/file_path_converter.h"
#include "orvpackage/multi_string.h"
#include "orvpackage/service_collections.h"
#include "platform/files.h"
#include "platform/status.h"
#include "reporting/record.h"

namespace {

constexpr std::u16string_view kLocalSystem = u"LocalSystem";
// In UTF-16 units: the longest path of Windows. No blank after it is tried.
constexpr std::size_t kMaxPath = 32767;

CDoubleNullStringW StringsOf(const CRegBuf& data) {
    // An odd last byte is dropped.
    std::u16string units(data.GetSize() / sizeof(char16_t), u'\0');
    const std::span<std::byte> bytes = std::as_writable_bytes(std::span(units));
    std::copy_n(data.GetData(), bytes.size(), bytes.begin());
    return SplitMultiString(units);
}

enum class EProgram {
    Found,
    Missing,
    NoneBelow,  // a folder of the path is missing, so nothing is below it
    NoPath,     // not a path, and no longer text with this start is one
};

EProgram FindProgram(const CStrW& text) {
    // A start such as "\\?\UNC\" is not yet a path, but a longer text may be one. After 8 units
    // this cannot happen any more.
    constexpr std::size_t kLongestStart = 8;
    const CFilePathW path(text);
    if (path.IsEmpty()) {
        return text.GetLength() > kLongestStart ? EProgram::NoPath : EProgram::Missing;
    }
    platform::SFindData found;
    const int status = platform::FindEntry(path.ToString().Get(), found);
    if (status == ERROR_SUCCESS) {
        return found.IsFolder() ? EProgram::Missing : EProgram::Found;
    }
    // The name of a share may contain the blank.
    return status == ERROR_PATH_NOT_FOUND && !path.IsRoot() ? EProgram::NoneBelow
                                                            : EProgram::Missing;
}

// The values in the key of a service, each with the type in which it is read.
struct SServiceValue {
    const char16_t* name;
    std::uint32_t type;
    void (*store)(CServiceInfo& service, const CRegBuf& data);
};

template <std::uint32_t CServiceInfo::*kField>
void StoreNumber(CServiceInfo& service, const CRegBuf& data) {
    service.*kField = data.GetNumber();
}

template <CStrW CServiceInfo::*kField>
void StoreText(CServiceInfo& service, const CRegBuf& data) {
    service.*kField = data.GetText();
}

void StoreImagePath(CServiceInfo& service, const CRegBuf& data) {
    service.SetImagePath(data.GetText());
}

void StoreGroups(CServiceInfo& service, const CRegBuf& data) {
    service.AddDependOnGroup(StringsOf(data));
}

void StoreServices(CServiceInfo& service, const CRegBuf& data) {
    ForEachString(StringsOf(data),
                  [&service](const char16_t* name) { service.Dependencies.Add(name); });
}

void StoreObjectName(CServiceInfo& service, const CRegBuf& data) {
    const CStrW name = data.GetText();
    if (!name.IsEmpty() && !name.EqualsNoCase(kLocalSystem)) {
        service.ObjectName = name;
    }
}

// A value of another type is ignored, so "ImagePath" has a row for each type that it may have.
constexpr SServiceValue kServiceValues[] = {
    {u"Type", REG_DWORD, &StoreNumber<&CServiceInfo::Type>},
    {u"Start", REG_DWORD, &StoreNumber<&CServiceInfo::Start>},
    {u"ErrorControl", REG_DWORD, &StoreNumber<&CServiceInfo::ErrorControl>},
    {u"DisplayName", REG_SZ, &StoreText<&CServiceInfo::DisplayName>},
    {u"Description", REG_SZ, &StoreText<&CServiceInfo::Description>},
    {u"ImagePath", REG_SZ, &StoreImagePath},
    {u"ImagePath", REG_EXPAND_SZ, &StoreImagePath},
    {u"Group", REG_SZ, &StoreText<&CServiceInfo::Group>},
    {u"DependOnGroup", REG_MULTI_SZ, &StoreGroups},
    {u"DependOnService", REG_MULTI_SZ, &StoreServices},
    {u"ObjectName", REG_SZ, &StoreObjectName},
};

// The numbers come from a hive and may be anything. The checks replace those that a service manager
// does not accept.
SOrvService ContentOf(const CStrW& name, const CServiceInfo& service) {
    SOrvService content;
    content.name = name;
    content.serviceType = CheckServiceType(service.Type);
    content.startType = CheckStartType(service.Start);
    content.errorControl = CheckErrorControl(service.ErrorControl);
    content.displayName = CheckDisplayName(service.DisplayName);
    content.description = service.Description;
    content.binary = service.Binary.ToString();
    content.arguments = service.Arguments;
    content.loadOrder = service.Group;
    content.dependencies = service.Dependencies;
    content.username = service.ObjectName;
    return content;
}

}  // namespace

void CServiceInfo::SetImagePath(std::u16string_view text) {
    Binary.Clear();
    Arguments.Clear();
    if (!text.starts_with(u'"')) {
        SplitAtBlank(text);
    } else {
        text.remove_prefix(1);
        // Without a second quote the program is all the rest.
        const std::size_t end = text.find(u'"');
        Binary = CFilePathW(text.substr(0, end));
        if (end != std::u16string_view::npos) {
            Arguments = text.substr(end + 1);
        }
    }
    Arguments.Trim();
}

// Takes the shortest text before a blank that is the path of a file. Each try asks the file system.
// So blanks are skipped whose text cannot be one: otherwise a text of only blanks and backslashes
// would take hours.
void CServiceInfo::SplitAtBlank(std::u16string_view text) {
    // Also ends when no blank is left, because npos is above the limit.
    for (std::size_t blank = text.find(u' '); blank < kMaxPath;) {
        CStrW program = text.substr(0, blank);
        ExpandFileTokens(program);
        const EProgram result = FindProgram(program);
        if (result == EProgram::Found) {
            Binary = CFilePathW(text.substr(0, blank));
            Arguments = text.substr(blank + 1);
            return;
        }
        if (result == EProgram::NoPath) {
            break;
        }
        // Below a missing folder there is nothing, until ".." leads up again.
        const std::size_t next =
            result == EProgram::NoneBelow ? text.find(uR"(\..\)", blank) : blank + 1;
        blank = text.find(u' ', next);
    }
    Binary = CFilePathW(text);
}

void CServiceInfo::AddDependOnGroup(const CDoubleNullStringW& groups) {
    ForEachString(groups,
                  [this](const char16_t* group) { Dependencies.Add((u'+' + CStrW(group)).Get()); });
}

CServiceProcessor::CServiceProcessor()
    : m_servicesKey(CHiveNameW(u"HKEY_LOCAL_MACHINE"),
                    CRegPathW(uR"(SYSTEM\CurrentControlSet\Services)")) {}

bool CServiceProcessor::IsBelowServices(const CRegPathW& path) const {
    return path.EqualsFirstN(m_servicesKey, m_servicesKey.GetSegmentCount());
}

bool CServiceProcessor::IsService(const CRegPathW& path) const {
    return path.GetSegmentCount() == m_servicesKey.GetSegmentCount() + 1;
}

bool CServiceProcessor::CheckKey(const CRegPathW& path, std::uint32_t /*mode*/) {
    if (!IsBelowServices(path)) {
        return true;
    }
    if (IsService(path)) {
        const CStrW name = path.GetLastSegment().GetText();
        // A service that is created is no longer deleted.
        m_deletedServices.erase(name);
        FindOrAdd(name);
    }
    return false;
}

bool CServiceProcessor::TakesValuesOf(const CRegPathW& key) const { return IsBelowServices(key); }

bool CServiceProcessor::CheckValue(const CRegPathW& key, const CStrW& name, std::uint32_t mode) {
    if (!TakesValuesOf(key)) {
        return true;
    }
    // Values of keys below that of a service are claimed and dropped.
    if (!IsService(key) || (mode != 1 && mode != 2)) {
        return false;
    }
    CServiceInfo& service = FindOrAdd(key.GetLastSegment().GetText());
    CRegKey openKey;
    // Claimed even if it cannot be read; the field stays as it is then.
    if (openKey.Open(key) != ERROR_SUCCESS || openKey.QueryValue(name, m_buffer) != ERROR_SUCCESS) {
        return false;
    }
    for (const SServiceValue& value : kServiceValues) {
        if (m_buffer.GetType() == value.type && name.EqualsNoCase(value.name)) {
            value.store(service, m_buffer);
        }
    }
    return false;
}

CServiceInfo& CServiceProcessor::FindOrAdd(const CStrW& name) {
    return m_services.try_emplace(name).first->second;
}

void CServiceProcessor::Apply(COrvPackage& package) const {
    // AddItem keeps the first item of a name. So a service that the profile describes stays as it
    // is. A record without a program makes an item that is not valid, and no manifest has it.
    auto& created = package.Get<COrvCreateServicesCollection>();
    for (const auto& [name, service] : m_services) {
        const COrvCreateService* const added = created.AddItem(ContentOf(name, service));
        GetRecord().Add({.thing = EThing::Service,
                         .reason = added == nullptr   ? EReason::SameItem
                                   : added->IsValid() ? EReason::Created
                                                      : EReason::ServiceOfValues,
                         .source = name,
                         .collection = u"CreateServices",
                         .target = name});
    }
    auto& deleted = package.Get<COrvDeleteServicesCollection>();
    for (const CStrW& name : m_deletedServices) {
        deleted.AddItem(name);
    }
}
