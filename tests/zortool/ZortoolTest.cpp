// zortool run as a user would: wrong arguments and hostile files give a
// clear one-line error and an exit status, never a crash or a hang.
#include "tests/support/TestSupport.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

namespace {

struct Result {
  DWORD code;
  std::string err;  // what went to stderr
};

// Runs zortool.exe with `args`; stdout is thrown away unless `out` is given.
Result RunTool(const std::wstring& args, std::string* out = nullptr) {
  zortest::TempDir dir;
  SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
  HANDLE err = CreateFileW((dir / L"err").c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr);
  HANDLE std_out = CreateFileW(out ? (dir / L"out").c_str() : L"NUL", GENERIC_WRITE, FILE_SHARE_READ, &inherit,
                               CREATE_ALWAYS, 0, nullptr);
  STARTUPINFOW si = {};
  si.cb = sizeof si;
  si.dwFlags = STARTF_USESTDHANDLES;
  si.hStdOutput = std_out;
  si.hStdError = err;
  PROCESS_INFORMATION pi = {};
  std::wstring line = L"\"" + zortest::ExeDir() + L"\\zortool.exe\" " + args;
  Result r = {~0u, ""};
  // Under a busy Wine a start now and then fails at once; a second try
  // tells that apart from a program that does not start.
  bool started = false;
  for (int attempt = 0; attempt < 3 && !started; ++attempt) {
    started = CreateProcessW(nullptr, &line[0], nullptr, nullptr, TRUE, 0, nullptr, zortest::ExeDir().c_str(), &si, &pi) != 0;
    if (!started) {
      r.err = "CreateProcess error " + std::to_string(GetLastError());
      Sleep(500);
    }
  }
  if (started) {
    if (WaitForSingleObject(pi.hProcess, 300000) != WAIT_OBJECT_0) TerminateProcess(pi.hProcess, 99);
    GetExitCodeProcess(pi.hProcess, &r.code);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
  }
  CloseHandle(err);
  CloseHandle(std_out);
  if (started) r.err = zortest::ReadBytes(dir / L"err");
  if (out) *out = zortest::ReadBytes(dir / L"out");
  return r;
}

// Success, or a failure told in one line.
void ExpectCleanEnd(const Result& r, const std::wstring& args, DWORD failure = 1) {
  SCOPED_TRACE(zortest::Escape(args));
  EXPECT_TRUE(r.code == 0 || r.code == failure) << "exit status " << std::hex << r.code;
  if (r.code == 0) return;
  EXPECT_EQ(0u, r.err.rfind("zortool", 0)) << r.err;
  EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << r.err;
}

TEST(Zortool, WrongArgumentsAreOneLineAndStatusTwo) {
  for (const wchar_t* args : {L"nosuch", L"ini", L"ini get x.ini", L"ini frob x", L"csv", L"xml dump", L"name",
                              L"name frob x", L"html", L"html decode", L"strings", L"mru", L"mru remove",
                              L"sysinfo extra", L"undo extra", L"languages extra", L"tree", L"promo", L"msgbox"}) {
    Result r = RunTool(args);
    EXPECT_EQ(2u, r.code) << zortest::Escape(args);
    ExpectCleanEnd(r, args, 2);
  }
  for (const wchar_t* args : {L"mru remove 99", L"mru remove x", L"tree Z:\\no\\such\\folder"})
    ExpectCleanEnd(RunTool(args), args);
  for (const wchar_t* verb : {L"ini", L"csv", L"xml", L"html", L"name", L"strings", L"languages", L"sysinfo",
                              L"mru", L"undo", L"lookup", L"promo", L"msgbox", L"progress", L"link", L"tree"}) {
    std::string out;
    EXPECT_EQ(0u, RunTool(std::wstring(verb) + L" --help", &out).code) << zortest::Escape(verb);
    EXPECT_EQ(0u, out.find(std::string("usage: zortool ")) ) << out;
  }
}

TEST(Zortool, HostileFilesEndCleanly) {
  zortest::TempDir dir;
  std::string binary;
  for (unsigned i = 0; i < 65536; ++i) binary += static_cast<char>((i * 2654435761u) >> 24);
  ASSERT_TRUE(zortest::WriteBytes(dir / L"empty", ""));
  ASSERT_TRUE(zortest::WriteBytes(dir / L"binary", binary));
  // 50 MB in long lines: an element with attributes and references around a
  // 64 KB text, which is also an INI key line far past the parser's limit.
  std::string line = "<e a=\"1\">";
  while (line.size() < 65536) line += "t&amp;u, ";
  line += "</e>\r\n";
  std::string big;
  big.reserve((50u << 20) + line.size());
  while (big.size() < (50u << 20)) big += line;
  ASSERT_TRUE(zortest::WriteBytes(dir / L"big", big));
  for (const wchar_t* name : {L"empty", L"binary", L"big", L"missing"}) {
    const std::wstring f = L"\"" + (dir / name) + L"\"";
    for (const std::wstring& args : {L"ini dump " + f, L"ini get " + f + L" s k", L"csv dump " + f,
                                    L"xml dump " + f, L"html decode --file " + f, L"html format --file " + f,
                                    L"strings get Yes --file " + f, L"promo " + f + L" --frames " + f + L"_frames"}) {
      Result r = RunTool(args);
      ExpectCleanEnd(r, args);
      if (std::wstring(name) == L"missing") {
        EXPECT_EQ(1u, r.code) << zortest::Escape(args);
      }
    }
  }
  // A value set in a new file reads back; a file that holds no section is
  // not replaced.
  const std::wstring ini = L"\"" + (dir / L"new.ini") + L"\"";
  EXPECT_EQ(0u, RunTool(L"ini set " + ini + L" Player Volume 80").code);
  std::string out;
  EXPECT_EQ(0u, RunTool(L"ini get " + ini + L" Player Volume", &out).code);
  EXPECT_EQ("80\r\n", out);  // stdout is in text mode
  EXPECT_EQ(1u, RunTool(L"ini set \"" + (dir / L"empty") + L"\" s k v").code);
  EXPECT_EQ(1u, RunTool(L"ini set \"" + (dir / L"binary") + L"\" s k v").code);
  EXPECT_EQ(binary, zortest::ReadBytes(dir / L"binary"));
}

// What the tour shows, on the bundled samples (the tool runs in its own
// folder, so the relative paths hold).
TEST(Zortool, CommandsOnTheSamples) {
  struct Case {
    const wchar_t* args;
    const char* shows;
  } cases[] = {
      {L"ini get samples\\settings.ini Player Greeting", "  spaced out  \r\n"},
      {L"ini dump samples\\settings.ini", "2 sections\r\n[Player]\r\nVolume = 80\r\n"},
      {L"csv dump samples\\tracks.csv", "2 | The Long Song, Part 1 | The Examples | 62:03\r\n"},
      {L"xml dump samples\\album.xml --decode", "    #1 <artist>\r\n      #0 \"The Examples\"\r\n"},
      {L"xml dump samples\\album.xml", "\"Takk &amp; more\""},
      {L"html decode \"&lt;b&gt; &#233;\"", "<;b>; \xC3\xA9\r\n"},
      {L"name joliet \"A long title: part 2?.mp3\"", "A long titl.mp3  (changed)"},
      {L"name validate a?b", "a_b  (changed)"},
      {L"strings get Cancel --file utility-strings-de.ini", "Abbrechen\r\n"},
      {L"strings get NoSuchKey", "NoSuchKey  (not found"},
      {L"undo", "replace (one set)      \"Hello, zortool\" *\r\n"},
      {L"undo", "undo three times       \"\"\r\n                        dirty 0, Undo: -, Redo: Typing"},
  };
  for (const Case& c : cases) {
    std::string out;
    EXPECT_EQ(0u, RunTool(c.args, &out).code) << zortest::Escape(c.args);
    EXPECT_NE(std::string::npos, out.find(c.shows)) << zortest::Escape(c.args) << "\n" << out;
  }
  // The recent-files list keeps what it is given, newest first, in its key.
  std::string out;
  RunTool(L"mru clear");
  RunTool(L"mru add samples\\tracks.csv");
  EXPECT_EQ(0u, RunTool(L"mru add samples\\album.xml", &out).code);
  EXPECT_NE(std::string::npos, out.find("2 recent files")) << out;
  EXPECT_LT(out.find("1. album.xml"), out.find("2. tracks.csv")) << out;
  EXPECT_EQ(0u, RunTool(L"mru remove 1", &out).code);
  EXPECT_NE(std::string::npos, out.find("1. tracks.csv")) << out;
  EXPECT_EQ(0u, RunTool(L"mru clear", &out).code);
  EXPECT_NE(std::string::npos, out.find("0 recent files")) << out;
}

}  // namespace
