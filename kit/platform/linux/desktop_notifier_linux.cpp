// Notifications go to whatever desktop shell owns org.freedesktop.Notifications on
// the user's session bus.

#include <systemd/sd-bus.h>

#include <cstring>
#include <memory>

#include "kit/platform/desktop_notifier.h"

namespace tallyfin::platform {
namespace {

constexpr uint64_t kReplyTimeoutMicroseconds = 5'000'000;

struct BusClose {
  void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
struct MessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Bus = std::unique_ptr<sd_bus, BusClose>;
using Message = std::unique_ptr<sd_bus_message, MessageUnref>;

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
  if ((r = sd_bus_message_append(call, "a{sv}", 2, "category", "s", notification.category.c_str(),
                                 "desktop-entry", "s", "tallyfin")) < 0) {
    return r;
  }
  return sd_bus_message_append(call, "i", -1);
}

}  // namespace

Status postNotification(const DesktopNotification& notification) {
  sd_bus* opened = nullptr;
  if (const int r = sd_bus_open_user(&opened); r < 0) {
    return fail(failure("No desktop session bus to show the notification on", r));
  }
  const Bus bus(opened);
  sd_bus_message* made = nullptr;
  if (const int r = sd_bus_message_new_method_call(bus.get(), &made, "org.freedesktop.Notifications",
                                                   "/org/freedesktop/Notifications",
                                                   "org.freedesktop.Notifications", "Notify");
      r < 0) {
    return fail(failure("Could not build the notification", r));
  }
  const Message call(made);
  if (const int r = appendNotify(call.get(), notification); r < 0) {
    return fail(failure("Could not build the notification", r));
  }
  sd_bus_error error{};  // SD_BUS_ERROR_NULL, spelled without a C compound literal
  sd_bus_message* reply = nullptr;
  const int r = sd_bus_call(bus.get(), call.get(), kReplyTimeoutMicroseconds, &error, &reply);
  sd_bus_message_unref(reply);
  if (r < 0) {
    const std::string reason = error.message ? error.message : std::strerror(-r);
    sd_bus_error_free(&error);
    return fail(Error{"No notification service answered: " + reason, -r});
  }
  return ok();
}

}  // namespace tallyfin::platform
