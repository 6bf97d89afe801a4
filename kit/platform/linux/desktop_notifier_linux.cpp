// Notifications go to whatever desktop shell owns org.freedesktop.Notifications on
// the user's session bus; the buttons pressed come back as its signals.

#include <systemd/sd-bus.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <set>

#include "kit/platform/desktop_notifier.h"

namespace tallyfin::platform {

// The session's connection holds these, so they have the same linkage as it.
struct BusClose {
  void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
struct MessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
struct SlotUnref {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using Bus = std::unique_ptr<sd_bus, BusClose>;
using Message = std::unique_ptr<sd_bus_message, MessageUnref>;
using Slot = std::unique_ptr<sd_bus_slot, SlotUnref>;

namespace {

constexpr uint64_t kReplyTimeoutMicroseconds = 5'000'000;
constexpr const char* kService = "org.freedesktop.Notifications";
constexpr const char* kObject = "/org/freedesktop/Notifications";

Error failure(const std::string& what, int negativeErrno) {
  return Error{what + ": " + std::strerror(-negativeErrno) + ".", -negativeErrno};
}

// Notify(app_name, replaces_id, app_icon, summary, body, actions, hints, expire_timeout).
int appendNotify(sd_bus_message* call, const DesktopNotification& notification) {
  int r = sd_bus_message_append(call, "susss", "Tallyfin", 0u, "", notification.title.c_str(),
                                notification.body.c_str());
  if (r < 0) return r;
  if ((r = sd_bus_message_open_container(call, 'a', "s")) < 0) return r;
  for (const auto& action : notification.actions) {
    if ((r = sd_bus_message_append(call, "ss", action.identifier.c_str(), action.title.c_str())) < 0) return r;
  }
  if ((r = sd_bus_message_close_container(call)) < 0) return r;
  r = notification.desktopEntry.empty()
          ? sd_bus_message_append(call, "a{sv}", 1, "category", "s", notification.category.c_str())
          : sd_bus_message_append(call, "a{sv}", 2, "category", "s", notification.category.c_str(), "desktop-entry",
                                  "s", notification.desktopEntry.c_str());
  if (r < 0) return r;
  return sd_bus_message_append(call, "i", -1);
}

}  // namespace

struct NotificationSession::Connection {
  Bus bus;
  Slot invoked;
  Slot closed;
  std::set<uint32_t> open;  // posted and not closed yet
  std::optional<std::string> picked;

  // ActionInvoked(id, action_key): every client hears it, so only our own ids count.
  static int onInvoked(sd_bus_message* message, void* userdata, sd_bus_error*) {
    auto& self = *static_cast<Connection*>(userdata);
    uint32_t id = 0;
    const char* key = nullptr;
    if (sd_bus_message_read(message, "us", &id, &key) >= 0 && self.open.contains(id) && !self.picked) {
      self.picked = key;
    }
    return 0;
  }

  // NotificationClosed(id, reason).
  static int onClosed(sd_bus_message* message, void* userdata, sd_bus_error*) {
    auto& self = *static_cast<Connection*>(userdata);
    uint32_t id = 0, reason = 0;
    if (sd_bus_message_read(message, "uu", &id, &reason) >= 0) self.open.erase(id);
    return 0;
  }
};

NotificationSession::NotificationSession() = default;
NotificationSession::~NotificationSession() = default;

Status NotificationSession::post(const DesktopNotification& notification) {
  if (!connection_) {
    sd_bus* opened = nullptr;
    if (const int r = sd_bus_open_user(&opened); r < 0) {
      return fail(failure("No desktop session bus to show the notification on", r));
    }
    auto connection = std::make_unique<Connection>();
    connection->bus.reset(opened);
    // Listening starts before the first notification shows, so no answer is missed.
    // Without it the notification still shows; only its buttons go unheard.
    sd_bus_slot* slot = nullptr;
    if (sd_bus_match_signal(opened, &slot, kService, kObject, kService, "ActionInvoked", Connection::onInvoked,
                            connection.get()) >= 0) {
      connection->invoked.reset(slot);
    }
    if (sd_bus_match_signal(opened, &slot, kService, kObject, kService, "NotificationClosed", Connection::onClosed,
                            connection.get()) >= 0) {
      connection->closed.reset(slot);
    }
    connection_ = std::move(connection);
  }
  sd_bus* bus = connection_->bus.get();
  sd_bus_message* made = nullptr;
  if (const int r = sd_bus_message_new_method_call(bus, &made, kService, kObject, kService, "Notify"); r < 0) {
    return fail(failure("Could not build the notification", r));
  }
  const Message call(made);
  if (const int r = appendNotify(call.get(), notification); r < 0) {
    return fail(failure("Could not build the notification", r));
  }
  sd_bus_error error{};  // SD_BUS_ERROR_NULL, spelled without a C compound literal
  sd_bus_message* answered = nullptr;
  const int r = sd_bus_call(bus, call.get(), kReplyTimeoutMicroseconds, &error, &answered);
  const Message reply(answered);
  if (r < 0) {
    const std::string reason = error.message ? error.message : std::strerror(-r);
    sd_bus_error_free(&error);
    return fail(Error{"No notification service answered: " + reason, -r});
  }
  uint32_t id = 0;
  if (sd_bus_message_read(reply.get(), "u", &id) >= 0 && !notification.actions.empty()) {
    connection_->open.insert(id);
  }
  return ok();
}

std::optional<std::string> NotificationSession::awaitAction(double seconds) {
  if (!connection_) return std::nullopt;
  using Clock = std::chrono::steady_clock;
  const auto deadline =
      Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  sd_bus* bus = connection_->bus.get();
  for (;;) {
    int r = 0;
    while ((r = sd_bus_process(bus, nullptr)) > 0 && !connection_->picked) {
    }
    if (connection_->picked || connection_->open.empty() || r < 0) return connection_->picked;
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now()).count();
    if (left <= 0) return std::nullopt;
    if (sd_bus_wait(bus, static_cast<uint64_t>(left)) < 0) return std::nullopt;
  }
}

Status postNotification(const DesktopNotification& notification) { return NotificationSession().post(notification); }

}  // namespace tallyfin::platform
