// The system's version and native Unicode, from version records of both
// families (which Wine no longer reports) fed through the test seam.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/internal/TestSeams.h>
#include <zorutils/system/SystemInfo.h>

using namespace systest;

namespace {
// Fed to the decoder while it lives; build 0: both version queries fail.
struct FedRecord {
  FedRecord(DWORD platform, DWORD major, DWORD minor, DWORD build, const std::wstring& csd) {
    OSVERSIONINFOEXW r = {};
    r.dwOSVersionInfoSize = build ? sizeof r : 0, r.dwPlatformId = platform;
    r.dwMajorVersion = major, r.dwMinorVersion = minor, r.dwBuildNumber = build;
    wcsncpy(r.szCSDVersion, csd.c_str(), 128);  // 128 units: a text without its terminator too
    ZorTest_UseVersionRecord(&r);
  }
  ~FedRecord() { ZorTest_UseVersionRecord(nullptr); }
};
}  // namespace

TEST(SystemVersion, DecodesRecordsOfBothFamiliesAndUnknownPlatforms) {
  const DWORD k9x = VER_PLATFORM_WIN32_WINDOWS, kNT = VER_PLATFORM_WIN32_NT;
  wchar_t type[64] = {0};  // the product kind names an NT system the decoder does not know
  DWORD bytes = sizeof type;
  RegGetValueW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\ProductOptions", L"ProductType", RRF_RT_REG_SZ, 0, type, &bytes);
  const std::wstring kind = !_wcsicmp(type, L"WINNT") ? L"Professional " : !_wcsicmp(type, L"LANMANNT") ? L"Server "
                            : !_wcsicmp(type, L"SERVERNT") ? L"Advanced Server " : L"";
  const struct { DWORD platform, major, minor, build; std::wstring csd; int code; std::wstring text; } cases[] = {
      {k9x, 4, 0, 950, L" A", 0, L"Microsoft Windows 95 "}, {k9x, 4, 0, 1111, L" B", 1, L"Microsoft Windows 95 OSR2 "},
      {k9x, 4, 0, 1111, L" C", 1, L"Microsoft Windows 95 OSR2 "}, {k9x, 4, 10, 1998, L"", 2, L"Microsoft Windows 98 "},
      {k9x, 4, 10, 2222, L" A ", 3, L"Microsoft Windows 98 SE "}, {k9x, 4, 90, 3000, L" ", 4, L"Microsoft Windows Millennium Edition "},
      {k9x, 4, 1, 1, L"", 8, L""}, {k9x, 4, 91, 1, L"", 8, L""}, {k9x, 5, 0, 1, L"", 8, L""},
      {kNT, 3, 51, 1057, L"SP5", 5, L"Microsoft Windows NT version 3.51 SP5 (Build 1057)\n"}, {kNT, 5, 0, 2195, L"", 6, L"Microsoft Windows 2000  (Build 2195)\n"},
      {kNT, 4, 0, 1381, L"SP6", 5, L"Microsoft Windows NT version 4.0 SP6 (Build 1381)\n"}, {kNT, 5, 1, 2600, L"SP3", 7, L"Microsoft Windows XP SP3 (Build 2600)\n"},
      {kNT, 5, 2, 3790, L"SP2", 8, kind + L"SP2 (Build 3790)\n"}, {kNT, 6, 0, 6002, L"", 9, L"Microsoft Vista  (Build 6002)\n"},
      {kNT, 6, 1, 7601, std::wstring(128, L'S'), 10, L"Microsoft Windows 7 " + std::wstring(127, L'S') + L" (Build 7601)\n"},
      {3, 5, 1, 1, L"", 8, L""}, {kNT, 5, 1, 0, L"", 8, L""},  // a platform it does not know; no record at all
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.platform << " " << c.major << "." << c.minor << "." << c.build);
    FedRecord fed(c.platform, c.major, c.minor, c.build, c.csd);
    wchar_t text[512] = {0};
    EXPECT_EQ(Ints({c.code, c.code, c.code > 4}), Ints({GetWindowsSystemVersion(text), GetWindowsSystemVersion(nullptr),
                                                        OSIsNativeUnicode()})) << "native: the unknown code 8 too";
    EXPECT_EQ(c.text, std::wstring(text));
  }
}
