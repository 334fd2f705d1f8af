// The tests' HTTP server: an accept loop on one thread, one thread per
// connection. Every wait is a short select() or condition wait that also
// watches `stopping`, so the destructor never waits on a client.
#include "tools/loopback/HttpServer.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <cctype>
#include <condition_variable>
#include <cstring>


namespace zorloopback {

namespace {

DWORD WINAPI RunBody(void* body) {
  std::unique_ptr<std::function<void()>> owned(static_cast<std::function<void()>*>(body));
  (*owned)();
  return 0;
}

// A thread running `body`; null when none could start.
HANDLE StartThread(std::function<void()> body) {
  auto* heapBody = new std::function<void()>(std::move(body));
  HANDLE h = CreateThread(nullptr, 0, RunBody, heapBody, 0, nullptr);
  if (!h) delete heapBody;
  return h;
}

}  // namespace

struct HttpServer::Impl {
  Handler handler;
  SOCKET listener = INVALID_SOCKET;
  unsigned short port = 0;
  HANDLE acceptThread = nullptr;
  mutable std::mutex mutex;  // guards everything below
  std::mutex handlerMutex;   // handlers run one at a time
  std::condition_variable wake;
  bool stopping = false;
  unsigned hungGeneration = 0;
  std::vector<HttpRequest> requests;
  std::vector<HANDLE> connections;

  // Waits until `s` can be read; false once the server stops.
  bool Readable(SOCKET s) {
    for (;;) {
      {
        std::lock_guard<std::mutex> lock(mutex);
        if (stopping) return false;
      }
      fd_set set;
      FD_ZERO(&set);
      FD_SET(s, &set);
      timeval tv = {0, 50 * 1000};
      int n = select(0, &set, nullptr, nullptr, &tv);
      if (n != 0) return n > 0;
    }
  }

  // Sleeps `ms`, or less when the server stops; false once it stops.
  bool Pause(DWORD ms) {
    std::unique_lock<std::mutex> lock(mutex);
    wake.wait_for(lock, std::chrono::milliseconds(ms), [this] { return stopping; });
    return !stopping;
  }

  static bool SendAll(SOCKET s, const char* data, size_t size) {
    while (size > 0) {
      int n = send(s, data, static_cast<int>(size), 0);
      if (n <= 0) return false;
      data += n;
      size -= static_cast<size_t>(n);
    }
    return true;
  }

  static std::string Header(const std::string& text, const char* name) {
    std::string lower = text;
    for (char& c : lower) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    size_t at = lower.find("\r\n" + std::string(name) + ":");
    if (at == std::string::npos) return "";
    size_t begin = text.find_first_not_of(' ', at + strlen(name) + 3);
    return text.substr(begin, text.find("\r\n", begin) - begin);
  }

  void Serve(SOCKET s) {
    std::string text;
    char buf[4096];
    // Up to the blank line after the headers; anything that does not start
    // like a request line (a TLS hello, say) is dropped at once.
    while (text.find("\r\n\r\n") == std::string::npos && text.size() < 65536) {
      if (!Readable(s)) return;
      int n = recv(s, buf, sizeof buf, 0);
      if (n <= 0) return;
      text.append(buf, static_cast<size_t>(n));
      if (!isupper(static_cast<unsigned char>(text[0]))) return;
    }
    HttpRequest request;
    size_t space1 = text.find(' '), space2 = text.find(' ', space1 + 1);
    if (space2 == std::string::npos) return;
    request.method = text.substr(0, space1);
    request.target = text.substr(space1 + 1, space2 - space1 - 1);
    request.userAgent = Header(text, "user-agent");
    request.host = Header(text, "host");
    request.receivedMs = HttpServer::NowMs();
    unsigned generation;
    {
      std::lock_guard<std::mutex> lock(mutex);
      requests.push_back(request);
      generation = hungGeneration;
    }
    HttpReply reply;
    {
      std::lock_guard<std::mutex> lock(handlerMutex);
      reply = handler(request);
    }
    if (reply.behaviour == HttpReply::kHang) {
      std::unique_lock<std::mutex> lock(mutex);
      wake.wait(lock, [&] { return stopping || hungGeneration != generation; });
      return;
    }
    static const struct { int status; const char* reason; } kReasons[] = {
        {200, "OK"}, {204, "No Content"}, {404, "Not Found"}, {429, "Too Many Requests"},
        {500, "Internal Server Error"}, {503, "Service Unavailable"}};
    const char* reason = "Status";
    for (const auto& r : kReasons)
      if (r.status == reply.status) reason = r.reason;
    std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " " + reason +
                       "\r\nContent-Type: " + reply.contentType + "\r\nConnection: close\r\n";
    if (reply.sendLength) head += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
    for (const std::string& line : reply.extraHeaders) head += line + "\r\n";
    head += "\r\n";
    if (!SendAll(s, head.data(), head.size())) return;
    const std::string& body = reply.body;
    if (reply.behaviour == HttpReply::kCloseEarly) {
      SendAll(s, body.data(), body.size() / 2);
    } else if (reply.behaviour == HttpReply::kSlow) {
      size_t piece = reply.pieceBytes ? reply.pieceBytes : 1;
      for (size_t at = 0; at < body.size(); at += piece)
        if (!Pause(reply.pieceDelayMs) || !SendAll(s, body.data() + at, std::min(piece, body.size() - at)))
          return;
    } else {
      SendAll(s, body.data(), body.size());
    }
  }

