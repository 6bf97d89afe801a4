#pragma once

// The previews this server has handed out. A token confirms exactly one move, of
// exactly the items the preview showed: each is remembered with what it was on
// disk (type, device, inode) and its size, and a token that was used, or that
// this server never issued, confirms nothing.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kit/trash/trash_service.h"

namespace tallyfin {

struct PreviewedItem {
  std::string path;
  ItemIdentity identity;
  int64_t size = 0;
};

class PreviewLedger {
 public:
  // Previews remembered at once; the ones that expire first make room.
  static constexpr size_t kMostRemembered = 1'000;

  // The text a token signs after its paths, so the token is bound to the items.
  static std::string binding(const std::vector<PreviewedItem>& items);

  struct Preview {
    double expires = 0;
    std::vector<PreviewedItem> items;
    bool used = false;
  };

  void remember(const std::string& token, double expires, std::vector<PreviewedItem> items);

  // The preview `token` came from; none when this server never issued it or has
  // forgotten it (an hour after it expired). The caller marks it used.
  Preview* find(const std::string& token, double now);

 private:
  // Expired previews are kept a while, so that a late confirmation hears that its
  // token expired rather than that it is unknown.
  static constexpr double kRememberedAfterExpiry = 3'600;

  std::map<std::string, Preview, std::less<>> previews_;
};

}  // namespace tallyfin
