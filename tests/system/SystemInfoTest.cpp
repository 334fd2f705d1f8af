// Processor speed, the system's version, native Unicode and themes. The
// version is asked of real Wine processes told to report other systems; the
// 95 family, which Wine no longer reports, is fed to the decoder through the
// test seam.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/internal/TestSeams.h>
#include <zorutils/system/SystemInfo.h>

#include <cstdio>

using namespace systest;

namespace {

const wchar_t kChildOut[] = L"ZORTEST_VERSION_OUT";
const wchar_t kEffectsKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\VisualEffects";

// When started as a child by RunWithVersion, this program answers the
// version questions into the named file and ends before any test runs.
struct VersionChild {
  VersionChild() {
    wchar_t out[MAX_PATH], text[512] = {0}, line[700];
    DWORD n = GetEnvironmentVariableW(kChildOut, out, MAX_PATH);
    if (n == 0 || n >= MAX_PATH) return;
    int code = GetWindowsSystemVersion(text);
    _snwprintf(line, 700, L"%d|%d|%d|%s", code, OSIsNativeUnicode() ? 1 : 0, SystemUsesXPThemes() ? 1 : 0, text);
    line[699] = 0;
    zortest::WriteBytes(out, zortest::Utf16Bytes(line, false));
    ExitProcess(0);
  }
} g_versionChild;

struct Answer {
  bool ran = false;
  int code = -1, native = 0, themes = 0;
  std::wstring text;
};

// Runs this program again with Wine set to report `version`.
Answer RunWithVersion(const wchar_t* version) {
  Answer answer;
  TempDir dir;
  std::wstring out = dir / L"answer.txt";
  SavedRegValue saved(HKEY_CURRENT_USER, L"Software\\Wine", L"Version");
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
  std::wstring line(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
  answer.ran = swscanf(line.c_str(), L"%d|%d|%d|", &answer.code, &answer.native, &answer.themes) == 3;
  if (answer.ran) answer.text = line.substr(line.find(L'|', line.find(L'|', line.find(L'|') + 1) + 1) + 1);
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

bool EndsWithBuildLine(const std::wstring& t) {
  return t.rfind(L" (Build ") != std::wstring::npos && t.back() == L'\n' && t[t.size() - 2] == L')';
}

// Feeds one record to the decoder for the life of the object.
struct FedRecord {
  explicit FedRecord(const OSVERSIONINFOEXW& r) { ZorTest_UseVersionRecord(&r); }
  FedRecord(DWORD platform, DWORD major, DWORD minor, DWORD build, const wchar_t* csd) {
    OSVERSIONINFOEXW r = {};
    r.dwOSVersionInfoSize = sizeof r;
    r.dwPlatformId = platform, r.dwMajorVersion = major, r.dwMinorVersion = minor, r.dwBuildNumber = build;
    wcsncpy(r.szCSDVersion, csd, 127);
    ZorTest_UseVersionRecord(&r);
  }
  ~FedRecord() { ZorTest_UseVersionRecord(nullptr); }
};

int Decode(std::wstring* text) {
  wchar_t buf[512] = {0};
  int code = GetWindowsSystemVersion(buf);
  *text = buf;
  EXPECT_EQ(code, GetWindowsSystemVersion(nullptr)) << "the code does not depend on the text buffer";
  return code;
}

}  // namespace

TEST(SystemVersion, RealProcessesReportTheConfiguredSystem) {
  struct Case {
    const wchar_t* wine;
    int code;
    std::wstring prefix;  // for win10 (code 8): the product kind, no "Microsoft"
    bool themes;
  } cases[] = {
      {L"winxp", 7, L"Microsoft Windows XP ", true},  {L"win2k", 6, L"Microsoft Windows 2000 ", false},
      {L"vista", 9, L"Microsoft Vista ", true},      {L"win7", 10, L"Microsoft Windows 7 ", true},
      {L"nt40", 5, L"Microsoft Windows NT version 4.0 ", false}, {L"win10", 8, ProductKind(), true},
  };
  // The themes answer depends on the user's setting: run with it absent.
  SavedRegValue fx(HKEY_CURRENT_USER, kEffectsKey, L"VisualFXSetting");
  fx.Delete();
  for (const Case& c : cases) {
    SCOPED_TRACE(zortest::Escape(c.wine));
    Answer a = RunWithVersion(c.wine);
    ASSERT_TRUE(a.ran) << "the child gave no answer";
    if (c.code == 5 && a.code != 5) {
      // Some Wine builds refuse NT 4 for 64-bit programs and keep their default.
      std::printf("[ INFO ] Wine did not report NT 4 (code %d); not checked\n", a.code);
      continue;
    }
    EXPECT_EQ(c.code, a.code);
    EXPECT_EQ(0u, a.text.find(c.prefix)) << zortest::Escape(a.text);
    EXPECT_TRUE(c.code != 8 || a.text.find(L"Microsoft") == std::wstring::npos) << zortest::Escape(a.text);
    EXPECT_TRUE(EndsWithBuildLine(a.text)) << zortest::Escape(a.text);
    EXPECT_TRUE(a.native) << "the NT family, code 8 included";
    EXPECT_EQ(c.themes, a.themes != 0) << "code 8 counts as XP or later";
  }
}

TEST(SystemVersion, DecodesFedRecordsOfBothFamiliesAndUnknownPlatforms) {
  const DWORD k9x = VER_PLATFORM_WIN32_WINDOWS, kNT = VER_PLATFORM_WIN32_NT;
  const wchar_t* kAny = L"*";  // text not checked
  struct Case {
    DWORD platform, major, minor, build;
    const wchar_t* csd;
    int code;
    std::wstring text;
  } cases[] = {
      {k9x, 4, 0, 950, L" A", 0, L"Microsoft Windows 95 "},
      {k9x, 4, 0, 1111, L" B", 1, L"Microsoft Windows 95 OSR2 "},
      {k9x, 4, 0, 1111, L" C", 1, L"Microsoft Windows 95 OSR2 "},
      {k9x, 4, 10, 1998, L"", 2, L"Microsoft Windows 98 "},
      {k9x, 4, 10, 2222, L" A ", 3, L"Microsoft Windows 98 SE "},
      {k9x, 4, 90, 3000, L" ", 4, L"Microsoft Windows Millennium Edition "},
      {k9x, 4, 1, 1, L"", 8, L""},
      {k9x, 4, 11, 1, L"", 8, L""},
      {k9x, 4, 91, 1, L"", 8, L""},
      {k9x, 5, 0, 1, L"", 8, kAny},
      {kNT, 3, 51, 1057, L"Service Pack 5", 5, L"Microsoft Windows NT version 3.51 Service Pack 5 (Build 1057)\n"},
      {kNT, 5, 1, 2600, L"Service Pack 3", 7, L"Microsoft Windows XP Service Pack 3 (Build 2600)\n"},
      {kNT, 5, 2, 3790, L"Service Pack 2", 8, ProductKind() + L"Service Pack 2 (Build 3790)\n"},
      {3, 5, 1, 1, L"", 8, L""},  // not a platform the decoder knows
  };
  std::wstring text;
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.platform << " " << c.major << "." << c.minor << "." << c.build);
    FedRecord r(c.platform, c.major, c.minor, c.build, c.csd);
    EXPECT_EQ(c.code, Decode(&text));
    EXPECT_EQ(c.text == kAny ? text : c.text, text);
    EXPECT_EQ(c.code > 4, OSIsNativeUnicode()) << "the unknown code 8 counts as native";
    EXPECT_TRUE(c.code >= 7 || !SystemUsesXPThemes()) << "no themes before XP";
  }
  // A service-pack text without its terminator is read only up to its end.
  OSVERSIONINFOEXW r = {};
  r.dwOSVersionInfoSize = sizeof r;
  r.dwPlatformId = kNT, r.dwMajorVersion = 6, r.dwMinorVersion = 1, r.dwBuildNumber = 7601;
  for (auto& c : r.szCSDVersion) c = L'S';
  {
    FedRecord fed(r);
    EXPECT_EQ(10, Decode(&text));
    EXPECT_EQ(L"Microsoft Windows 7 " + std::wstring(127, L'S') + L" (Build 7601)\n", text);
  }
  FedRecord failing(OSVERSIONINFOEXW{});  // both version queries fail
  EXPECT_EQ(8, Decode(&text));
  EXPECT_EQ(L"", text);
}

