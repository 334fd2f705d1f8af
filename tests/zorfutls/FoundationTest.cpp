// The foundation library: logging, file names and registry keys.
#include "tests/support/TestSupport.h"

#include <windows.h>

#include <string>

namespace {

TEST(Logging, LinesReachTheSinkOnlyWhileOn) {
  {
    zortest::LogCapture capture;
    EXPECT_TRUE(LoggingNow());
    Log(L"CExplorerTree::Create: entered");
    LogFmt(L"%s has %0.2f MB free.", L"C:\\", 1.5);
    Log(nullptr);
    auto lines = capture.lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], L"CExplorerTree::Create: entered");
    EXPECT_EQ(lines[1], L"C:\\ has 1.50 MB free.");
    SetLogging(false);
    Log(L"not logged");
    EXPECT_EQ(capture.lines().size(), 2u);
  }
  EXPECT_FALSE(LoggingNow());
}

TEST(Logging, LongFormattedLinesStayWhole) {
  zortest::LogCapture capture;
  std::wstring big(5000, L'x');
  LogFmt(L"<%s>", big.c_str());
  ASSERT_EQ(capture.lines().size(), 1u);
  EXPECT_EQ(capture.lines()[0], L"<" + big + L">");
}

TEST(Logging, WritesTimeStampedUtf8LinesToTheChosenFile) {
  zortest::TempDir dir;
  std::wstring file = dir / L"log.txt";
  ASSERT_TRUE(SetLogFile(file.c_str()));
  {
    zortest::LogCapture capture;
    Log(L"first line");
    Log(L"caf\x00E9");
  }
  ASSERT_TRUE(SetLogFile(nullptr));
  std::string bytes = zortest::ReadBytes(file);
  EXPECT_NE(bytes.find("] first line\r\n"), std::string::npos);
  EXPECT_NE(bytes.find("] caf\xC3\xA9\r\n"), std::string::npos);
  EXPECT_EQ(bytes[0], '[');
  EXPECT_FALSE(SetLogFile((dir / L"missing\\sub\\log.txt").c_str()));
}

TEST(FileNames, ExtractExtensionWithAndWithoutDot) {
  wchar_t ext[MAX_PATH];
  EXPECT_NE(ExtractExtension(L"C:\\music\\song.mp3", ext, 1), 0);
  EXPECT_STREQ(ext, L".mp3");
  EXPECT_NE(ExtractExtension(L"C:\\music\\song.tar.gz", ext, 0), 0);
  EXPECT_STREQ(ext, L"gz");
  EXPECT_EQ(ExtractExtension(L"C:\\my.music\\song", ext, 1), 0);  // dot in a folder only
  EXPECT_STREQ(ext, L"");
  EXPECT_EQ(ExtractExtension(L"song.", ext, 1), 0);
  EXPECT_EQ(ExtractExtension(nullptr, ext, 1), 0);
  EXPECT_EQ(ExtractExtension(L"a.b", nullptr, 1), 0);
}

TEST(FileNames, ExtractFileNameTakesLastComponent) {
  wchar_t name[MAX_PATH];
  EXPECT_NE(ExtractFileName(L"C:\\music\\song.mp3", name), 0);
  EXPECT_STREQ(name, L"song.mp3");
  EXPECT_NE(ExtractFileName(L"relative/dir/file", name), 0);
  EXPECT_STREQ(name, L"file");
  EXPECT_NE(ExtractFileName(L"D:file", name), 0);
  EXPECT_STREQ(name, L"file");
  EXPECT_EQ(ExtractFileName(L"C:\\music\\", name), 0);
  EXPECT_STREQ(name, L"");
  EXPECT_EQ(ExtractFileName(L"", name), 0);
  // A component longer than the buffer is cut, never overrun.
  std::wstring longName = L"C:\\" + std::wstring(400, L'n');
  wchar_t guarded[MAX_PATH + 4];
  wmemset(guarded, 0xCCCC, MAX_PATH + 4);
  EXPECT_NE(ExtractFileName(longName.c_str(), guarded), 0);
  EXPECT_EQ(wcslen(guarded), static_cast<size_t>(MAX_PATH - 1));
  EXPECT_EQ(guarded[MAX_PATH], 0xCCCC);
}

TEST(FileNames, DoesFileExistSeesFilesAndFolders) {
  zortest::TempDir dir;
  std::wstring file = dir / L"a.txt";
  EXPECT_EQ(DoesFileExist(file.c_str()), 0);
  ASSERT_TRUE(zortest::WriteBytes(file, "x"));
  EXPECT_NE(DoesFileExist(file.c_str()), 0);
  EXPECT_NE(DoesFileExist(dir.path().c_str()), 0);
  EXPECT_EQ(DoesFileExist(L""), 0);
  EXPECT_EQ(DoesFileExist(nullptr), 0);
}

class RegKeyTest : public testing::Test {
protected:
  const wchar_t* kKey = L"Software\\zorutils-tests\\regkey";
  void SetUp() override {
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\zorutils-tests");
    HKEY key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, kKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                              nullptr),
              ERROR_SUCCESS);
    DWORD mhz = 2400;
    RegSetValueExW(key, L"~MHZ", 0, REG_DWORD, reinterpret_cast<BYTE*>(&mhz), sizeof mhz);
    const wchar_t text[] = L"WinNT";
    RegSetValueExW(key, L"ProductType", 0, REG_SZ, reinterpret_cast<const BYTE*>(text), sizeof text);
    const wchar_t number[] = L"77";
    RegSetValueExW(key, L"AsText", 0, REG_SZ, reinterpret_cast<const BYTE*>(number), sizeof number);
    RegCloseKey(key);
  }
  void TearDown() override { RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\zorutils-tests"); }
};

TEST_F(RegKeyTest, ReadsValuesThroughSubKeys) {
  CRegKey root(HKEY_CURRENT_USER);
  CRegKey* sub = root.GetSubKey(kKey);
  ASSERT_NE(sub, nullptr);
  EXPECT_TRUE(sub->SubKeyExists(L"~MHZ"));
  EXPECT_FALSE(sub->SubKeyExists(L"missing"));
  EXPECT_EQ(sub->GetKeyNum(L"~MHZ"), 2400u);
  EXPECT_EQ(sub->GetKeyNum(L"AsText"), 77u);
  EXPECT_EQ(sub->GetKeyNum(L"missing"), 0u);
  wchar_t text[16];
  EXPECT_TRUE(sub->GetKeyString(L"ProductType", text, 16));
  EXPECT_STREQ(text, L"WinNT");
  EXPECT_TRUE(sub->GetKeyString(L"ProductType", text, 3));  // cut to fit
  EXPECT_STREQ(text, L"Wi");
  EXPECT_FALSE(sub->GetKeyString(L"~MHZ", text, 16));  // not a string
  EXPECT_STREQ(text, L"");
  DeleteRegKey(sub);
  EXPECT_EQ(root.GetSubKey(L"Software\\zorutils-tests\\nothing-here"), nullptr);
  DeleteRegKey(nullptr);
}

}  // namespace
