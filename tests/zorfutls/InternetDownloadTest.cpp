// Internet downloads against the tests' own HTTP server on 127.0.0.1, into
// real files in a temporary folder.
#include "tools/loopback/HttpServer.h"
#include "tests/support/TestSupport.h"

#include <tlhelp32.h>

#include <map>

namespace {

using zorloopback::HttpReply;
using zorloopback::HttpRequest;
using Files = std::vector<std::wstring>;

// Generous: only there so that a fault ends in a failure instead of a hang.
bool WaitUntil(const std::function<bool()>& done, DWORD ms = 20000) {
  for (DWORD waited = 0; !done() && waited < ms; waited += 10) Sleep(10);
  return done();
}

std::string Pattern(size_t n) {
  std::string s(n, '\0');
  for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>(i * 131 + i / 251);
  return s;
}

Files FilesIn(const std::wstring& dir) {  // part files included
  Files names;
  WIN32_FIND_DATAW fd;
  HANDLE h = FindFirstFileW((dir + L"\\*").c_str(), &fd);
  for (BOOL ok = h != INVALID_HANDLE_VALUE; ok; ok = FindNextFileW(h, &fd))
    if (!(fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.push_back(fd.cFileName);
  if (h != INVALID_HANDLE_VALUE) FindClose(h);
  return names;
}

class Download : public testing::Test {
protected:
  std::map<std::string, HttpReply> replies;  // by path without the query; 404 otherwise
  zorloopback::HttpServer server{[this](const HttpRequest& r) {
    auto it = replies.find(r.target.substr(0, r.target.find('?')));
    return it != replies.end() ? it->second : HttpReply{404, "none"};
  }};
  MyInternetAccess access{L"mailto:tests@zorutils.example"};
  zortest::TempDir dir;
  std::wstring file = dir / L"out.bin";
  CInternetDownload d;

  bool Start(const std::string& target, CInternetDownload* download = nullptr) {
    return (download ? download : &d)->StartDownload(&access, server.Url(target).c_str(), file.c_str(), 0) != 0;
  }
  bool Run(const std::string& target) { return Start(target) && WaitUntil([&] { return !d.IsBusy(); }); }
};

TEST_F(Download, SavesTheWholeReplyInPlaceOfAnOlderFile) {
  const std::string body = Pattern(100000), big = Pattern(zortest::HeapChecked() ? 3000000 : 6000000);
  replies = {{"/files/a.bin", {200, body}}, {"/big", {200, big}}, {"/unsized", {200, "no length"}}};
  replies["/unsized"].sendLength = false;
  ASSERT_TRUE(zortest::WriteBytes(file, "older file"));
  ASSERT_TRUE(Run("/files/a.bin?artist=a%20b&type=xml"));
  EXPECT_TRUE(d.Succeeded() && zortest::ReadBytes(file) == body);
  EXPECT_EQ(d.StatusCode(), 200u);
  EXPECT_EQ(d.TotalBytes(), body.size());
  EXPECT_EQ(d.ReceivedBytes(), body.size());
  EXPECT_EQ(FilesIn(dir.path()), Files{L"out.bin"});
  const auto requests = server.Requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].method + " " + requests[0].target, "GET /files/a.bin?artist=a%20b&type=xml");
  EXPECT_EQ(requests[0].host, "127.0.0.1:" + std::to_string(server.Port()));
  EXPECT_EQ(requests[0].userAgent, std::string(access.UserAgent(), access.UserAgent() + wcslen(access.UserAgent())));
  EXPECT_EQ(requests[0].userAgent.substr(requests[0].userAgent.find(' ')), " ( mailto:tests@zorutils.example )");

  ASSERT_TRUE(Run("/big"));  // several megabytes
  EXPECT_TRUE(d.Succeeded() && d.ReceivedBytes() == big.size() && zortest::ReadBytes(file) == big);
  ASSERT_TRUE(Run("/unsized"));  // read to the end of the connection
  EXPECT_TRUE(d.Succeeded() && d.TotalBytes() == 0 && zortest::ReadBytes(file) == "no length");
}

TEST(InternetAccess, UserAgentNamesTheLibraryAndTheContact) {
  MyInternetAccess plain, longContact(std::wstring(300, L'c').c_str());
  EXPECT_TRUE(plain.IsOpen() && plain.Session() && longContact.IsOpen());
  const std::wstring agent = plain.UserAgent();
  EXPECT_EQ(agent.substr(0, 9), L"zorfutls/");
  EXPECT_TRUE(agent.size() > 9 && agent.find(L' ') == std::wstring::npos) << zortest::Escape(agent);
  EXPECT_EQ(std::wstring(longContact.UserAgent()), agent + L" ( " + std::wstring(127, L'c') + L" )");
}

TEST_F(Download, OnlyACompleteTwoHundredsReplyReplacesTheFile) {
  static const struct { const char* path; int status; HttpReply::Behaviour behaviour; bool oldFile, saved; } kCases[] = {
      {"/missing", 404, HttpReply::kNormal, false, false}, {"/error", 500, HttpReply::kNormal, true, false},
      {"/busy", 503, HttpReply::kNormal, true, false},     {"/cut", 200, HttpReply::kCloseEarly, false, false},
      {"/cut", 200, HttpReply::kCloseEarly, true, false},  {"/odd", 299, HttpReply::kNormal, true, true}};
  const std::string body = Pattern(20000);
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.path);
    replies[c.path] = HttpReply{c.status, body, "text/html", true, c.behaviour};
    if (c.oldFile) { ASSERT_TRUE(zortest::WriteBytes(file, "complete older file")); }
    ASSERT_TRUE(Run(c.path));
    EXPECT_EQ(d.Succeeded(), c.saved);
    EXPECT_EQ(d.StatusCode(), static_cast<unsigned long>(c.status));
    EXPECT_EQ(FilesIn(dir.path()), c.oldFile ? Files{L"out.bin"} : Files{});
    if (c.oldFile) { EXPECT_TRUE(zortest::ReadBytes(file) == (c.saved ? body : "complete older file")); }
    DeleteFileW(file.c_str());
  }
}

