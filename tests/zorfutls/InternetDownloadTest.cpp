// Internet downloads against the tests' own HTTP server on 127.0.0.1, into
// real files in a temporary folder.
#include "tests/support/HttpServer.h"
#include "tests/support/TestSupport.h"

#include <tlhelp32.h>

#include <map>

namespace {

using zortest::HttpReply;
using zortest::HttpRequest;

// Generous: only there so that a fault ends in a failure instead of a hang.
bool WaitUntil(const std::function<bool()>& done, DWORD ms = 20000) {
  for (DWORD waited = 0; !done() && waited < ms; waited += 10) Sleep(10);
  return done();
}
bool WaitDone(const CInternetDownload& d) { return WaitUntil([&] { return !d.IsBusy(); }); }

std::string Pattern(size_t n) {
  std::string s(n, '\0');
  for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>(i * 131 + i / 251);
  return s;
}

std::vector<std::wstring> FilesIn(const std::wstring& dir) {
  std::vector<std::wstring> names;
  WIN32_FIND_DATAW fd;
  HANDLE h = FindFirstFileW((dir + L"\\*").c_str(), &fd);
  for (BOOL ok = h != INVALID_HANDLE_VALUE; ok; ok = FindNextFileW(h, &fd))
    if (!(fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.push_back(fd.cFileName);
  if (h != INVALID_HANDLE_VALUE) FindClose(h);
  return names;
}

class Download : public testing::Test {
protected:
  // Replies by path (the target without its query); 404 for anything else.
  std::map<std::string, HttpReply> replies;
  zortest::HttpServer server{[this](const HttpRequest& r) {
    auto it = replies.find(r.target.substr(0, r.target.find('?')));
    HttpReply missing;
    missing.status = 404;
    return it != replies.end() ? it->second : missing;
  }};
  MyInternetAccess access{L"mailto:tests@zorutils.example"};
  zortest::TempDir dir;
  std::wstring file = dir / L"out.bin";

  bool Run(CInternetDownload& d, const std::string& target) {
    return d.StartDownload(&access, server.Url(target).c_str(), file.c_str(), 0) != 0 && WaitDone(d);
  }
  HttpReply Reply(int status, std::string body, HttpReply::Behaviour b = HttpReply::kNormal) {
    HttpReply r;
    r.status = status;
    r.body = std::move(body);
    r.behaviour = b;
    return r;
  }
};

TEST_F(Download, SavesTheReplyWhole) {
  const std::string body = Pattern(100000);
  replies["/files/a.bin"] = Reply(200, body);
  CInternetDownload d;
  ASSERT_TRUE(zortest::WriteBytes(file, "older file"));  // replaced
  ASSERT_TRUE(Run(d, "/files/a.bin?artist=a%20b&type=xml"));
  EXPECT_TRUE(d.Succeeded());
  EXPECT_EQ(d.StatusCode(), 200u);
  EXPECT_EQ(d.TotalBytes(), body.size());
  EXPECT_EQ(d.ReceivedBytes(), body.size());
  EXPECT_TRUE(zortest::ReadBytes(file) == body);
  EXPECT_EQ(FilesIn(dir.path()), std::vector<std::wstring>{L"out.bin"});  // no part file left
  const auto requests = server.Requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].method, "GET");
  EXPECT_EQ(requests[0].target, "/files/a.bin?artist=a%20b&type=xml");
  EXPECT_EQ(requests[0].host, "127.0.0.1:" + std::to_string(server.Port()));
  EXPECT_EQ(requests[0].userAgent.substr(0, 9), "zorfutls/");
  EXPECT_EQ(requests[0].userAgent.substr(requests[0].userAgent.find(' ')), " ( mailto:tests@zorutils.example )");

  // Several megabytes, and a reply without a length (read to its end).
  const std::string big = Pattern(zortest::HeapChecked() ? 3000000 : 6000000);
  replies["/big"] = Reply(200, big);
  replies["/unsized"] = Reply(200, "no length");
  replies["/unsized"].sendLength = false;
  ASSERT_TRUE(Run(d, "/big"));
  EXPECT_TRUE(d.Succeeded() && d.ReceivedBytes() == big.size() && zortest::ReadBytes(file) == big);
  ASSERT_TRUE(Run(d, "/unsized"));
  EXPECT_TRUE(d.Succeeded());
  EXPECT_EQ(d.TotalBytes(), 0u);
  EXPECT_EQ(zortest::ReadBytes(file), "no length");
}

TEST(InternetAccess, UserAgentNamesTheLibraryAndTheContact) {
  MyInternetAccess plain, longContact(std::wstring(300, L'c').c_str());
  EXPECT_TRUE(plain.IsOpen() && plain.Session() && longContact.IsOpen());
  const std::wstring agent = plain.UserAgent();
  EXPECT_EQ(agent.substr(0, 9), L"zorfutls/");
  EXPECT_GT(agent.size(), 9u);
  EXPECT_EQ(agent.find(L' '), std::wstring::npos) << zortest::Escape(agent);
  EXPECT_EQ(std::wstring(longContact.UserAgent()), agent + L" ( " + std::wstring(127, L'c') + L" )");
}

TEST_F(Download, RefusedOrCutRepliesLeaveNoFile) {
  static const struct { const char* path; int status; HttpReply::Behaviour behaviour; bool oldFile; } kCases[] = {
      {"/missing", 404, HttpReply::kNormal, false}, {"/error", 500, HttpReply::kNormal, true},
      {"/busy", 503, HttpReply::kNormal, true},     {"/cut", 200, HttpReply::kCloseEarly, false},
      {"/cut", 200, HttpReply::kCloseEarly, true}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.path);
    replies[c.path] = Reply(c.status, Pattern(20000), c.behaviour);
    if (c.oldFile) { ASSERT_TRUE(zortest::WriteBytes(file, "complete older file")); }
    CInternetDownload d;
    ASSERT_TRUE(Run(d, c.path));
    EXPECT_FALSE(d.Succeeded());
    EXPECT_EQ(d.StatusCode(), static_cast<unsigned long>(c.status));
    // A failed download never replaces a complete file, and leaves no part file.
    EXPECT_EQ(FilesIn(dir.path()), c.oldFile ? std::vector<std::wstring>{L"out.bin"} : std::vector<std::wstring>{});
    if (c.oldFile) { EXPECT_EQ(zortest::ReadBytes(file), "complete older file"); }
    DeleteFileW(file.c_str());
  }
}

