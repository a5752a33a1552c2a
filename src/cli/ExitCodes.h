#pragma once
// The exit status of `velmar`: 0 done, 1 failed or cancelled, 2 bad usage.

#include "attbat/frame/CommandContext.h"

namespace cli {

constexpr int exitOk = 0;
constexpr int exitFailed = 1;
constexpr int exitUsage = 2;

// A command's ending as an exit status.
constexpr int ExitCode(attbat::CommandStatus status) {
    switch (status) {
    case attbat::CommandStatus::Done: return exitOk;
    case attbat::CommandStatus::Failed: return exitFailed;
    case attbat::CommandStatus::BadInput: return exitUsage;
    }
    return exitFailed;
}

}  // namespace cli
