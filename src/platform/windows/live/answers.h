// platform/windows/live/answers.h - the parts of GetLiveAnswers, each with a source of its own.
#pragma once

#include "platform/answers.h"

namespace platform {

[[nodiscard]] const CMachineAnswers& GetLiveMachine();
[[nodiscard]] const CRegistryAnswers& GetLiveRegistry();
[[nodiscard]] int ReadLiveLink(const char16_t* name, SShellLink& link);
[[nodiscard]] std::unique_ptr<CAssemblyStore> OpenLiveStore();
[[nodiscard]] int OpenLiveXml(const char16_t* name, std::unique_ptr<COpenXmlOutput>& output);

}  // namespace platform
