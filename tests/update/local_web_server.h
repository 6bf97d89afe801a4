#pragma once

// A small HTTP/1.1 server on 127.0.0.1 for the update tests: real sockets, one
// connection at a time on its own thread, and answers a test can make misbehave
// (cut short, stalled, redirected, without a length). It counts what was asked.

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace tallyfin::testing {

class LocalWebServer {
 public:
  struct Answer {
    enum class Kind {
      whole,     // status, Content-Length and the body
      cutShort,  // announces the body's length, sends half of it and closes
      noLength,  // no Content-Length: the body runs until the connection closes
      stall,     // reads the request and never answers
      redirect,  // 302 to `body`
    };
    std::string body;
    int status = 200;
    Kind kind = Kind::whole;
  };

  LocalWebServer();
  ~LocalWebServer();
  LocalWebServer(const LocalWebServer&) = delete;
  LocalWebServer& operator=(const LocalWebServer&) = delete;

  // Answers requests for `path` ("/feed.json"); anything else gets 404.
  void serve(const std::string& path, Answer answer);
  void serve(const std::string& path, std::string body) { serve(path, Answer{std::move(body)}); }

  // "http://127.0.0.1:PORT" + path.
  std::string url(const std::string& path) const;
  int port() const { return port_; }
  // Requests that reached the server, for every path.
  int requests() const { return requests_; }

 private:
  void run();
  void answer(int connection);

  int listener_ = -1;
  int port_ = 0;
  std::atomic<bool> stopping_{false};
  std::atomic<int> requests_{0};
  mutable std::mutex mutex_;
  std::map<std::string, Answer> answers_;
  std::thread thread_;
};

}  // namespace tallyfin::testing
