// platform/described/answers.h - the parts of GetDescribedAnswers, each with a source of its own.
#pragma once

#include "platform/answers.h"

namespace platform {

[[nodiscard]] const CMachineAnswers& GetDescribedMachine();
[[nodiscard]] const CRegistryAnswers& GetDescribedRegistry();
[[nodiscard]] int ReadDescribedLink(const char16_t* name, SShellLink& link);
[[nodiscard]] std::unique_ptr<CAssemblyStore> OpenDescribedStore();
[[nodiscard]] int OpenDescribedXml(const char16_t* name, std::unique_ptr<COpenXmlOutput>& output);

}  // namespace platform
