// tests/support/machine.h - a machine described in a test.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/described/machine_description.h"

// Describes a machine, which is in effect from the start of the object to its end; then the former
// one comes back. Copies are the same machine and share its effect, so that a field can be built by
// one expression. A new one has no folders, no environment, no hives and only the drive Z:, which
// is the POSIX root; its system and its user are those of the built-in machine.
class CTestMachine {
public:
    CTestMachine();
    // The machine that is built in.
    static CTestMachine BuiltIn() { return CTestMachine(platform::GetBuiltInMachine()); }

    // A special folder by its token name without percent signs; an empty path takes it away.
    CTestMachine& Folder(std::u16string_view name, std::u16string_view path);
    CTestMachine& Environment(std::u16string_view name, std::u16string_view value) {
        return Put(m_description->environment, std::u16string(name), value);
    }
    CTestMachine& WindowsFolder(std::u16string_view path) {
        return Set(m_description->windowsFolder, path);
    }
    CTestMachine& Version(std::uint32_t major, std::uint32_t minor, bool isWorkstation) {
        return Set(m_description->version, platform::SSystemVersion{major, minor, isWorkstation});
    }
    CTestMachine& Locale(std::u16string_view name) { return Set(m_description->locale, name); }
    CTestMachine& Sid(std::u16string_view sid) { return Set(m_description->userSid, sid); }
    // A drive by its upper-case letter, and a share by its root ("\\server\share").
    CTestMachine& Drive(char16_t letter, std::string_view folder) {
        return Put(m_description->drives, letter, folder);
    }
    CTestMachine& Share(std::u16string_view root, std::string_view folder) {
        return Put(m_description->shares, std::u16string(root), folder);
    }
    // A hive without a file, in kernel form.
    CTestMachine& Hive(std::u16string_view name) {
        m_description->volatileHives.emplace_back(name);
        return Changed();
    }

private:
    struct SEffect;

    explicit CTestMachine(const platform::SMachineDescription& description);
    // Who keeps something of a description asks anew when another one comes into effect.
    CTestMachine& Changed();
    template <class TField, class TValue>
    CTestMachine& Set(TField& field, const TValue& value) {
        field = value;
        return Changed();
    }
    template <class TMap, class TKey, class TValue>
    CTestMachine& Put(TMap& map, const TKey& key, const TValue& value) {
        map.insert_or_assign(key, typename TMap::mapped_type(value));
        return Changed();
    }

    std::shared_ptr<platform::SMachineDescription> m_description;
    std::shared_ptr<const SEffect> m_effect;
};

// The kinds of machine that can answer on this system, for tests of what all answer alike.
enum class EMachine { Described, Live };
std::vector<EMachine> MachinesOfThisSystem();
void PrintTo(EMachine machine, std::ostream* stream);

// Has a machine of that kind answer while the result lives: the built-in or the running one.
std::optional<CTestMachine> UseMachine(EMachine machine);
