// tests/support/system.h - the system that a test runs on.
#pragma once

// Whether Windows is not itself but Wine, which leaves some things out. Tests of those are skipped.
bool RunsInWine();
