// tests/support/system.h - the system that a test runs on.
#pragma once

#include <filesystem>
#include <string>

// Whether this is Windows, be it Wine.
bool RunsOnWindows();

// Whether Windows is not itself but Wine, which leaves some things out. Tests of those are skipped.
bool RunsInWine();

// Whether it is Wine that answers: no machine is described, and none is to be.
bool AnswersByWine();

// Removes a folder with all that is in it, be it read-only, and however deep it is.
void RemoveTree(const std::filesystem::path& folder);

// Frees what the library has allocated for its host.
void FreeAsHost(void* memory);

// Sets a variable of this process's environment; an empty value takes it away.
void SetEnvironment(const std::string& name, const std::string& value);

// Takes a privilege away from this process for good; false on POSIX, where all are always held.
bool RemovePrivilege(const char16_t* name);
