#include "kit/platform/desktop_notifier.h"

#include <systemd/sd-bus.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <future>
#include <optional>
#include <thread>

#include "kit/platform/processes.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using platform::DesktopNotification;

constexpr const char* kRunSession = "/usr/bin/dbus-run-session";
constexpr const char* kInsideSession = "TALLYFIN_PRIVATE_BUS";

// What a desktop's notification service got in one Notify call.
struct NotifyCall {
  std::string app;
  std::string summary;
  std::string body;
  std::vector<std::string> actions;
  std::string category;
  std::string desktopEntry;
};

// What the stand-in service got, and how its user answers: a pressed button, or a
// closed notification when `answer` is empty.
struct Exchange {
  std::optional<NotifyCall> call;
  std::optional<std::string> answer;
};

constexpr uint32_t kNotificationId = 7;

int readNotify(sd_bus_message* message, void* userdata, sd_bus_error*) {
  auto& exchange = *static_cast<Exchange*>(userdata);
  NotifyCall got;
  const char *app = nullptr, *icon = nullptr, *summary = nullptr, *body = nullptr;
  uint32_t replaces = 0;
  if (sd_bus_message_read(message, "susss", &app, &replaces, &icon, &summary, &body) < 0) return -EINVAL;
  got = {app, summary, body, {}, {}, {}};
  char** actions = nullptr;
  if (sd_bus_message_read_strv(message, &actions) < 0) return -EINVAL;
  for (char** action = actions; action && *action; ++action) {
    got.actions.emplace_back(*action);
    std::free(*action);
  }
  std::free(actions);
  if (sd_bus_message_enter_container(message, 'a', "{sv}") < 0) return -EINVAL;
  while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
    const char* key = nullptr;
    sd_bus_message_read(message, "s", &key);
    const char* value = nullptr;
    if (std::string_view(key) == "category" && sd_bus_message_read(message, "v", "s", &value) >= 0) {
      got.category = value;
    } else if (std::string_view(key) == "desktop-entry" && sd_bus_message_read(message, "v", "s", &value) >= 0) {
      got.desktopEntry = value;
    } else {
      sd_bus_message_skip(message, "v");
    }
    sd_bus_message_exit_container(message);
  }
  sd_bus_message_exit_container(message);
  exchange.call = std::move(got);
  const int replied = sd_bus_reply_method_return(message, "u", kNotificationId);
  if (replied < 0 || !exchange.answer) return replied;
  // Signals go to every client on the bus; one for another app's notification comes first.
  sd_bus* bus = sd_bus_message_get_bus(message);
  const char* path = "/org/freedesktop/Notifications";
  const char* interface = "org.freedesktop.Notifications";
  sd_bus_emit_signal(bus, path, interface, "ActionInvoked", "us", kNotificationId + 1, "other");
  if (exchange.answer->empty()) return sd_bus_emit_signal(bus, path, interface, "NotificationClosed", "uu", kNotificationId, 2u);
  sd_bus_emit_signal(bus, path, interface, "ActionInvoked", "us", kNotificationId, exchange.answer->c_str());
  return sd_bus_emit_signal(bus, path, interface, "NotificationClosed", "uu", kNotificationId, 2u);
}