TEST(SystemVersion, ThemesFollowTheVisualEffectsSetting) {
  SavedRegValue fx(HKEY_CURRENT_USER, kEffectsKey, L"VisualFXSetting");
  {
    FedRecord xp(VER_PLATFORM_WIN32_NT, 5, 1, 2600, L"");
    for (DWORD setting : {2u, 1u, 0u}) {
      fx.SetNumber(setting);
      EXPECT_EQ(setting != 2, SystemUsesXPThemes()) << setting << ": 2 is best performance, no themes";
    }
    fx.Delete();
    EXPECT_TRUE(SystemUsesXPThemes()) << "a missing value counts as themed";
  }
  FedRecord w2k(VER_PLATFORM_WIN32_NT, 5, 0, 2195, L"");
  fx.SetNumber(1);
  EXPECT_FALSE(SystemUsesXPThemes()) << "before XP there are no themes";
}

TEST(CPUSpeed, MatchesTheProcessorsRegistryValue) {
  DWORD mhz = 0, bytes = sizeof mhz;
  LONG rc = RegGetValueW(HKEY_LOCAL_MACHINE, L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0", L"~MHz",
                         RRF_RT_REG_DWORD, nullptr, &mhz, &bytes);
  EXPECT_EQ(rc == ERROR_SUCCESS ? mhz : 0ul, CPUSpeed());
}
