// inotify on the folder itself, plus an eventfd to stop the thread that waits on it.

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <optional>
#include <thread>

#include "kit/platform/folder_watcher.h"

namespace tallyfin::platform {

struct FolderWatcher::Worker {
  int inotify = -1;
  int stop = -1;
  std::function<void()> onChange;
  std::thread thread;

  ~Worker() {
    if (thread.joinable()) {
      const uint64_t one = 1;
      [[maybe_unused]] const ssize_t written = ::write(stop, &one, sizeof one);
      thread.join();
    }
    if (inotify >= 0) ::close(inotify);
    if (stop >= 0) ::close(stop);
  }

  // Drains what is queued; the kernel coalesces, so one read usually takes it all.
  void drain() const {
    alignas(inotify_event) std::array<char, 4096> buffer;
    while (::read(inotify, buffer.data(), buffer.size()) > 0) {
    }
  }

  void loop() const {
    using Clock = std::chrono::steady_clock;
    std::optional<Clock::time_point> due;
    std::array<pollfd, 2> waits{pollfd{inotify, POLLIN, 0}, pollfd{stop, POLLIN, 0}};
    for (;;) {
      int timeout = -1;
      if (due) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - Clock::now()).count();
        timeout = static_cast<int>(std::max<int64_t>(left, 0));
      }
      const int ready = ::poll(waits.data(), waits.size(), timeout);
      if (ready < 0) {
        if (errno == EINTR) continue;
        return;
      }
      if (waits[1].revents != 0) return;
      if (waits[0].revents != 0) {
        drain();
        // Every event pushes the call back, so a burst ends in one call.
        due = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                 std::chrono::duration<double>(kDebounceSeconds));
        continue;
      }
      if (due && Clock::now() >= *due) {
        due.reset();
        onChange();
      }
    }
  }
};

FolderWatcher::FolderWatcher(const std::string& path, std::function<void()> onChange)
    : worker_(std::make_unique<Worker>()) {
  worker_->onChange = std::move(onChange);
  worker_->inotify = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  worker_->stop = ::eventfd(0, EFD_CLOEXEC);
  if (worker_->inotify < 0 || worker_->stop < 0) return;
  // Only names: a folder watch keeps nothing open inside it, so its disk can still go.
  constexpr uint32_t kEvents = IN_CREATE | IN_CLOSE_WRITE | IN_MODIFY | IN_MOVED_FROM | IN_MOVED_TO |
                               IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
  if (::inotify_add_watch(worker_->inotify, path.c_str(), kEvents) < 0) return;
  worker_->thread = std::thread([worker = worker_.get()] { worker->loop(); });
}

FolderWatcher::~FolderWatcher() = default;

bool FolderWatcher::isWatching() const { return worker_->thread.joinable(); }

}  // namespace tallyfin::platform
