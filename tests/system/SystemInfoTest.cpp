// Processor speed, the system's version, native Unicode and themes. The
// version is asked of real Wine processes told to report other systems; the
// 95 family, which Wine no longer reports, is fed to the decoder through the
// test seam.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/internal/TestSeams.h>
#include <zorutils/system/SystemInfo.h>

#include <cstdio>
#include <cstring>

using zortest::TempDir;

namespace {

const wchar_t kChildOut[] = L"ZORTEST_VERSION_OUT";

// When started as a child by RunWithVersion, this program answers the
// version questions into the named file and ends before any test runs.
struct VersionChild {
  VersionChild() {
    wchar_t out[MAX_PATH];
    DWORD n = GetEnvironmentVariableW(kChildOut, out, MAX_PATH);
    if (n == 0 || n >= MAX_PATH) return;
    wchar_t text[512] = {0};
    int code = GetWindowsSystemVersion(text);
    wchar_t line[700];
    _snwprintf(line, 700, L"%d|%d|%d|%s", code, OSIsNativeUnicode() ? 1 : 0, SystemUsesXPThemes() ? 1 : 0, text);
    line[699] = 0;
    zortest::WriteBytes(out, zortest::Utf16Bytes(line, false));
    ExitProcess(0);
  }
} g_versionChild;

struct Answer {
  bool ran = false;
  int code = -1;
  bool native = false;
  bool themes = false;
  std::wstring text;
};

const wchar_t kWineKey[] = L"Software\\Wine";

// Runs this program again with Wine set to report `version`.
Answer RunWithVersion(const wchar_t* version) {
  Answer answer;
  TempDir dir;
  std::wstring out = dir / L"answer.txt";
  systest::SavedRegValue saved(HKEY_CURRENT_USER, kWineKey, L"Version");
  saved.Set(version);
  SetEnvironmentVariableW(kChildOut, out.c_str());
  wchar_t exe[MAX_PATH];
  GetModuleFileNameW(nullptr, exe, MAX_PATH);
  std::wstring cmd = L"\"" + std::wstring(exe) + L"\" --gtest_filter=-*";
  STARTUPINFOW si = {};
  si.cb = sizeof si;
  PROCESS_INFORMATION pi = {};
  BOOL started = CreateProcessW(exe, &cmd[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi);
  SetEnvironmentVariableW(kChildOut, nullptr);
  if (started) {
    WaitForSingleObject(pi.hProcess, 120000);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
  }
  saved.Restore();
  std::string bytes = zortest::ReadBytes(out);
  if (bytes.size() < 2) return answer;
  std::wstring line(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
  int native = 0, themes = 0;
  if (swscanf(line.c_str(), L"%d|%d|%d|", &answer.code, &native, &themes) != 3) return answer;
  answer.ran = true;
  answer.native = native != 0;
  answer.themes = themes != 0;
  size_t bar = line.find(L'|', line.find(L'|', line.find(L'|') + 1) + 1);
  answer.text = line.substr(bar + 1);
  return answer;
}

std::wstring ProductKind() {
  wchar_t type[64] = {0};
  DWORD bytes = sizeof type;
  RegGetValueW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Control\\ProductOptions", L"ProductType",
               RRF_RT_REG_SZ, nullptr, type, &bytes);
  if (_wcsicmp(type, L"WINNT") == 0) return L"Professional ";
  if (_wcsicmp(type, L"LANMANNT") == 0) return L"Server ";
  if (_wcsicmp(type, L"SERVERNT") == 0) return L"Advanced Server ";
  return L"";
}

bool EndsWithBuildLine(const std::wstring& text) {
  size_t at = text.rfind(L" (Build ");
  return at != std::wstring::npos && !text.empty() && text.back() == L'\n' && text[text.size() - 2] == L')';
}

// Feeds one record to the decoder for the life of the object.
class FedRecord {
public:
  FedRecord(DWORD platform, DWORD major, DWORD minor, DWORD build, const wchar_t* csd) {
    OSVERSIONINFOEXW r = {};
    r.dwOSVersionInfoSize = sizeof r;
    r.dwPlatformId = platform;
    r.dwMajorVersion = major;
    r.dwMinorVersion = minor;
    r.dwBuildNumber = build;
    wcsncpy(r.szCSDVersion, csd, 127);
    ZorTest_UseVersionRecord(&r);
  }
  ~FedRecord() { ZorTest_UseVersionRecord(nullptr); }
};

int Decode(std::wstring* text) {
  wchar_t buf[512] = {0};
  int code = GetWindowsSystemVersion(buf);
  if (text) *text = buf;
  EXPECT_EQ(code, GetWindowsSystemVersion(nullptr)) << "the code does not depend on the text buffer";
  return code;
}

}  // namespace

TEST(SystemVersion, RealProcessesReportTheConfiguredSystem) {
  struct Case {
    const wchar_t* wine;
    int code;
    const wchar_t* prefix;
    bool themes;
  } cases[] = {
      {L"winxp", 7, L"Microsoft Windows XP ", true},  {L"win2k", 6, L"Microsoft Windows 2000 ", false},
      {L"vista", 9, L"Microsoft Vista ", true},      {L"win7", 10, L"Microsoft Windows 7 ", true},
      {L"nt40", 5, L"Microsoft Windows NT version 4.0 ", false},
  };
  // The themes answer depends on the user's setting: run with it absent.
  systest::SavedRegValue fx(HKEY_CURRENT_USER,
                            L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\VisualEffects",
                            L"VisualFXSetting");
  RegDeleteKeyValueW(HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\VisualEffects",
                     L"VisualFXSetting");
  for (const Case& c : cases) {
    Answer a = RunWithVersion(c.wine);
    ASSERT_TRUE(a.ran) << "the child for " << zortest::Escape(c.wine) << " gave no answer";
    if (c.code == 5 && a.code != 5) {
      // Some Wine builds refuse NT 4 for 64-bit programs and keep their default.
      std::printf("[ INFO ] Wine did not report NT 4 (code %d); not checked\n", a.code);
      continue;
    }
    EXPECT_EQ(c.code, a.code) << zortest::Escape(c.wine);
    EXPECT_EQ(0u, a.text.find(c.prefix)) << zortest::Escape(a.text);
    EXPECT_TRUE(EndsWithBuildLine(a.text)) << zortest::Escape(a.text);
    EXPECT_TRUE(a.native);
    EXPECT_EQ(c.themes, a.themes) << zortest::Escape(c.wine);
  }
  // A system newer than 7 has no name of its own: code 8 and the product kind.
  Answer a = RunWithVersion(L"win10");
  ASSERT_TRUE(a.ran);
  EXPECT_EQ(8, a.code);
  EXPECT_EQ(0u, a.text.find(ProductKind())) << zortest::Escape(a.text);
  EXPECT_EQ(std::wstring::npos, a.text.find(L"Microsoft")) << zortest::Escape(a.text);
  EXPECT_TRUE(EndsWithBuildLine(a.text));
  EXPECT_TRUE(a.native) << "code 8 counts as native Unicode";
  EXPECT_TRUE(a.themes) << "code 8 counts as XP or later";
}

TEST(SystemVersion, NinetyFiveFamilyCodesFromTheirRecords) {
  std::wstring text;
  {
    FedRecord r(VER_PLATFORM_WIN32_WINDOWS, 4, 0, 950, L" A");
    EXPECT_EQ(0, Decode(&text));
    EXPECT_EQ(L"Microsoft Windows 95 ", text);
    EXPECT_FALSE(OSIsNativeUnicode());
    EXPECT_FALSE(SystemUsesXPThemes());
  }
  for (const wchar_t* osr2 : {L" B", L" C"}) {
    FedRecord r(VER_PLATFORM_WIN32_WINDOWS, 4, 0, 1111, osr2);
    EXPECT_EQ(1, Decode(&text));
    EXPECT_EQ(L"Microsoft Windows 95 OSR2 ", text);
  }
  {
    FedRecord r(VER_PLATFORM_WIN32_WINDOWS, 4, 10, 1998, L"");
    EXPECT_EQ(2, Decode(&text));
    EXPECT_EQ(L"Microsoft Windows 98 ", text);
  }
  {
    FedRecord r(VER_PLATFORM_WIN32_WINDOWS, 4, 10, 2222, L" A ");
    EXPECT_EQ(3, Decode(&text));
    EXPECT_EQ(L"Microsoft Windows 98 SE ", text);
  }
  {
    FedRecord r(VER_PLATFORM_WIN32_WINDOWS, 4, 90, 3000, L" ");
    EXPECT_EQ(4, Decode(&text));
    EXPECT_EQ(L"Microsoft Windows Millennium Edition ", text);
    EXPECT_FALSE(OSIsNativeUnicode());
  }
  for (DWORD minor : {1u, 11u, 91u}) {
    FedRecord r(VER_PLATFORM_WIN32_WINDOWS, 4, minor, 1, L"");
    EXPECT_EQ(8, Decode(&text)) << minor;
    EXPECT_EQ(L"", text);
  }
  {
    FedRecord r(VER_PLATFORM_WIN32_WINDOWS, 5, 0, 1, L"");
    EXPECT_EQ(8, Decode(&text));
  }
}

TEST(SystemVersion, NtRecordsAndUnknownPlatforms) {
  std::wstring text;
  {
    FedRecord r(VER_PLATFORM_WIN32_NT, 3, 51, 1057, L"Service Pack 5");
    EXPECT_EQ(5, Decode(&text));
    EXPECT_EQ(L"Microsoft Windows NT version 3.51 Service Pack 5 (Build 1057)\n", text);
  }
  {
    FedRecord r(VER_PLATFORM_WIN32_NT, 5, 1, 2600, L"Service Pack 3");
    EXPECT_EQ(7, Decode(&text));
    EXPECT_EQ(L"Microsoft Windows XP Service Pack 3 (Build 2600)\n", text);
    EXPECT_TRUE(OSIsNativeUnicode());
  }
  {
    FedRecord r(VER_PLATFORM_WIN32_NT, 5, 2, 3790, L"Service Pack 2");
    EXPECT_EQ(8, Decode(&text));
    EXPECT_EQ(ProductKind() + L"Service Pack 2 (Build 3790)\n", text);
    EXPECT_TRUE(OSIsNativeUnicode()) << "the unknown code 8 counts as native";
  }
  {
    FedRecord r(3, 5, 1, 1, L"");  // not a platform the decoder knows
    EXPECT_EQ(8, Decode(&text));
    EXPECT_EQ(L"", text);
  }
  {
    // A service-pack text without its terminator is read only up to its end.
    OSVERSIONINFOEXW r = {};
    r.dwOSVersionInfoSize = sizeof r;
    r.dwPlatformId = VER_PLATFORM_WIN32_NT;
    r.dwMajorVersion = 6;
    r.dwMinorVersion = 1;
    r.dwBuildNumber = 7601;
    for (auto& c : r.szCSDVersion) c = L'S';
    ZorTest_UseVersionRecord(&r);
    EXPECT_EQ(10, Decode(&text));
    EXPECT_EQ(L"Microsoft Windows 7 " + std::wstring(127, L'S') + L" (Build 7601)\n", text);
    ZorTest_UseVersionRecord(nullptr);
  }
  {
    OSVERSIONINFOEXW failing = {};
    ZorTest_UseVersionRecord(&failing);  // both version queries fail
    EXPECT_EQ(8, Decode(&text));
    EXPECT_EQ(L"", text);
    ZorTest_UseVersionRecord(nullptr);
  }
}

TEST(SystemVersion, ThemesFollowTheVisualEffectsSetting) {
  FedRecord xp(VER_PLATFORM_WIN32_NT, 5, 1, 2600, L"");
  systest::SavedRegValue fx(HKEY_CURRENT_USER,
                            L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\VisualEffects",
                            L"VisualFXSetting");
  fx.SetNumber(2);
  EXPECT_FALSE(SystemUsesXPThemes()) << "2 is best performance: no themes";
  fx.SetNumber(1);
  EXPECT_TRUE(SystemUsesXPThemes());
  fx.SetNumber(0);
  EXPECT_TRUE(SystemUsesXPThemes());
  RegDeleteKeyValueW(HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\VisualEffects",
                     L"VisualFXSetting");
  EXPECT_TRUE(SystemUsesXPThemes()) << "a missing value counts as themed";
  FedRecord w2k(VER_PLATFORM_WIN32_NT, 5, 0, 2195, L"");
  fx.SetNumber(1);
  EXPECT_FALSE(SystemUsesXPThemes()) << "before XP there are no themes";
}

TEST(CPUSpeed, MatchesTheProcessorsRegistryValue) {
  DWORD mhz = 0;
  DWORD bytes = sizeof mhz;
  LONG rc = RegGetValueW(HKEY_LOCAL_MACHINE, L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0", L"~MHz",
                         RRF_RT_REG_DWORD, nullptr, &mhz, &bytes);
  EXPECT_EQ(rc == ERROR_SUCCESS ? mhz : 0ul, CPUSpeed());
}
