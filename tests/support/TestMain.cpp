// The one main of every test program.
//
// A crash ends the program at once with a non-zero status and a report that
// names the test (and the fuzz input) in progress. Started with
// --zor-child=NAME, the program runs only that child action (see RunChild).
#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>

#include "tests/support/Fuzz.h"
#include "tests/support/TestSupport.h"
#include "tools/crashreport/CrashReport.h"

namespace {
std::string TestInProgress() {
  std::string note;
  if (const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info())
    note = std::string("in test ") + test->test_suite_name() + "." + test->name();
  const std::string fuzz = zortest::CurrentFuzzInput();
  if (!fuzz.empty()) note += (note.empty() ? "" : "; ") + fuzz;
  return note;
}
}  // namespace

int main(int argc, char** argv) {
  zorcrash::InstallCrashReport(&TestInProgress);
  static const char kChild[] = "--zor-child=";
  if (argc == 2 && std::strncmp(argv[1], kChild, sizeof kChild - 1) == 0)
    return zortest::RunChildAction(argv[1] + sizeof kChild - 1);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
