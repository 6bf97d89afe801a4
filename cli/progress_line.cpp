#include "cli/progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

#include "cli/text_layout.h"
#include "kit/store/format.h"

namespace tallyfin::cli {
namespace {

using Clock = std::chrono::steady_clock;

size_t terminalWidth() {
  winsize size{};
  if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return 80;
}

std::string elapsed(Clock::duration duration) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration).count();
  char text[32];
  std::snprintf(text, sizeof text, "%lld:%02lld", static_cast<long long>(seconds / 60),
                static_cast<long long>(seconds % 60));
  return text;
}

}  // namespace

ProgressLine::ProgressLine(std::string home)
    : enabled_(::isatty(STDERR_FILENO) == 1), home_(std::move(home)), started_(Clock::now()) {}

ProgressLine::~ProgressLine() { clear(); }

void ProgressLine::update(const ScanProgress& progress) {
  std::string line = "Scanning: " + std::string(phaseName(progress.phase));
  if (progress.phase == ScanProgress::Phase::scanning) {
    line += " " + std::to_string(progress.done) + "/" + std::to_string(progress.total);
  }
  show(line, progress.current, progress.phase == ScanProgress::Phase::done);
}

void ProgressLine::show(const std::string& text, std::string_view path, bool final) {
  if (!enabled_) return;
  std::lock_guard lock(mutex_);
  const auto now = Clock::now();
  if (drawn_ && !final && now - lastDrawn_ < std::chrono::milliseconds(100)) return;
  lastDrawn_ = now;
  std::string line = text + "  " + elapsed(now - started_);
  if (!path.empty()) line += "  " + Format::shortPath(path, home_);
  std::fprintf(stderr, "\r\033[K%s", fitWidth(terminalSafe(line), terminalWidth() - 1).c_str());
  std::fflush(stderr);
  drawn_ = true;
}

void ProgressLine::clear() {
  std::lock_guard lock(mutex_);
  if (!drawn_) return;
  std::fprintf(stderr, "\r\033[K");
  std::fflush(stderr);
  drawn_ = false;
}

}  // namespace tallyfin::cli
