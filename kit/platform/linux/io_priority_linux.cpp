#include "kit/platform/io_priority.h"

#include <linux/ioprio.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tallyfin::platform {
namespace {

// Who 0 with IOPRIO_WHO_PROCESS is the calling thread, not the whole process.
int threadPriority() { return static_cast<int>(::syscall(SYS_ioprio_get, IOPRIO_WHO_PROCESS, 0)); }

void setThreadPriority(int priority) {
  ::syscall(SYS_ioprio_set, IOPRIO_WHO_PROCESS, 0, priority);
}

}  // namespace

// Best effort at its lowest level rather than the idle class: idle reads can
// starve outright on a busy disk, and the user is waiting for this result.
LowIoPriority::LowIoPriority() : previous_(threadPriority()) {
  setThreadPriority(IOPRIO_PRIO_VALUE(IOPRIO_CLASS_BE, IOPRIO_BE_NR - 1));
}

LowIoPriority::~LowIoPriority() {
  if (previous_ >= 0) setThreadPriority(previous_);
}

// New threads inherit both the nice value and the I/O priority of the thread
// that starts them.
void becomeBackgroundWork() {
  ::setpriority(PRIO_PROCESS, 0, 19);
  setThreadPriority(IOPRIO_PRIO_VALUE(IOPRIO_CLASS_IDLE, 0));
}

// Nice 5 weighs about a third of nice 0: enough for the scheduler to run the
// window's thread first, not enough to slow the scan while the window is idle.
void yieldToInteractiveWork() { ::setpriority(PRIO_PROCESS, 0, 5); }

}  // namespace tallyfin::platform
