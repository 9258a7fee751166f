#include "orvpackage/named_items.h"

namespace {

constexpr SAttribute<SOrvName> kAttributes[] = {
    {u"Name", Plain<&SOrvName::name, Always>},
};

}  // namespace

SAttributes<SOrvName> SOrvName::GetAttributes() { return kAttributes; }
