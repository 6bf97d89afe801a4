#pragma once

// A notification on the user's desktop, with buttons that name what they do.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kit/base/error.h"

namespace tallyfin::platform {

struct NotificationAction {
  std::string identifier;
  std::string title;
};

struct DesktopNotification {
  std::string category;
  std::string title;
  std::string body;
  std::vector<NotificationAction> actions;
  // The app's desktop entry (its file name without ".desktop"), whose name and icon
  // the desktop shows; empty for none.
  std::string desktopEntry;
};

// Notifications posted over one connection to the desktop, so that a button the
// user presses on any of them later is still heard.
class NotificationSession {
 public:
  NotificationSession();
  ~NotificationSession();
  NotificationSession(const NotificationSession&) = delete;
  NotificationSession& operator=(const NotificationSession&) = delete;

  // Shows the notification; the reason when nothing on this desktop can show it.
  Status post(const DesktopNotification& notification);

  // The identifier of the action the user picked on one of the posted notifications;
  // none when nothing was posted, all of them were closed, or `seconds` passed first.
  std::optional<std::string> awaitAction(double seconds);

 private:
  struct Connection;
  std::unique_ptr<Connection> connection_;
};

// Shows one notification and forgets it.
Status postNotification(const DesktopNotification& notification);

}  // namespace tallyfin::platform
