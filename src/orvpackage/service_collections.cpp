#include "orvpackage/service_collections.h"

#include <algorithm>
#include <array>

#include "orvpackage/crypt.h"
#include "orvpackage/multi_string.h"
#include "orvpackage/package.h"

namespace {

// Drivers of two kinds, and services with a process of their own or a shared one, each also
// interactive.
constexpr std::array<std::uint32_t, 6> kServiceTypes = {1, 2, 16, 32, 272, 288};
constexpr std::uint32_t kNoServiceType = 0;
constexpr std::uint32_t kDisabled = 4;
constexpr std::uint32_t kNormalErrors = 1;
// All numbers below this are known.
constexpr std::uint32_t kErrorControls = 4;
constexpr std::size_t kMaxDisplayName = 256;  // units, as the service manager allows

// Reads a number of a service. What a service manager would not accept is replaced by `kCheck`.
template <auto kCheck>
std::uint32_t ReadChecked(std::u16string_view text) {
    return kCheck(ReadCheckedNumber32(text));
}

void WriteDependencies(const SAttributeOutput& output, const SOrvService& from) {
    if (from.dependencies.GetCount() != 0) {
        output.Write(FormatMultiString(from.dependencies));
    }
}

void ReadDependencies(SOrvService& into, const CStrW& value, const COrvSanitizer& /*sanitizer*/) {
    into.dependencies = ParseMultiString(value);
}

// Encrypted at once, so that no clear text is kept.
void ReadPassword(SOrvService& into, const CStrW& value, const COrvSanitizer& /*sanitizer*/) {
    into.encryptedPassword = EncryptPassword(value);
}

constexpr SAttribute<SOrvService> kServiceAttributes[] = {
    {u"Name", Plain<&SOrvService::name, Always>},
    {u"ServiceType", Number<&SOrvService::serviceType, ReadChecked<CheckServiceType>>},
    {u"StartType", Number<&SOrvService::startType, ReadChecked<CheckStartType>>},
    {u"ErrorControl", Number<&SOrvService::errorControl, ReadChecked<CheckErrorControl>>},
    {u"DisplayName", Plain<&SOrvService::displayName, IfAny, CheckDisplayName>},
    {u"Description", Plain<&SOrvService::description, IfAny>},
    {u"Binary", Path<&SOrvService::binary, IfAny>},
    {u"Arguments", Path<&SOrvService::arguments, IfAny>},
    {u"LoadOrder", Plain<&SOrvService::loadOrder, IfAny>},
    {u"Dependencies", {WriteDependencies, ReadDependencies}},  // names, so nothing is made portable
    {u"Username", Plain<&SOrvService::username, IfAny>},
    {u"EncryptedPassword", Plain<&SOrvService::encryptedPassword, IfAny>},
    // Clear text may come in, from a manifest made by hand; it never goes out.
    {u"Password", {nullptr, ReadPassword}},
};

void WriteArguments(const SAttributeOutput& output, const SOrvServiceControl& from) {
    if (from.arguments.GetCount() != 0) {
        const COrvSanitizer& sanitizer = output.package.GetSanitizer();
        output.Write(
            FormatMultiString(sanitizer.SanitizeMulti(from.arguments, SanitizeNoRegPaths)));
    }
}

void ReadArguments(SOrvServiceControl& into, const CStrW& value, const COrvSanitizer& sanitizer) {
    into.arguments = ParseMultiString(sanitizer.Desanitize(value, SanitizeNoRegPaths));
}

void ExpandArguments(SOrvServiceControl& content) {
    content.arguments = ExpandMultiString(content.arguments);
}

constexpr SAttribute<SOrvServiceControl> kControlAttributes[] = {
    {u"Name", Plain<&SOrvServiceControl::name, Always>},
    {u"Action", Number<&SOrvServiceControl::action, ReadPlainNumber32>},
    // Each string goes out through the sanitizer by itself, but all come in through it as one text.
    {u"Arguments", {WriteArguments, ReadArguments, ExpandArguments}},
};

}  // namespace

// These repair what comes from a captured registry or a manifest, and report nothing: a service
// that cannot run is better left out or disabled than refused with the whole package.
std::uint32_t CheckServiceType(std::uint32_t type) {
    const bool isKnown =
        std::find(kServiceTypes.begin(), kServiceTypes.end(), type) != kServiceTypes.end();
    return isKnown ? type : kNoServiceType;
}

std::uint32_t CheckStartType(std::uint32_t type) { return std::min(type, kDisabled); }

std::uint32_t CheckErrorControl(std::uint32_t control) {
    return control < kErrorControls ? control : kNormalErrors;
}

CStrW CheckDisplayName(const CStrW& name) {
    return name.GetLength() <= kMaxDisplayName ? name : CStrW();
}

SAttributes<SOrvService> SOrvService::GetAttributes() { return kServiceAttributes; }

SAttributes<SOrvServiceControl> SOrvServiceControl::GetAttributes() { return kControlAttributes; }