TEST_F(Download, CountsBytesAsTheyArrive) {
  replies["/slow"] = Reply(200, Pattern(4000), HttpReply::kSlow);
  replies["/slow"].pieceBytes = 200;
  CInternetDownload d;
  ASSERT_NE(d.StartDownload(&access, server.Url("/slow").c_str(), file.c_str(), 0), 0);
  bool partway = false;
  while (d.IsBusy()) {
    const unsigned long got = d.ReceivedBytes();
    partway = partway || (got > 0 && got < 4000 && d.IsBusy() && !d.Succeeded() && d.TotalBytes() == 4000);
    Sleep(5);
  }
  EXPECT_TRUE(partway);
  EXPECT_TRUE(d.Succeeded() && d.ReceivedBytes() == 4000u);
}

TEST_F(Download, EndsAHangingReplyOnRequest) {
  replies["/hang"] = Reply(200, "never", HttpReply::kHang);
  auto started = [&](size_t n) { return WaitUntil([&] { return server.Requests().size() >= n; }); };
  CInternetDownload d;  // terminated
  ASSERT_NE(d.StartDownload(&access, server.Url("/hang").c_str(), file.c_str(), 0), 0);
  ASSERT_TRUE(started(1));
  EXPECT_EQ(d.StartDownload(&access, server.Url("/hang").c_str(), (dir / L"b").c_str(), 0), 0);  // busy
  d.TerminateDownload();
  EXPECT_TRUE(WaitUntil([&] { return !d.IsBusy(); }, 5000));
  EXPECT_FALSE(d.Succeeded());

  auto* destroyed = new CInternetDownload;  // destroyed while it hangs
  ASSERT_NE(destroyed->StartDownload(&access, server.Url("/hang").c_str(), file.c_str(), 0), 0);
  ASSERT_TRUE(started(2));
  HANDLE t = zortest::StartThread([destroyed] { delete destroyed; });
  EXPECT_EQ(WaitForSingleObject(t, 10000), static_cast<DWORD>(WAIT_OBJECT_0));
  CloseHandle(t);

  {  // the server goes away under a hanging download: it fails
    zortest::HttpServer gone([](const HttpRequest&) { return HttpReply{200, "", "", true, HttpReply::kHang}; });
    ASSERT_NE(d.StartDownload(&access, gone.Url("/").c_str(), file.c_str(), 0), 0);
    ASSERT_TRUE(WaitUntil([&] { return gone.Requests().size() == 1; }));
  }
  EXPECT_TRUE(WaitDone(d));
  EXPECT_FALSE(d.Succeeded());
  EXPECT_EQ(FilesIn(dir.path()), std::vector<std::wstring>{});
  server.ReleaseHung();
}

