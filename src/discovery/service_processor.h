// discovery/service_processor.h - takes services out of the captured registry.
#pragma once

#include <cstdint>
#include <map>
#include <string_view>

#include "foundation/double_null_string.h"
#include "foundation/file_path.h"
#include "foundation/reg_key.h"
#include "foundation/reg_path.h"
#include "foundation/sorted_texts.h"
#include "orvpackage/package.h"

// The registry data of a service. Fields without data have the defaults of the service manager.
class CServiceInfo {
public:
    virtual ~CServiceInfo() = default;

    // Splits a command line into program and arguments. A program in quotes ends at the second
    // quote. Any other one ends at the first blank for which the text before it, with its tokens
    // expanded, is a file of this machine; if there is none, the program is the whole text.
    void SetImagePath(std::u16string_view text);
    // Adds load order groups to the dependencies. A "+" before the name marks a group.
    void AddDependOnGroup(const CDoubleNullStringW& groups);

    std::uint32_t Type = 0;
    std::uint32_t Start = 4;
    std::uint32_t ErrorControl = 1;
    CStrW DisplayName;
    CStrW Description;
    CFilePathW Binary;
    CStrW Arguments;
    CStrW Group;
    CDoubleNullStringW Dependencies;
    CStrW ObjectName;  // empty for the local system's account

private:
    void SplitAtBlank(std::u16string_view text);
};

// Sees every captured key and value during the walk, and claims those of services. Data collected
// for one target stays for the next ones. The mode is 1 or 2 for an entry that the package creates
// and 3 for one that it deletes. One thread at a time.
class CServiceProcessor {
public:
    CServiceProcessor();
    virtual ~CServiceProcessor() = default;
    CServiceProcessor(const CServiceProcessor&) = delete;
    CServiceProcessor& operator=(const CServiceProcessor&) = delete;

    // Whether the registry stage keeps a key, given by its path on the real machine; otherwise it
    // is claimed. The key of a service makes a record. The key "Services" itself and the keys below
    // those of services are claimed and make none.
    [[nodiscard]] bool CheckKey(const CRegPathW& path, std::uint32_t mode);
    // Whether a key is that of one service, if CheckKey claims it.
    [[nodiscard]] bool IsService(const CRegPathW& path) const;
    // Whether the registry stage keeps a value; otherwise it is claimed and goes to the record of
    // its service. `key` is a path that can be opened. A path in a mounted hive is never below
    // "Services", so all values of a capture are kept.
    [[nodiscard]] bool CheckValue(const CRegPathW& key, const CStrW& name, std::uint32_t mode);
    // False when CheckValue keeps every value of this key.
    [[nodiscard]] bool TakesValuesOf(const CRegPathW& key) const;

    // The record of a service, made if it is missing. It is valid as long as the processor.
    CServiceInfo& FindOrAdd(const CStrW& name);

    // Adds an item for each record, in the order of names. A service that the package already has
    // is unchanged. The records stay.
    void Apply(COrvPackage& package) const;

private:
    [[nodiscard]] bool IsBelowServices(const CRegPathW& path) const;

    CRegPathW m_servicesKey;
    std::map<CStrW, CServiceInfo, STextLessNoCase> m_services;  // by name
    SortedTexts m_deletedServices;  // always empty: no capture marks a service as deleted
    CRegBuf m_buffer;
};
