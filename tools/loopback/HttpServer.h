// A small real HTTP/1.1 server for the tests and zortool's lookup demo: Winsock, listening on 127.0.0.1 on a
// free port, answering on its own thread with what the test's handler says,
// including on-demand misbehaviour (hang, slow pieces, early close).
#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zorloopback {

struct HttpRequest {
  std::string method;     // "GET"
  std::string target;     // path and query as sent: "/ws/1/artist/?type=xml&..."
  std::string userAgent;  // the User-Agent header, "" when none
  std::string host;       // the Host header
  double receivedMs = 0;  // when its headers were complete, in ms of a steady clock
};

struct HttpReply {
  enum Behaviour {
    kNormal,      // status, headers and body at once
    kHang,        // accept, read the request, never answer (until released)
    kSlow,        // the body in pieces of `pieceBytes` every `pieceDelayMs`
    kCloseEarly,  // announce the whole length, send about half, close
  };
  int status = 200;
  std::string body;
  std::string contentType = "text/xml; charset=utf-8";
  bool sendLength = true;  // a Content-Length header
  Behaviour behaviour = kNormal;
  size_t pieceBytes = 64;
  DWORD pieceDelayMs = 20;
  std::vector<std::string> extraHeaders = {};  // further "Name: value" lines, e.g. "Retry-After: 2"
};

class HttpServer {
public:
  /// Called on the server's thread for every request.
  using Handler = std::function<HttpReply(const HttpRequest&)>;
  explicit HttpServer(Handler handler);
  /// Releases hanging replies, stops listening and joins every thread.
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  unsigned short Port() const;
  /// The steady clock of HttpRequest::receivedMs, for the caller's own marks.
  static double NowMs();
  /// "http://127.0.0.1:<port>" followed by `path`.
  std::wstring Url(const std::string& path = "") const;
  /// Every request received so far, in order.
  std::vector<HttpRequest> Requests() const;
  /// Ends every hanging reply now (their connections are closed).
  void ReleaseHung();

private:
  struct Impl;  // sockets and threads, in HttpServer.cpp
  std::unique_ptr<Impl> m_impl;
};

}  // namespace zorloopback
