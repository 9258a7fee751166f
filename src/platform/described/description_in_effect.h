// platform/described/description_in_effect.h - the machine description that answers now.
#pragma once

#include <memory>
#include <string>

#include "platform/described/machine_description.h"

namespace platform {

// The description in effect: the one that UseMachineDescription was given, else the one that
// LoadMachineDescription read, else the built-in one. Lasts until another one comes into effect.
[[nodiscard]] const SMachineDescription& GetMachineDescription();

// Whether it is one of the first two.
[[nodiscard]] bool IsMachineDescribed();

// Puts the description in effect that the variable ORVCASCONV_MACHINE names, or ends that of a
// former one when it names none. Results as LoadMachine has them; on failure nothing changes.
[[nodiscard]] int LoadMachineDescription(std::u16string& problem);

// Puts a description in effect, in place of any that LoadMachineDescription reads, and returns the
// one that was put so before, null when there was none. Null ends this; giving back what was
// returned restores. For tests, and not while another thread converts or a key is open.
std::shared_ptr<const SMachineDescription> UseMachineDescription(
    std::shared_ptr<const SMachineDescription> description);

}  // namespace platform
