#include "support/machine.h"

#include "platform/answers.h"
#include "platform/described/description_in_effect.h"

namespace {

using platform::SMachineDescription;

SMachineDescription EmptyMachine() {
    SMachineDescription machine = platform::GetBuiltInMachine();
    machine.windowsFolder.clear();
    machine.folders.clear();
    machine.environment.clear();
    machine.volatileHives.clear();
    return machine;
}

}  // namespace

// Ends with the last of the copies.
struct CTestMachine::SEffect {
    explicit SEffect(const std::shared_ptr<SMachineDescription>& description)
        : former(platform::UseMachineDescription(description)) {}
    ~SEffect() { platform::UseMachineDescription(former); }
    SEffect(const SEffect&) = delete;
    SEffect& operator=(const SEffect&) = delete;

    std::shared_ptr<const SMachineDescription> former;
};

CTestMachine::CTestMachine() : CTestMachine(EmptyMachine()) {}

CTestMachine::CTestMachine(const SMachineDescription& description)
    : m_description(std::make_shared<SMachineDescription>(description)),
      m_effect(std::make_shared<const SEffect>(m_description)) {}

CTestMachine& CTestMachine::Changed() {
    platform::UseMachineDescription(m_description);
    return *this;
}

CTestMachine& CTestMachine::Folder(std::u16string_view name, std::u16string_view path) {
    if (!path.empty()) {
        return Put(m_description->folders, std::u16string(name), path);
    }
    m_description->folders.erase(std::u16string(name));
    return Changed();
}

std::vector<EMachine> MachinesOfThisSystem() {
    std::vector<EMachine> machines = {EMachine::Described};
    if (platform::GetLiveAnswers() != nullptr) {
        machines.push_back(EMachine::Live);
    }
    return machines;
}

void PrintTo(EMachine machine, std::ostream* stream) {
    *stream << (machine == EMachine::Live ? "Live" : "Described");
}

std::optional<CTestMachine> UseMachine(EMachine machine) {
    return machine == EMachine::Live ? std::nullopt : std::optional(CTestMachine::BuiltIn());
}