const sd_bus_vtable kNotifications[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Notify", "susssasa{sv}i", "u", readNotify, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

// A stand-in for the desktop's notification service, on its own connection and
// thread, that answers the first Notify call and records it.
class NotificationService {
 public:
  explicit NotificationService(std::optional<std::string> answer = std::nullopt) {
    exchange_.answer = std::move(answer);
    std::promise<bool> ready;
    started_ = ready.get_future();
    thread_ = std::thread([this, ready = std::move(ready)]() mutable { serve(ready); });
  }
  ~NotificationService() { thread_.join(); }

  bool ready() { return started_.get(); }
  // The call, once one came or ten seconds passed.
  std::optional<NotifyCall> call() {
    thread_.join();
    thread_ = std::thread([] {});
    return exchange_.call;
  }

 private:
  void serve(std::promise<bool>& ready) {
    sd_bus* bus = nullptr;
    sd_bus_slot* slot = nullptr;
    const bool ok = sd_bus_open_user(&bus) >= 0 &&
                    sd_bus_add_object_vtable(bus, &slot, "/org/freedesktop/Notifications",
                                             "org.freedesktop.Notifications", kNotifications, &exchange_) >= 0 &&
                    sd_bus_request_name(bus, "org.freedesktop.Notifications", 0) >= 0;
    ready.set_value(ok);
    for (int waits = 0; ok && !exchange_.call && waits < 100; ++waits) {
      while (sd_bus_process(bus, nullptr) > 0) {
      }
      if (!exchange_.call) sd_bus_wait(bus, 100'000);
    }
    sd_bus_flush(bus);
    sd_bus_slot_unref(slot);
    sd_bus_flush_close_unref(bus);
  }

  Exchange exchange_;
  std::future<bool> started_;
  std::thread thread_;
};

// Runs the named test of this binary again inside a private session bus of its own;
// false when this already is that run.
bool ranInsidePrivateBus(const std::string& test) {
  if (std::getenv(kInsideSession)) return false;
  if (::access(kRunSession, X_OK) != 0) {
    ADD_FAILURE() << "dbus-run-session is not installed";
    return true;
  }
  testing::TempFolder home;
  const auto inside = testing::runProcess(
      kRunSession, {"--", platform::thisExecutable(), "--gtest_filter=DesktopNotifier." + test},
      {"PATH=/usr/bin:/bin", "HOME=" + home.path(), std::string(kInsideSession) + "=1"});
  EXPECT_EQ(inside.exitCode, 0) << inside.out << inside.err;
  EXPECT_NE(inside.out.find("[  PASSED  ] 1 test"), std::string::npos) << inside.out;
  return true;
}

const DesktopNotification kAutopilotFreed{
    "tallyfin.scan", "Autopilot freed 3.1 MB",
    "Moved 1 old cache and build folders to the Trash. Undo any time in Tallyfin.", {{"review", "Review cleanup"}},
    "com.morvek.Tallyfin"};

TEST(DesktopNotifier, PostsOnTheSessionBusWithTheReviewAction) {
  if (ranInsidePrivateBus("PostsOnTheSessionBusWithTheReviewAction")) return;
  NotificationService service;
  ASSERT_TRUE(service.ready());
  const auto posted = platform::postNotification(kAutopilotFreed);
  ASSERT_TRUE(posted.ok()) << posted.error().message;
  const auto call = service.call();
  ASSERT_TRUE(call.has_value());
  EXPECT_EQ(call->app, "Tallyfin");
  EXPECT_EQ(call->summary, "Autopilot freed 3.1 MB");
  EXPECT_EQ(call->body, "Moved 1 old cache and build folders to the Trash. Undo any time in Tallyfin.");
  EXPECT_EQ(call->actions, (std::vector<std::string>{"review", "Review cleanup"}));
  EXPECT_EQ(call->category, "tallyfin.scan");
  EXPECT_EQ(call->desktopEntry, "com.morvek.Tallyfin");
}

TEST(DesktopNotifier, TheButtonPressedOnOurNotificationComesBack) {
  if (ranInsidePrivateBus("TheButtonPressedOnOurNotificationComesBack")) return;
  NotificationService service("review");
  ASSERT_TRUE(service.ready());
  platform::NotificationSession session;
  ASSERT_TRUE(session.post(kAutopilotFreed).ok());
  EXPECT_EQ(session.awaitAction(10), "review");
  EXPECT_TRUE(service.call().has_value());
}

TEST(DesktopNotifier, AClosedNotificationEndsTheWaitWithoutAnAnswer) {
  if (ranInsidePrivateBus("AClosedNotificationEndsTheWaitWithoutAnAnswer")) return;
  NotificationService service("");
  ASSERT_TRUE(service.ready());
  platform::NotificationSession session;
  ASSERT_TRUE(session.post(kAutopilotFreed).ok());
  // Far longer than the test may run: only the closing can end this wait.
  EXPECT_EQ(session.awaitAction(86'400), std::nullopt);
}

TEST(DesktopNotifier, WithoutASessionBusItSaysSo) {
  testing::TempFolder empty;
  const auto result = testing::runInParallelProcesses(1, [&](int) {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + empty / "bus").c_str(), 1);
    const auto posted = platform::postNotification({"tallyfin.scan", "t", "b", {}, {}});
    return !posted.ok() && posted.error().message.starts_with("No desktop session bus") ? 0 : 1;
  });
  EXPECT_TRUE(result);
}

}  // namespace
}  // namespace tallyfin
