// host/exit_status.h - the program's exit statuses.
#pragma once

namespace host {

constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;    // not all was done
constexpr int kExitUsage = 2;     // the arguments are wrong
constexpr int kExitNotWhole = 3;  // converted, but something is lost, or the log has errors

// Of the command "diff", as other programs that compare have them.
constexpr int kExitDifferent = 1;
constexpr int kExitTrouble = 2;

}  // namespace host
