// platform/described/machine_description.h - a described machine, and the files that describe one.
#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "platform/machine_report.h"

namespace platform {

// A whole machine: its answers, and the places of its drives and shares. Code that makes one must
// keep the forms of the fields; the reader of description files refuses all others.
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
[[nodiscard]] bool ReadMachineDescription(const std::filesystem::path& file,
                                          SMachineDescription& description,
                                          std::u16string& problem);

// The text of a description file that reads back to the same description.
[[nodiscard]] std::string FormatMachineDescription(const SMachineDescription& description);

}  // namespace platform
