// tests/support/system.h - the system that a test runs on.
#pragma once

// Whether this is Windows, be it Wine, whose machine answers by itself and not as it is described.
bool RunsOnWindows();

// Whether Windows is not itself but Wine, which leaves some things out. Tests of those are skipped.
bool RunsInWine();
