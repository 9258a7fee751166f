#include "orvpackage/env_var_collections.h"

namespace {

// The name of a variable is no path, but its value may contain some.
constexpr SAttribute<SOrvEnvVar> kAttributes[] = {
    {u"Variable", Plain<&SOrvEnvVar::variable, Always>},
    {u"User", Flag<&SOrvEnvVar::isUser>},
    {u"Value", Path<&SOrvEnvVar::value, Always>},
    {u"InstallMode", Number<&SOrvEnvVar::installMode, ReadPlainNumber32>},  // its low byte is kept
};

constexpr SAttribute<SOrvDeletedEnvVar> kDeletedAttributes[] = {
    {u"Variable", Plain<&SOrvDeletedEnvVar::variable, Always>},
    {u"User", Flag<&SOrvDeletedEnvVar::isUser>},
};

}  // namespace

SAttributes<SOrvEnvVar> SOrvEnvVar::GetAttributes() { return kAttributes; }

SAttributes<SOrvDeletedEnvVar> SOrvDeletedEnvVar::GetAttributes() { return kDeletedAttributes; }
