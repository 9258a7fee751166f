// driver/target_information.h - the list of targets for an enumeration.
#pragma once

#include <deque>

#include "foundation/wide_string.h"

// One target, as the host receives it.
struct CasTargetInformation {
    CStrW GuidText;
    CStrW Name;
};

// The targets that the host has not fetched yet, in the order of the profile. The host has a
// pointer to the list as its handle and owns it.
struct CasTargetInformationList {
    std::deque<CasTargetInformation> Items;
};
