// discovery/service_processor.h - lifts services out of the captured registry.
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

// What the registry says of a service; what it does not say is as a service manager has it.
class CServiceInfo {
public:
    virtual ~CServiceInfo() = default;

    // Splits a command line into program and arguments. A program in quotes ends at the second one.
    // Any other ends at the first blank before which a file of this machine stands, its tokens
    // expanded, and without such a one it is the whole text.
    void SetImagePath(std::u16string_view text);
    // Adds the names of load order groups, which a "+" tells from those of services.
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

// Sees every captured key and value during the walk and claims those of services. What is gathered
// stays for the targets that follow. The mode is 1 or 2 for what the package creates and 3 for what
// it deletes. One thread at a time.
class CServiceProcessor {
public:
    CServiceProcessor();
    virtual ~CServiceProcessor() = default;
    CServiceProcessor(const CServiceProcessor&) = delete;
    CServiceProcessor& operator=(const CServiceProcessor&) = delete;

    // Whether a key, given by its path on the real machine, stays with the registry stage. The key
    // of a service makes a record; the keys around and below it are claimed and make nothing.
    [[nodiscard]] bool CheckKey(const CRegPathW& path, std::uint32_t mode);
    // Whether a value stays with the registry stage; its key is given by a path that can be opened.
    // A value of a service goes to its record. The path in a mounted hive is none of a service's,
    // so that the values of a capture all stay.
    [[nodiscard]] bool CheckValue(const CRegPathW& key, const CStrW& name, std::uint32_t mode);
    // False when CheckValue lets every value of a key stay.
    [[nodiscard]] bool TakesValuesOf(const CRegPathW& key) const;

    // The record of a service, which is made when missing; on loan until the processor ends.
    CServiceInfo& FindOrAdd(const CStrW& name);

    // Adds an item for each record, by rising name; a service that the package has already stays as
    // it is. The records remain.
    void Apply(COrvPackage& package) const;

private:
    [[nodiscard]] bool IsBelowServices(const CRegPathW& path) const;
    [[nodiscard]] bool IsService(const CRegPathW& path) const;

    CRegPathW m_servicesKey;
    std::map<CStrW, CServiceInfo, STextLessNoCase> m_services;  // by their name
    SortedTexts m_deletedServices;  // stays empty: no capture says that a service is deleted
    CRegBuf m_buffer;
};