  void AcceptLoop() {
    while (Readable(listener)) {
      SOCKET s = accept(listener, nullptr, nullptr);
      if (s == INVALID_SOCKET) continue;
      HANDLE thread = StartThread([this, s] {
        Serve(s);
        shutdown(s, SD_SEND);
        closesocket(s);
      });
      std::lock_guard<std::mutex> lock(mutex);
      // Reap the connections that have ended, so that handles don't pile up.
      for (size_t i = connections.size(); i-- > 0;)
        if (WaitForSingleObject(connections[i], 0) == WAIT_OBJECT_0) {
          CloseHandle(connections[i]);
          connections.erase(connections.begin() + static_cast<long>(i));
        }
      if (thread) connections.push_back(thread);
      else closesocket(s);
    }
  }
};

HttpServer::HttpServer(Handler handler) : m_impl(new Impl) {
  m_impl->handler = std::move(handler);
  WSADATA wsa;
  WSAStartup(MAKEWORD(2, 2), &wsa);
  Impl& d = *m_impl;
  d.listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in addr = {};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  int len = sizeof addr;
  if (d.listener == INVALID_SOCKET || bind(d.listener, reinterpret_cast<sockaddr*>(&addr), len) != 0 ||
      listen(d.listener, SOMAXCONN) != 0 || getsockname(d.listener, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
    return;  // Port() stays 0: the callers see that nothing listens
  }
  d.port = ntohs(addr.sin_port);
  d.acceptThread = StartThread([&d] { d.AcceptLoop(); });
}

HttpServer::~HttpServer() {
  Impl& d = *m_impl;
  {
    std::lock_guard<std::mutex> lock(d.mutex);
    d.stopping = true;
  }
  d.wake.notify_all();
  if (d.acceptThread) {
    WaitForSingleObject(d.acceptThread, INFINITE);
    CloseHandle(d.acceptThread);
  }
  for (HANDLE h : d.connections) {  // the accept loop has ended: no more are added
    WaitForSingleObject(h, INFINITE);
    CloseHandle(h);
  }
  if (d.listener != INVALID_SOCKET) closesocket(d.listener);
  WSACleanup();
}

double HttpServer::NowMs() {
  static LARGE_INTEGER frequency;  // constant while the system runs
  if (!frequency.QuadPart) QueryPerformanceFrequency(&frequency);
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  return static_cast<double>(now.QuadPart) * 1000.0 / static_cast<double>(frequency.QuadPart);
}

unsigned short HttpServer::Port() const { return m_impl->port; }

std::wstring HttpServer::Url(const std::string& path) const {
  return L"http://127.0.0.1:" + std::to_wstring(m_impl->port) + std::wstring(path.begin(), path.end());
}

std::vector<HttpRequest> HttpServer::Requests() const {
  std::lock_guard<std::mutex> lock(m_impl->mutex);
  return m_impl->requests;
}

void HttpServer::ReleaseHung() {
  {
    std::lock_guard<std::mutex> lock(m_impl->mutex);
    ++m_impl->hungGeneration;
  }
  m_impl->wake.notify_all();
}

}  // namespace zorloopback
