#include "casmodel/isolation_environment.h"

#include "casmodel/document.h"
#include "casmodel/element_table.h"
#include "foundation/file_path.h"
#include "platform/status.h"

namespace {

// The reader stays on the start tag: the element has its meaning by its name alone.
template <ECasRuleType kType>
void SetRuleType(ECasRuleType& type, CXmlReader&) {
    type = kType;
}

// The type is the name of a child element. The last one counts.
constexpr SElement<ECasRuleType> kRuleTypeElements[] = {
    {u"/Ignore", SetRuleType<ECasRuleType::Ignore>},
    {u"/IsolatePerUser", SetRuleType<ECasRuleType::IsolatePerUser>},
    {u"/StrictIsolation", SetRuleType<ECasRuleType::StrictIsolation>},
    {u"/Redirect", SetRuleType<ECasRuleType::Redirect>},
};

// For both kinds of rules, which have no class in common.
template <class TRule>
void ReadRuleType(TRule& rule, CXmlReader& reader) {
    ReadElements(kRuleTypeElements, rule.RuleType, reader);
}

// In this file true is a text that begins with "T" or "t"; "1" is false.
void ReadFlag(CXmlReader& reader, bool& field) {
    CStrW text;
    ReadString(reader, text);
    field = EqualsNoCase(text.View().substr(0, 1), u"T");
}

constexpr SElement<SCasAccessFlags> kAccessFlagElements[] = {
    {u"/UserExecute", Value<&SCasAccessFlags::UserExecute, ReadFlag>},
    {u"/InstallExecute", Value<&SCasAccessFlags::InstallExecute, ReadFlag>},
    {u"/PhysicalExecute", Value<&SCasAccessFlags::PhysicalExecute, ReadFlag>},
    {u"/InstallCopyOnWrite", Value<&SCasAccessFlags::InstallCopyOnWrite, ReadFlag>},
    {u"/PhysicalCopyOnWrite", Value<&SCasAccessFlags::PhysicalCopyOnWrite, ReadFlag>},
};

constexpr SElement<CCasDefaultRule> kDefaultRuleElements[] = {
    {u"/RuleType", ReadRuleType<CCasDefaultRule>},
    {u"/AccessFlags", Block<&CCasDefaultRule::AccessFlags>},
    {u"/Description", Value<&CCasDefaultRule::Description, ReadString>},
    {u"/UserRootLocation", Value<&CCasDefaultRule::UserRootLocation, ReadString>},
    {u"/InstallRootLocation", Value<&CCasDefaultRule::InstallRootLocation, ReadString>},
    {u"/VirtualizedName", Value<&CCasDefaultRule::VirtualizedName, ReadString>},
    {u"/PhysicalName", Value<&CCasDefaultRule::PhysicalName, ReadString>},
};

constexpr SElement<CCasRule> kRuleElements[] = {
    {u"/RuleType", ReadRuleType<CCasRule>},
    {u"/Description", Value<&CCasRule::Description, ReadString>},
    {u"/VirtualizedName", Value<&CCasRule::VirtualizedName, ReadString>},
};

// Unlike the flags above, this is kept as a text.
constexpr SElement<CCasExeSecurityMode> kExeSecurityModeElements[] = {
    {u"/Enhanced", Value<&CCasExeSecurityMode::Enhanced, ReadString>},
};

constexpr SElement<CCasExeControl> kExeControlElements[] = {
    {u"/ExePathName", Value<&CCasExeControl::ExePathName, ReadString>},
};

constexpr SElement<CCasSecurity> kSecurityElements[] = {
    {u"/ExeSecurityMode", Block<&CCasSecurity::ExeSecurityMode>},
    // Each child is a program, whatever its name.
    {u"/ExeControlList", Items<&CCasSecurity::ExeControlList>},
};

constexpr SElement<CCasIsolationEnvironment> kElements[] = {
    {u"/Name", Value<&CCasIsolationEnvironment::Name, ReadString>},
    {u"/Description", Value<&CCasIsolationEnvironment::Description, ReadString>},
    {u"/Security", Block<&CCasIsolationEnvironment::Security>},
    {u"/NamedObjectDefaultRule", Block<&CCasIsolationEnvironment::NamedObjectDefaultRule>},
    {u"/RegistryDefaultRule", Block<&CCasIsolationEnvironment::RegistryDefaultRule>},
    {u"/FileSystemDefaultRule", Block<&CCasIsolationEnvironment::FileSystemDefaultRule>},
    {u"/Rules", Items<&CCasIsolationEnvironment::Rules>},
    {u"/Applications", nullptr},
};

}  // namespace

void SCasAccessFlags::Read(CXmlReader& reader) { ReadElements(kAccessFlagElements, *this, reader); }

void CCasDefaultRule::Read(CXmlReader& reader) {
    ReadElements(kDefaultRuleElements, *this, reader);
}

void CCasRule::Read(CXmlReader& reader) {
    CStrW name;
    // The attributes first: ReadElements leaves the start tag.
    for (int status = reader.MoveToFirstAttribute(); status == S_OK;
         status = reader.MoveToNextAttribute()) {
        reader.GetLocalName(name);
        if (name.EqualsNoCase(u"origin")) {
            reader.GetValue(Origin);
        } else if (name.EqualsNoCase(u"type")) {
            reader.GetValue(Type);
        }
    }
    ReadElements(kRuleElements, *this, reader);
}

void CCasExeSecurityMode::Read(CXmlReader& reader) {
    ReadElements(kExeSecurityModeElements, *this, reader);
}

void CCasExeControl::Read(CXmlReader& reader) { ReadElements(kExeControlElements, *this, reader); }

void CCasSecurity::Read(CXmlReader& reader) { ReadElements(kSecurityElements, *this, reader); }

void CCasIsolationEnvironment::Read(CXmlReader& reader) { ReadElements(kElements, *this, reader); }

int CCasIsolationEnvironment::ReadFromFile(const CFilePathW& file) {
    // What is before this element is skipped, and what is after it is not read.
    return ReadDocument(file, u"/CitrixAIE/AIE", [this](CXmlReader& reader) { Read(reader); });
}
