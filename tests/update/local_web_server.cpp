#include "tests/update/local_web_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

namespace tallyfin::testing {
namespace {

void sendAll(int connection, std::string_view data) {
  while (!data.empty()) {
    const ssize_t sent = ::send(connection, data.data(), data.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    data.remove_prefix(static_cast<size_t>(sent));
  }
}

// Waits until the client hangs up, for at most ten seconds.
void waitForHangUp(int connection) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  char buffer[256];
  while (std::chrono::steady_clock::now() < until) {
    pollfd waiting{connection, POLLIN, 0};
    if (::poll(&waiting, 1, 100) > 0 && ::recv(connection, buffer, sizeof buffer, 0) <= 0) return;
  }
}

}  // namespace

LocalWebServer::LocalWebServer() {
  listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (listener_ < 0 ||
      ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener_, 16) != 0 ||
      ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    throw std::runtime_error("cannot listen on 127.0.0.1");
  }
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { run(); });
}

LocalWebServer::~LocalWebServer() {
  stopping_ = true;
  thread_.join();
  ::close(listener_);
}

void LocalWebServer::serve(const std::string& path, Answer answer) {
  const std::lock_guard lock(mutex_);
  answers_[path] = std::move(answer);
}

std::string LocalWebServer::url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

void LocalWebServer::run() {
  while (!stopping_) {
    pollfd waiting{listener_, POLLIN, 0};
    if (::poll(&waiting, 1, 50) <= 0) continue;
    const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) continue;
    answer(connection);
    ::close(connection);
  }
}

void LocalWebServer::answer(int connection) {
  std::string request;
  char buffer[4096];
  while (request.find("\r\n\r\n") == std::string::npos && request.size() < 65'536) {
    pollfd waiting{connection, POLLIN, 0};
    if (::poll(&waiting, 1, 5'000) <= 0) return;
    const ssize_t count = ::recv(connection, buffer, sizeof buffer, 0);
    if (count <= 0) return;
    request.append(buffer, static_cast<size_t>(count));
  }
  ++requests_;
  // "GET /path HTTP/1.1"
  const size_t start = request.find(' ') + 1;
  const std::string path = request.substr(start, request.find(' ', start) - start);
  Answer reply{"not here", 404};
  {
    const std::lock_guard lock(mutex_);
    if (const auto found = answers_.find(path); found != answers_.end()) reply = found->second;
  }
  const std::string status =
      "HTTP/1.1 " + std::to_string(reply.status) + " Answer\r\nConnection: close\r\n";
  switch (reply.kind) {
    case Answer::Kind::whole:
      sendAll(connection, status + "Content-Length: " + std::to_string(reply.body.size()) +
                              "\r\n\r\n" + reply.body);
      break;
    case Answer::Kind::cutShort:
      sendAll(connection, status + "Content-Length: " + std::to_string(reply.body.size()) +
                              "\r\n\r\n" + reply.body.substr(0, reply.body.size() / 2));
      break;
    case Answer::Kind::noLength:
      sendAll(connection, status + "\r\n" + reply.body);
      break;
    case Answer::Kind::stall:
      waitForHangUp(connection);
      break;
    case Answer::Kind::redirect:
      sendAll(connection, "HTTP/1.1 302 Found\r\nConnection: close\r\nLocation: " + reply.body +
                              "\r\nContent-Length: 0\r\n\r\n");
      break;
  }
}

}  // namespace tallyfin::testing
