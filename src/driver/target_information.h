// driver/target_information.h - the list behind the enumeration of a package's targets.
#pragma once

#include <deque>

#include "foundation/wide_string.h"

// One target, as the host gets it.
struct CasTargetInformation {
    CStrW GuidText;
    CStrW Name;
};

// The targets that the host has not yet fetched, in the order of the profile. The host sees a
// pointer.
struct CasTargetInformationList {
    std::deque<CasTargetInformation> Items;
};
