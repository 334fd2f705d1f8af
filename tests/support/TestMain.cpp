// The one main of every test program.
#include <gtest/gtest.h>

#include <windows.h>

int main(int argc, char** argv) {
  // No error boxes from the system: a failure must end the run, not wait.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
