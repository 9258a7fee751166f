// examples/sample.h - the parts of the sample package.
//
// "Planner" of "Tarnbrook Works", both invented, captured twice: on a 64-bit and on a 32-bit
// system.
#pragma once

#include <string>
#include <string_view>

#include "support/hive_builder.h"
#include "support/package_builder.h"

// The whole package: what its profile says, with both targets.
[[nodiscard]] CTestPackage MakeSample();

// A machine on which all of the sample shows, as a machine description: a share is the folder of
// the package, named as POSIX names it, and the Windows folder is that of the 64-bit capture.
// Without a drive the package's folders are carried, and in the machine's own store its assemblies
// are.
[[nodiscard]] std::string MakeMachine(std::string_view packageFolder);

// The captured files of a target: program, shared parts, settings, documents, shortcuts, and the
// marks that a capture leaves.
void AddFiles(CTestTarget& target, bool is64Bit);

// The captured registry of a target.
[[nodiscard]] CTestHive MakeHive(bool is64Bit);
