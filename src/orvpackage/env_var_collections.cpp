#include "orvpackage/env_var_collections.h"

#include "foundation/file_path_converter.h"
#include "foundation/number_text.h"
#include "foundation/xml_writer.h"
#include "orvpackage/sanitizer.h"

namespace {

struct SReadEnvVar {
    CStrW value;
    bool isUser = false;
    std::uint8_t installMode = 0;
};

}  // namespace

void COrvCreateEnvVar::SetValue(const CStrW& text) {
    m_value = text;
    ExpandFileTokens(m_value);
}

bool COrvCreateEnvVar::IsValid() const { return COrvEnvVarItem::IsValid() && !m_value.IsEmpty(); }

void COrvEnvVarCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    COrvNamedItemCollection::WriteItem(writer, item);
    WriteBool(writer, u"User", static_cast<const COrvEnvVarItem&>(item).IsUser());
}

void COrvEnvVarCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    COrvNamedItemCollection::ReadAttribute(name, value);
    if (name.EqualsNoCase(u"User")) {
        ReadSoFar<SReadEnvVar>().isUser = value.IsTrue();
    }
}

void COrvCreateEnvVarsCollection::WriteItem(CXmlWriter& writer, const COrvItem& item) const {
    COrvEnvVarCollection::WriteItem(writer, item);
    const auto& variable = static_cast<const COrvCreateEnvVar&>(item);
    WriteSanitized(writer, u"Value", variable.GetValue(), SanitizeNoRegPaths);
    writer.WriteAttribute(u"InstallMode", UnsignedToText(variable.InstallMode));
}

void COrvCreateEnvVarsCollection::ReadAttribute(const CStrW& name, const CStrW& value) {
    COrvEnvVarCollection::ReadAttribute(name, value);
    if (name.EqualsNoCase(u"Value")) {
        ReadSoFar<SReadEnvVar>().value = GetSanitizer().Desanitize(value, SanitizeNoRegPaths);
    } else if (name.EqualsNoCase(u"InstallMode")) {
        ReadSoFar<SReadEnvVar>().installMode = static_cast<std::uint8_t>(ReadPlainNumber32(value));
    }
}

bool COrvCreateEnvVarsCollection::FinishItem() {
    const auto read = TakeRead<SReadEnvVar>();
    COrvCreateEnvVar* const added = AddItem(TakeReadName(), read.isUser);
    if (added != nullptr) {
        added->SetValue(read.value);
        added->InstallMode = read.installMode;
    }
    return added != nullptr;
}

bool COrvDeleteEnvVarsCollection::FinishItem() {
    return AddItem(TakeReadName(), TakeRead<SReadEnvVar>().isUser) != nullptr;
}
