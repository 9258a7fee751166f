// platform/described/machine_description.h - the described machine that answers in place of Windows.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "platform/machine_report.h"

namespace platform {

// A whole machine: its answers, and where its drives and shares lie. Whoever makes one by hand
// keeps the forms of the fields; the reader of description files refuses all others.
struct SMachineDescription : SMachineAnswers {
    std::map<char16_t, std::string> drives;                   // upper-case letter, POSIX folder
    std::map<std::u16string, std::string, SNameLess> shares;  // "\\server\share", POSIX folder

    bool operator==(const SMachineDescription&) const = default;
};

// A plain English Windows 10 x64.
[[nodiscard]] const SMachineDescription& GetBuiltInMachine();

// Reads a description file. What it leaves out is as on the built-in machine, and each of
// [folders], [environment], [drives] and [shares] is left out only as a whole. False, with
// `description` untouched and `problem` naming file, line and key, when the file cannot be read or
// anything in it is unknown or malformed.
[[nodiscard]] bool ReadMachineDescription(const std::string& file, SMachineDescription& description,
                                          std::u16string& problem);

// The text of a description file that reads back to the same description.
[[nodiscard]] std::string FormatMachineDescription(const SMachineDescription& description);

// The description in effect: the one that UseMachineDescription was given, else the one that
// LoadMachine read, else the built-in one. Lasts until another one comes into effect.
[[nodiscard]] const SMachineDescription& GetMachineDescription();

// Another number whenever another description has come into effect; never 0.
[[nodiscard]] std::uint64_t GetMachineGeneration();

// Puts a description in effect, in place of any that LoadMachine reads, and returns the one that
// was put so before, null when there was none. Null ends this; giving back what was returned
// restores. For tests, and not while another thread converts.
std::shared_ptr<const SMachineDescription> UseMachineDescription(
    std::shared_ptr<const SMachineDescription> description);

}  // namespace platform
