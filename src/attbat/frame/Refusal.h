#pragma once
// A value a command's dialog won't take: the first one is said as a warning, and the command
// stops before doing its work.

#include <string>
#include <utility>

#include "host/Printer.h"

namespace attbat {

class Refusal {
public:
    // `prefix` starts each warning, such as "velmar import-by-key: "; none by default.
    explicit Refusal(std::string prefix = {}) : prefix_(std::move(prefix)) {}

    void Fail(const std::string& message) {
        if (ok) host::CurrentPrinter().Warn(prefix_ + message);
        ok = false;
    }

    bool ok = true;

private:
    std::string prefix_;
};

}  // namespace attbat
