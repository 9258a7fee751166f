// casmodel/isolation_environment.h - the rules under which a target was captured.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/wide_string.h"

class CFilePathW;
class CXmlReader;

enum class ECasRuleType : std::int32_t {
    Ignore = 0,
    IsolatePerUser = 1,
    StrictIsolation = 2,
    Redirect = 3,
};

struct SCasAccessFlags {
    void Read(CXmlReader& reader);

    bool UserExecute = false;
    bool InstallExecute = false;
    bool PhysicalExecute = false;
    bool InstallCopyOnWrite = false;
    bool PhysicalCopyOnWrite = false;
};

// The rule for one kind of object where no other rule applies.
class CCasDefaultRule {
public:
    virtual ~CCasDefaultRule() = default;

    void Read(CXmlReader& reader);

    ECasRuleType RuleType = ECasRuleType::Ignore;
    SCasAccessFlags AccessFlags;
    CStrW Description;
    CStrW UserRootLocation;
    CStrW InstallRootLocation;
    CStrW VirtualizedName;
    CStrW PhysicalName;
};

// A rule for one path. `Origin` and `Type` are attributes of its element.
class CCasRule {
public:
    virtual ~CCasRule() = default;

    void Read(CXmlReader& reader);

    CStrW Origin;
    CStrW Type;
    ECasRuleType RuleType = ECasRuleType::Ignore;
    CStrW VirtualizedName;
    CStrW Description;
};

class CCasExeSecurityMode {
public:
    virtual ~CCasExeSecurityMode() = default;

    void Read(CXmlReader& reader);

    CStrW Enhanced;
};

class CCasExeControl {
public:
    virtual ~CCasExeControl() = default;

    void Read(CXmlReader& reader);

    CStrW ExePathName;
};

// Which programs may run.
class CCasSecurity {
public:
    virtual ~CCasSecurity() = default;

    void Read(CXmlReader& reader);

    CCasExeSecurityMode ExeSecurityMode;
    std::vector<std::unique_ptr<CCasExeControl>> ExeControlList;
};

// The content of a target's "SandboxData.xml". It is read only to check that it can be read; the
// conversion does not use it.
class CCasIsolationEnvironment {
public:
    virtual ~CCasIsolationEnvironment() = default;

    // 0, the HRESULT when the file cannot be opened, or ERROR_NOT_FOUND when there is no element
    // "/CitrixAIE/AIE".
    [[nodiscard]] int ReadFromFile(const CFilePathW& file);

    void Read(CXmlReader& reader);

    CStrW Name;
    CStrW Description;
    CCasDefaultRule NamedObjectDefaultRule;
    CCasDefaultRule RegistryDefaultRule;
    CCasDefaultRule FileSystemDefaultRule;
    CCasSecurity Security;
    std::vector<std::unique_ptr<CCasRule>> Rules;
};
