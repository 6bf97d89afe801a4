#pragma once

// A notification on the user's desktop, with buttons that name what they do.

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
};

// Shows the notification; the reason when nothing on this desktop can show it.
Status postNotification(const DesktopNotification& notification);

}  // namespace tallyfin::platform
