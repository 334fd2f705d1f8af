// LaunchBrowser. Only what cannot open a real browser is tried here: the
// shell's first attempt, with a harmless batch file as the target.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/Browsers.h>

TEST(Browsers, ShellOpensTheTargetFirstAndNullIsRefused) {
  EXPECT_FALSE(LaunchBrowser(nullptr, nullptr, SW_HIDE));
  systest::TempDir dir;
  const std::wstring marker = dir / L"opened.txt", bat = dir / L"open.bat";
  ASSERT_TRUE(zortest::WriteBytes(bat, "@echo opened> \"" + systest::Narrow(marker) + "\"\r\n"));
  ASSERT_TRUE(LaunchBrowser(bat.c_str(), nullptr, SW_HIDE));
  // The batch file runs in its own process: wait generously for its mark.
  for (int i = 0; i < 600 && GetFileAttributesW(marker.c_str()) == INVALID_FILE_ATTRIBUTES; ++i) Sleep(50);
  EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(marker.c_str()));
  // Let cmd.exe let go of the folder before it is removed.
  for (int i = 0; i < 100 && zortest::ReadBytes(marker).empty(); ++i) Sleep(50);
  Sleep(200);
}
