#include "app/model/live_listing.h"

#include "kit/scan/scanner.h"

namespace tallyfin::app {
namespace {

// Small items count here: whatever made the whole-disk scan fold them away.
constexpr int64_t kSmallestShown = 1'048'576;
// One folder is a small walk; a few threads keep the rest of the machine free.
constexpr int kWorkers = 4;

}  // namespace

Expected<DiskNode, std::string> listFolder(const std::string& path, const std::string& home,
                                           const CancelToken& cancel) {
  ScanConfiguration configuration(path, home);
  configuration.minNodeSize = kSmallestShown;
  configuration.keepAll = {path};
  configuration.keepAllParents = {path};
  configuration.workerCount = kWorkers;
  auto scanned = Scanner(std::move(configuration)).run(cancel);
  if (!scanned) return fail(scanned.error().message());
  return std::move(scanned->tree);  // anchored at "/" by the scanner
}

}  // namespace tallyfin::app