TEST_F(Download, RefusesBadArguments) {
  replies["/ok"] = Reply(200, "ok");
  const std::wstring url = server.Url("/ok");
  CInternetDownload d;
  EXPECT_EQ(d.StartDownload(nullptr, url.c_str(), file.c_str(), 0), 0);
  for (const wchar_t* bad : {static_cast<const wchar_t*>(nullptr), L"", L"ftp://127.0.0.1/x", L"not a url",
                             L"file:///C:/x", L"http://"})
    EXPECT_EQ(d.StartDownload(&access, bad, file.c_str(), 0), 0) << zortest::Escape(bad ? bad : L"(null)");
  EXPECT_EQ(d.StartDownload(&access, url.c_str(), nullptr, 0), 0);
  EXPECT_EQ(d.StartDownload(&access, url.c_str(), L"", 0), 0);
  EXPECT_FALSE(d.IsBusy() || d.Succeeded());
  EXPECT_TRUE(server.Requests().empty());
  // https goes out as TLS on the port given: the plain server sees no request.
  ASSERT_NE(d.StartDownload(&access, (L"https://127.0.0.1:" + std::to_wstring(server.Port()) + L"/ok").c_str(),
                            file.c_str(), 0), 0);
  EXPECT_TRUE(WaitDone(d));
  EXPECT_FALSE(d.Succeeded());
  EXPECT_TRUE(server.Requests().empty());
}

size_t ThreadCount() {
  size_t n = 0;
  HANDLE snap = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 te;
  te.dwSize = sizeof te;
  for (BOOL ok = Thread32First(snap, &te); ok; ok = Thread32Next(snap, &te))
    n += te.th32OwnerProcessID == GetCurrentProcessId();
  CloseHandle(snap);
  return n;
}

// GetProcessHandleCount where it works; Wine answers 0, so there the system's
// handle list (NtQuerySystemInformation, SystemHandleInformation) is counted.
size_t HandleCount() {
  DWORD count = 0;
  if (GetProcessHandleCount(GetCurrentProcess(), &count) && count) return count;
  struct Entry { ULONG pid; BYTE type, flags; USHORT value; void* object; ULONG access; };
  using Query = LONG(WINAPI*)(int, void*, ULONG, ULONG*);
  auto query = reinterpret_cast<Query>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
  std::vector<char> buf(1 << 16);
  ULONG need = 0;
  while (query && query(16, buf.data(), static_cast<ULONG>(buf.size()), &need) == static_cast<LONG>(0xC0000004))
    buf.resize(buf.size() * 2);
  const ULONG total = *reinterpret_cast<ULONG*>(buf.data());
  const Entry* entries = reinterpret_cast<const Entry*>(buf.data() + sizeof(void*));
  for (ULONG i = 0; i < total; ++i) count += entries[i].pid == GetCurrentProcessId();
  return count;
}

TEST(InternetDownloadResources, NoThreadOrHandleOutlivesItsDownloads) {
  zortest::TempDir dir;
  auto batch = [&dir](int rounds) {
    MyInternetAccess access;
    zortest::HttpServer server([](const HttpRequest& r) {
      HttpReply reply;
      reply.status = r.target == "/missing" ? 404 : 200;
      reply.body = std::string(5000, 'x');
      reply.behaviour = r.target == "/hang" ? HttpReply::kHang : HttpReply::kNormal;
      return reply;
    });
    for (int i = 0; i < rounds; ++i)
      for (const char* path : {"/file", "/missing", "/hang"}) {
        CInternetDownload d;
        d.StartDownload(&access, server.Url(path).c_str(), (dir / L"f").c_str(), 0);
        if (path[1] == 'h') WaitUntil([&] { return server.Requests().size() % 3 == 0; });
        else WaitDone(d);
      }  // the hanging one is terminated by its destructor
  };
  // WinINet and Winsock keep a few threads (its worker pool) and handles after
  // their first use.
  batch(2);
  Sleep(200);
  const size_t threads = ThreadCount();
  const size_t handles = HandleCount();
  batch(4);
  Sleep(200);
  const size_t threadsAfter = ThreadCount(), handlesAfter = HandleCount();
  printf("threads %u -> %u, handles %u -> %u\n", static_cast<unsigned>(threads), static_cast<unsigned>(threadsAfter),
         static_cast<unsigned>(handles), static_cast<unsigned>(handlesAfter));
  EXPECT_GT(handles, 0u);
  EXPECT_LE(threadsAfter, threads + 2);
  EXPECT_LE(handlesAfter, handles + 6);
}

}  // namespace
