// The foundation library: logging, file names and registry keys.
#include "tests/support/TestSupport.h"

#include <cstdio>

TEST(Logging, LinesReachSinkAndFileOnlyWhileOn) {
  zortest::TempDir dir;
  const std::wstring file = dir / L"log.txt";
  ASSERT_TRUE(zortest::WriteBytes(file, "old\r\n") && SetLogFile(file.c_str()));
  const std::wstring big(5000, L'x');
  zortest::LogCapture capture;  // switches logging on
  Log(L"first line");
  Log(nullptr);
  LogFmt(L"%s has %0.2f MB <%s>", L"caf\x00E9", 1.5, big.c_str());  // kept whole however long
  SetLogging(false);
  Log(L"not logged");
  EXPECT_FALSE(LoggingNow());
  EXPECT_EQ(capture.lines(), (std::vector<std::wstring>{L"first line", L"caf\x00E9 has 1.50 MB <" + big + L">"}));
  ASSERT_TRUE(SetLogFile(nullptr));
  // Appended, UTF-8, each line stamped "[hh:mm:ss.mmm] " with the local time of day.
  const std::string bytes = zortest::ReadBytes(file);
  EXPECT_EQ(bytes.substr(0, 6) + bytes.substr(18, 15), "old\r\n[] first line\r\n[");
  EXPECT_EQ(bytes.substr(47), "caf\xC3\xA9 has 1.50 MB <" + std::string(5000, 'x') + ">\r\n");
  SYSTEMTIME now;
  GetLocalTime(&now);
  unsigned h = 99, m = 0, s = 0;
  sscanf(bytes.c_str() + 5, "[%2u:%2u:%2u.", &h, &m, &s);
  const unsigned clock = now.wHour * 3600u + now.wMinute * 60u + now.wSecond, stamped = h * 3600 + m * 60 + s;
  EXPECT_LT((clock + 86400 - stamped) % 86400, 60u) << "stamped with the local time: " << bytes.substr(5, 15);
  EXPECT_FALSE(SetLogFile((dir / L"missing\\sub\\log.txt").c_str()));
}

TEST(FileNames, ExtensionAndNameOfTheLastComponent) {
  static const struct { const wchar_t *path, *ext, *name; } kCases[] = {
      {L"C:\\music\\song.mp3", L"mp3", L"song.mp3"}, {L"relative/dir/x.tar.gz", L"gz", L"x.tar.gz"},
      {L"D:a.b", L"b", L"a.b"}, {L"C:\\my.music\\song", L"", L"song"},  // a dot in a folder only
      {L"song.", L"", L"song."}, {L"C:\\music\\", L"", L""}, {L"", L"", L""}};
  wchar_t out[MAX_PATH + 4];
  auto junk = [&out] { return wmemset(out, L'#', MAX_PATH + 4); };
  for (const auto& c : kCases) {
    EXPECT_EQ(ExtractExtension(c.path, junk(), 1) != 0, *c.ext != 0) << zortest::Escape(c.path);
    EXPECT_EQ(std::wstring(out), *c.ext ? L"." + std::wstring(c.ext) : L"");
    EXPECT_EQ(ExtractExtension(c.path, junk(), 0) != 0, *c.ext != 0);
    EXPECT_STREQ(out, c.ext);
    EXPECT_EQ(ExtractFileName(c.path, junk()) != 0, *c.name != 0) << zortest::Escape(c.path);
    EXPECT_STREQ(out, c.name);
  }
  EXPECT_NE(ExtractFileName((L"C:\\" + std::wstring(400, L'n')).c_str(), junk()), 0);  // cut, never overrun
  EXPECT_EQ(std::wstring(out), std::wstring(MAX_PATH - 1, L'n'));
  EXPECT_EQ(out[MAX_PATH], L'#');
  EXPECT_EQ(ExtractExtension(nullptr, out, 1) + ExtractExtension(L".b", nullptr, 1) + ExtractFileName(nullptr, out), 0);
  zortest::TempDir dir;
  const std::wstring file = dir / L"a.txt";
  EXPECT_EQ(DoesFileExist(file.c_str()) + DoesFileExist(L"") + DoesFileExist(nullptr), 0);
  ASSERT_TRUE(zortest::WriteBytes(file, "x"));
  EXPECT_TRUE(DoesFileExist(file.c_str()) && DoesFileExist(dir.path().c_str()));  // files and folders
}

TEST(RegKey, ReadsValuesThroughSubKeys) {
  const wchar_t* const kKey = L"Software\\zorutils-tests\\regkey";
  RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\zorutils-tests");
  const DWORD mhz = 2400;
  const ULONGLONG big = 0x100000007ull;
  ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, kKey, L"~MHZ", REG_DWORD, &mhz, sizeof mhz), 0);
  RegSetKeyValueW(HKEY_CURRENT_USER, kKey, L"Big", REG_QWORD, &big, sizeof big);
  RegSetKeyValueW(HKEY_CURRENT_USER, kKey, L"ProductType", REG_SZ, L"WinNT", 12);
  RegSetKeyValueW(HKEY_CURRENT_USER, kKey, L"AsText", REG_SZ, L"77", 6);
  CRegKey root(HKEY_CURRENT_USER);
  CRegKey* sub = root.GetSubKey(kKey);
  ASSERT_NE(sub, nullptr);
  EXPECT_TRUE(sub->SubKeyExists(L"~MHZ") && !sub->SubKeyExists(L"missing"));
  // DWORD and QWORD (its low 32 bits) as stored, strings read as decimal numbers.
  for (auto c : {std::make_pair(L"~MHZ", 2400ul), {L"Big", 7ul}, {L"AsText", 77ul}, {L"missing", 0ul}})
    EXPECT_EQ(sub->GetKeyNum(c.first), c.second) << zortest::Escape(c.first);
  wchar_t text[16];
  EXPECT_TRUE(sub->GetKeyString(L"ProductType", text, 16));
  EXPECT_STREQ(text, L"WinNT");
  EXPECT_TRUE(sub->GetKeyString(L"ProductType", text, 3));  // cut to fit
  EXPECT_STREQ(text, L"Wi");
  EXPECT_FALSE(sub->GetKeyString(L"ProductType", text, 0));  // no room: nothing written
  EXPECT_STREQ(text, L"Wi");
  EXPECT_FALSE(sub->GetKeyString(L"~MHZ", text, 16));  // not a string
  EXPECT_STREQ(text, L"");
  DeleteRegKey(sub);
  EXPECT_EQ(root.GetSubKey(L"Software\\zorutils-tests\\nothing-here"), nullptr);
  DeleteRegKey(nullptr);
  RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\zorutils-tests");
}
