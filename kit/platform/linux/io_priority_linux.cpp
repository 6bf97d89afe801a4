#include "kit/platform/io_priority.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tallyfin::platform {
namespace {

// The kernel's values, written out: <linux/ioprio.h> of Linux 6.1.192 and later no
// longer compiles as C++ (a parameter named `class`).
constexpr int kWhoProcess = 1;
constexpr int kClassBestEffort = 2;
constexpr int kClassIdle = 3;
constexpr int kBestEffortLevels = 8;
constexpr int kClassShift = 13;

constexpr int priorityValue(int priorityClass, int level) { return (priorityClass << kClassShift) | level; }

// Who 0 with kWhoProcess is the calling thread, not the whole process.
int threadPriority() { return static_cast<int>(::syscall(SYS_ioprio_get, kWhoProcess, 0)); }

void setThreadPriority(int priority) {
  ::syscall(SYS_ioprio_set, kWhoProcess, 0, priority);
}

}  // namespace

// Best effort at its lowest level rather than the idle class: idle reads can
// starve outright on a busy disk, and the user is waiting for this result.
LowIoPriority::LowIoPriority() : previous_(threadPriority()) {
  setThreadPriority(priorityValue(kClassBestEffort, kBestEffortLevels - 1));
}

LowIoPriority::~LowIoPriority() {
  if (previous_ >= 0) setThreadPriority(previous_);
}

// New threads inherit both the nice value and the I/O priority of the thread
// that starts them.
void becomeBackgroundWork() {
  ::setpriority(PRIO_PROCESS, 0, 19);
  setThreadPriority(priorityValue(kClassIdle, 0));
}

// Nice 5 weighs about a third of nice 0: enough for the scheduler to run the
// window's thread first, not enough to slow the scan while the window is idle.
void yieldToInteractiveWork() { ::setpriority(PRIO_PROCESS, 0, 5); }

}  // namespace tallyfin::platform
