// The crash report of the project's own programs (tests, zortool, benchmarks).
//
// Under Wine an unhandled exception starts the debugger, whose crash dialog
// waits on the display for ever, and a program taken down by it was seen to
// exit with 0. After InstallCrashReport() any crash of the program ends it at
// once, on whatever thread: one line on stderr saying what happened and
// where, then the process exits with the exception code (never 0).
#pragma once

#include <string>

namespace zorcrash {

/// Sets the process-wide unhandled-exception filter and turns off the
/// system's error boxes. `note`, when given, is asked for one more line
/// (the test in progress, say) after the report.
void InstallCrashReport(std::string (*note)() = nullptr);

}  // namespace zorcrash