TEST(InternetAccess, UserAgentOfTheHost) {
  MyInternetAccess cut(std::wstring(60, L'n').c_str(), L"2.1", std::wstring(200, L'c').c_str());
  EXPECT_EQ(std::wstring(cut.UserAgent()), std::wstring(47, L'n') + L"/2.1 ( " + std::wstring(111, L'c') + L" )");
}

// The delay a busy service asks for: seconds, or a date (reckoned against
// the reply's Date, else the local clock; at most a day away); none afterwards.
TEST_F(Download, RetryAfterOfTheLastReply) {
  replies["/seconds"] = HttpReply{503, "", "text/xml", true, HttpReply::kNormal, 64, 20, {"Retry-After: 7"}};
  replies["/date"] = HttpReply{503, "", "", true, HttpReply::kNormal, 64, 20, {"Retry-After: Fri, 31 Dec 2100 23:59:59 GMT"}};
  replies["/dated"] = replies["/date"];
  replies["/dated"].extraHeaders.push_back("Date: Fri, 31 Dec 2100 23:58:19 GMT");  // the reply's clock
  replies["/none"] = HttpReply{200, "ok"};
  ASSERT_TRUE(Run("/seconds"));
  EXPECT_EQ(d.RetryAfterSeconds(), 7u);
  ASSERT_TRUE(Run("/date"));
  EXPECT_EQ(d.RetryAfterSeconds(), 24u * 60 * 60);
  ASSERT_TRUE(Run("/dated"));
  EXPECT_EQ(d.RetryAfterSeconds(), 100u);
  ASSERT_TRUE(Run("/none"));
  EXPECT_EQ(d.RetryAfterSeconds(), 0u);
}

TEST_F(Download, CountsBytesAsTheyArrive) {
  replies["/slow"] = HttpReply{200, Pattern(4000), "", true, HttpReply::kSlow, 200};
  ASSERT_TRUE(Start("/slow"));
  bool partway = false;
  for (unsigned long got; d.IsBusy(); Sleep(5))
    partway = partway || ((got = d.ReceivedBytes()) > 0 && got < 4000 && d.IsBusy() && d.TotalBytes() == 4000);
  EXPECT_TRUE(partway);
  EXPECT_TRUE(d.Succeeded() && d.ReceivedBytes() == 4000u);

  replies["/slow"].pieceDelayMs = 50;  // stopped halfway: nothing is saved
  DeleteFileW(file.c_str());
  ASSERT_TRUE(Start("/slow") && WaitUntil([&] { return d.ReceivedBytes() > 0; }));
  d.TerminateDownload();
  EXPECT_TRUE(WaitUntil([&] { return !d.IsBusy(); }));
  EXPECT_FALSE(d.Succeeded());
  EXPECT_EQ(FilesIn(dir.path()), Files{});
}

