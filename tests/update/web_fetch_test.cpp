// Addresses and transfers against a real server on 127.0.0.1.

#include "kit/update/web_fetch.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "kit/platform/spawned.h"
#include "kit/update/fetch_address.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"
#include "tests/update/local_web_server.h"

namespace tallyfin {
namespace {

using Answer = testing::LocalWebServer::Answer;
using Reason = FetchError::Reason;

constexpr FetchLimits kSmall{1'000, 5, true};

bool mentions(const FetchError& error, const std::string& words) {
  return error.message.find(words) != std::string::npos;
}

// A port on 127.0.0.1 that is bound but never listens: connections are refused.
class DeadPort {
 public:
  DeadPort() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
  }
  ~DeadPort() { ::close(socket_); }
  int port() const { return port_; }

 private:
  int socket_;
  int port_ = 0;
};

TEST(FetchAddress, HttpsAnywhereButPlainHttpOnlyFromThisComputer) {
  for (const char* allowed : {"https://example.test/feed.json", "https://127.0.0.1/feed.json",
                              "http://127.0.0.1:8080/feed.json", "http://127.45.6.7/feed.json",
                              "http://[::1]:9000/feed.json", "http://localhost/feed.json",
                              "HTTP://LOCALHOST:1/feed.json"}) {
    EXPECT_TRUE(FetchAddress::check(allowed).ok()) << allowed;
  }
  EXPECT_TRUE(FetchAddress::check("http://127.0.0.1/x")->loopback);
  EXPECT_FALSE(FetchAddress::check("https://example.test/x")->loopback);

  for (const char* plain :
       {"http://example.test/feed.json", "http://10.0.0.1/feed.json",
        "http://192.168.1.1/feed.json", "http://128.0.0.1/feed.json", "http://0.0.0.0/feed.json",
        "http://127.0.0.1.example.test/feed.json", "http://localhost.example.test/feed.json",
        "http://127.0.0.1@example.test/feed.json", "http://[::2]/feed.json",
        "http://[::ffff:10.0.0.1]/feed.json"}) {
    const auto address = FetchAddress::check(plain);
    ASSERT_FALSE(address.ok()) << plain;
    EXPECT_NE(address.error().message.find(
                  "uses plain http, which is accepted only for this computer's own address"),
              std::string::npos)
        << address.error().message;
  }
  for (const char* other : {"ftp://127.0.0.1/feed.json", "file:///etc/passwd", "feed.json", "",
                            "https://", "gopher://example.test/"}) {
    EXPECT_FALSE(FetchAddress::check(other).ok()) << other;
  }
}

TEST(WebFetch, PlainHttpToAnotherHostIsRefusedBeforeAnyConnection) {
  testing::LocalWebServer server;
  server.serve("/feed.json", "{}");
  // Linux connects 0.0.0.0 to this computer, so a fetch that went out would reach
  // the server; the refusal has to come first.
  const std::string url = "http://0.0.0.0:" + std::to_string(server.port()) + "/feed.json";
  const auto fetched = fetchText(url, kSmall, "the release feed");
  ASSERT_FALSE(fetched.ok());
  EXPECT_EQ(fetched.error().reason, Reason::refused);
  EXPECT_EQ(server.requests(), 0);
  // A name that no resolver knows is refused as it stands, not after a failed lookup.
  const auto named = fetchText("http://updates.invalid/feed.json", kSmall, "the release feed");
  ASSERT_FALSE(named.ok());
  EXPECT_EQ(named.error().reason, Reason::refused);
}

TEST(WebFetch, FetchesTheWholeBodyOverLoopbackHttp) {
  testing::LocalWebServer server;
  const std::string body(999, 'x');
  server.serve("/exact", body);
  server.serve("/streamed", Answer{body, 200, Answer::Kind::noLength});
  EXPECT_EQ(fetchText(server.url("/exact"), kSmall, "the feed").value(), body);
  EXPECT_EQ(fetchText(server.url("/streamed"), kSmall, "the feed").value(), body);
  const std::string empty;
  server.serve("/empty", empty);
  EXPECT_EQ(fetchText(server.url("/empty"), kSmall, "the feed").value(), "");
}

TEST(WebFetch, TheSizeCapHoldsWhetherOrNotTheLengthIsAnnounced) {
  testing::LocalWebServer server;
  const std::string body(1'001, 'x');  // one byte over
  server.serve("/announced", body);
  server.serve("/streamed", Answer{body, 200, Answer::Kind::noLength});
  for (const char* path : {"/announced", "/streamed"}) {
    const auto fetched = fetchText(server.url(path), kSmall, "the release feed");
    ASSERT_FALSE(fetched.ok()) << path;
    EXPECT_EQ(fetched.error().reason, Reason::tooLarge) << path;
    EXPECT_EQ(fetched.error().message, "The release feed at " + server.url(path) +
                                           " is larger than 1.00 KB — it was not kept.");
  }
}

TEST(WebFetch, ABodyCutShortIsIncomplete) {
  testing::LocalWebServer server;
  server.serve("/cut", Answer{std::string(800, 'x'), 200, Answer::Kind::cutShort});
  const auto fetched = fetchText(server.url("/cut"), kSmall, "the release feed");
  ASSERT_FALSE(fetched.ok());
  EXPECT_EQ(fetched.error().reason, Reason::incomplete);
  EXPECT_EQ(fetched.error().message,
            "The release feed at " + server.url("/cut") + " arrived incomplete — try again later.");
}

TEST(WebFetch, AServerThatNeverAnswersRunsIntoTheTimeLimit) {
  testing::LocalWebServer server;
  server.serve("/silent", Answer{"", 200, Answer::Kind::stall});
  const auto fetched = fetchText(server.url("/silent"), {1'000, 1, true}, "the release feed");
  ASSERT_FALSE(fetched.ok());
  EXPECT_EQ(fetched.error().reason, Reason::timedOut);
  EXPECT_TRUE(mentions(fetched.error(), "did not arrive within 1 s")) << fetched.error().message;
}

TEST(WebFetch, AWatcherHearsTheBytesAndCanStopTheTransfer) {
  testing::LocalWebServer server;
  const std::string body(600, 'x');
  server.serve("/whole", body);
  int64_t heard = 0;
  const auto fetched = fetchText(server.url("/whole"), kSmall, "the package", [&](int64_t received) {
    heard = received;
    return true;
  });
  ASSERT_TRUE(fetched.ok()) << fetched.error().message;
  EXPECT_EQ(*fetched, body);
  EXPECT_EQ(heard, 600);

  // Stopped while the server says nothing, long before the time limit of 30 s.
  server.serve("/silent", Answer{"", 200, Answer::Kind::stall});
  const auto started = std::chrono::steady_clock::now();
  const auto stopped = fetchText(server.url("/silent"), {1'000, 30, true}, "the package", [&](int64_t) {
    return std::chrono::steady_clock::now() - started < std::chrono::milliseconds(200);
  });
  ASSERT_FALSE(stopped.ok());
  EXPECT_EQ(stopped.error().reason, Reason::cancelled);
  EXPECT_EQ(stopped.error().message, "The download of the package at " + server.url("/silent") + " was cancelled.");
}

TEST(WebFetch, ErrorStatusesAndClosedPortsSayWhatHappened) {
  testing::LocalWebServer server;
  const auto missing = fetchText(server.url("/nothing"), kSmall, "the release signature");
  ASSERT_FALSE(missing.ok());
  EXPECT_EQ(missing.error().reason, Reason::httpStatus);
  EXPECT_TRUE(mentions(missing.error(), "answered HTTP 404 for the release signature"))
      << missing.error().message;

  const DeadPort dead;
  const std::string url = "http://127.0.0.1:" + std::to_string(dead.port()) + "/feed.json";
  const auto unreachable = fetchText(url, kSmall, "the release feed");
  ASSERT_FALSE(unreachable.ok());
  EXPECT_EQ(unreachable.error().reason, Reason::unreachable);
  EXPECT_EQ(unreachable.error().message,
            "Could not reach " + url +
                " for the release feed — check the network connection and try again.");
}

TEST(WebFetch, RedirectsToPlainHttpAreNotFollowed) {
  testing::LocalWebServer server;
  server.serve("/target", "followed");
  server.serve("/moved", Answer{server.url("/target"), 302, Answer::Kind::redirect});
  server.serve("/away", Answer{"http://example.test/feed.json", 302, Answer::Kind::redirect});
  for (const char* path : {"/moved", "/away"}) {
    const auto fetched = fetchText(server.url(path), kSmall, "the release feed");
    ASSERT_FALSE(fetched.ok()) << path;
    EXPECT_EQ(fetched.error().reason, Reason::redirect) << fetched.error().message;
    EXPECT_TRUE(mentions(fetched.error(), "which is refused")) << fetched.error().message;
  }
  EXPECT_EQ(server.requests(), 2);  // the redirect targets were never asked
}

// Whether something accepts connections on 127.0.0.1:port.
bool accepting(int port) {
  const int probe = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  const bool connected =
      ::connect(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  ::close(probe);
  return connected;
}

TEST(WebFetch, HttpsChecksTheServersCertificate) {
  // A real TLS server whose certificate nobody vouches for.
  const testing::TempFolder folder;
  const std::vector<std::string> environment = {"PATH=/usr/bin:/bin", "HOME=" + folder.path()};
  const auto made = testing::runProcess(
      "/usr/bin/openssl",
      {"req", "-x509", "-newkey", "ed25519", "-nodes", "-days", "1", "-subj", "/CN=127.0.0.1",
       "-keyout", folder / "key.pem", "-out", folder / "cert.pem"},
      environment);
  ASSERT_EQ(made.exitCode, 0) << made.err;
  int port = 0;
  {
    const DeadPort free;  // a port nobody uses, handed on to the server
    port = free.port();
  }
  auto server = Spawned::start("/usr/bin/openssl",
                               {"s_server", "-accept", "127.0.0.1:" + std::to_string(port), "-cert",
                                folder / "cert.pem", "-key", folder / "key.pem", "-www", "-quiet"},
                               environment);
  ASSERT_TRUE(server.has_value());
  for (int i = 0; i < 100 && !accepting(port); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  const std::string url = "https://127.0.0.1:" + std::to_string(port) + "/feed.json";
  const auto fetched = fetchText(url, kSmall, "the release feed");
  server->finish(true);
  ASSERT_FALSE(fetched.ok());
  EXPECT_EQ(fetched.error().reason, Reason::untrusted) << fetched.error().message;
  EXPECT_EQ(fetched.error().message, "The certificate of " + url +
                                         " could not be verified, so nothing was read from it — "
                                         "check the address and the system's clock.");
}

}  // namespace
}  // namespace tallyfin
