#pragma once
// The Calc backend as a module of its own, which a program loads when a command first asks for
// the running Calc: a program that never does maps neither the backend nor the office's
// libraries. The module holds the backend's code only and takes everything else it calls from
// the program that loads it, which therefore exports its symbols.

#include "arxutils/calc/CalcBackend.h"

namespace arxutils::calc {

// The module's file, as the build places it beside the program; an installed program finds it
// in its library folder, under velmar/.
inline constexpr const char* kModuleFile = "libvelmar-calc.so";
// The name of the module's entry, and its type: CalcBackend::Create, the backend handed over to
// the caller, who deletes it.
inline constexpr const char* kModuleEntry = "velmar_calc_backend";
using ModuleEntry = excel::ExcelServer* (*)(const CalcBackendOptions& options);

}  // namespace arxutils::calc

extern "C" arxutils::excel::ExcelServer* velmar_calc_backend(
    const arxutils::calc::CalcBackendOptions& options);
