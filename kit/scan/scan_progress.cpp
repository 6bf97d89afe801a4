#include "kit/scan/scan_progress.h"

namespace tallyfin {

double ScanProgress::fraction() const {
  switch (phase) {
    case Phase::planning:
      return 0.02;
    case Phase::scanning:
      return total < 1 ? 0.03 : 0.03 + 0.9 * done / total;
    case Phase::analyzing:
      return 0.95;
    case Phase::done:
      return 1.0;
  }
  return 0;
}

std::string_view phaseName(ScanProgress::Phase phase) {
  switch (phase) {
    case ScanProgress::Phase::planning: return "planning";
    case ScanProgress::Phase::scanning: return "scanning";
    case ScanProgress::Phase::analyzing: return "analyzing";
    case ScanProgress::Phase::done: return "done";
  }
  return "";
}

}  // namespace tallyfin