TEST_F(Download, StopsAHangingReplyPromptly) {
  replies["/hang"] = HttpReply{200, "never", "", true, HttpReply::kHang};
  auto asked = [&](size_t n) { return WaitUntil([&] { return server.Requests().size() >= n; }); };
  ASSERT_TRUE(Start("/hang") && asked(1));
  EXPECT_FALSE(Start("/hang"));  // busy
  EXPECT_FALSE(d.Succeeded());
  d.TerminateDownload();
  EXPECT_TRUE(WaitUntil([&] { return !d.IsBusy(); }, 5000));
  EXPECT_FALSE(d.Succeeded());

  auto* destroyed = new CInternetDownload;  // its destructor stops it
  ASSERT_TRUE(Start("/hang", destroyed) && asked(2));
  HANDLE t = zortest::StartThread([destroyed] { delete destroyed; });
  EXPECT_EQ(WaitForSingleObject(t, 10000), static_cast<DWORD>(WAIT_OBJECT_0));
  CloseHandle(t);

  {  // the server goes away under a hanging download
    zorloopback::HttpServer gone([](const HttpRequest&) { return HttpReply{200, "", "", true, HttpReply::kHang}; });
    ASSERT_NE(d.StartDownload(&access, gone.Url("/").c_str(), file.c_str(), 0), 0);
    ASSERT_TRUE(WaitUntil([&] { return gone.Requests().size() == 1; }));
  }
  EXPECT_TRUE(WaitUntil([&] { return !d.IsBusy(); }));
  EXPECT_FALSE(d.Succeeded());
  EXPECT_EQ(FilesIn(dir.path()), Files{});
  server.ReleaseHung();
}

TEST_F(Download, RefusesBadArguments) {
  const std::wstring url = server.Url("/ok");
  EXPECT_EQ(d.StartDownload(nullptr, url.c_str(), file.c_str(), 0), 0);
  for (const wchar_t* bad : {static_cast<const wchar_t*>(nullptr), L"", L"ftp://127.0.0.1/x", L"not a url",
                             L"file:///C:/x", L"http://", L"http://127.0.0.1/a\r\nX-Extra: 1"})
    EXPECT_EQ(d.StartDownload(&access, bad, file.c_str(), 0), 0) << zortest::Escape(bad ? bad : L"(null)");
  EXPECT_EQ(d.StartDownload(&access, url.c_str(), nullptr, 0), 0);
  EXPECT_EQ(d.StartDownload(&access, url.c_str(), L"", 0), 0);
  EXPECT_FALSE(d.IsBusy() || d.Succeeded());
  // https is TLS on the port given: the plain server sees no request in it.
  const std::wstring https = L"https://127.0.0.1:" + std::to_wstring(server.Port()) + L"/ok";
  ASSERT_NE(d.StartDownload(&access, https.c_str(), file.c_str(), 0), 0);
  EXPECT_TRUE(WaitUntil([&] { return !d.IsBusy(); }));
  EXPECT_FALSE(d.Succeeded());
  EXPECT_TRUE(server.Requests().empty());
}

TEST(InternetDownloadResources, NoThreadOrHandleOutlivesItsDownloads) {
  zortest::TempDir dir;
  auto batch = [&dir](int rounds) {  // a server, and downloads that succeed, fail and hang
    MyInternetAccess access;
    zorloopback::HttpServer server([](const HttpRequest& r) {
      return HttpReply{r.target == "/missing" ? 404 : 200, std::string(5000, 'x'), "", true,
                       r.target == "/hang" ? HttpReply::kHang : HttpReply::kNormal};
    });
    for (int i = 0; i < rounds; ++i)
      for (const char* path : {"/file", "/missing", "/hang"}) {
        CInternetDownload d;  // the hanging one is stopped by its destructor
        d.StartDownload(&access, server.Url(path).c_str(), (dir / L"f").c_str(), 0);
        WaitUntil([&] { return path[1] == 'h' ? server.Requests().size() % 3 == 0 : !d.IsBusy(); });
      }
  };
  batch(2);  // WinINet's worker pool and Winsock stay after their first use
  Sleep(200);
  const size_t threads = zortest::ThreadCount(), handles = zortest::HandleCount();
  batch(4);
  Sleep(200);
  const size_t threadsAfter = zortest::ThreadCount(), handlesAfter = zortest::HandleCount();
  printf("threads %u -> %u, handles %u -> %u\n", static_cast<unsigned>(threads),
         static_cast<unsigned>(threadsAfter), static_cast<unsigned>(handles), static_cast<unsigned>(handlesAfter));
  EXPECT_GT(handles, 0u);
  EXPECT_LE(threadsAfter, threads + 2);  // the pool may grow a little; a leak per download would not fit
  EXPECT_LE(handlesAfter, handles + 6);
}

}  // namespace
