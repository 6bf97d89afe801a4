#pragma once

namespace tallyfin::platform {

// Puts the calling thread's disk reads behind everyone else's for as long as it
// lives, so a long hashing job never makes the machine feel slow; the previous
// priority comes back when it goes.
class LowIoPriority {
 public:
  LowIoPriority();
  ~LowIoPriority();
  LowIoPriority(const LowIoPriority&) = delete;
  LowIoPriority& operator=(const LowIoPriority&) = delete;

 private:
  int previous_;  // -1 when it could not be read
};

// Puts this thread, and every thread it starts from now on, behind all other work
// for the processor and the disk: for runs nobody is waiting for.
void becomeBackgroundWork();

// Lowers this thread's processor priority a little, and that of every thread it
// starts from now on, so that a window's main thread gets the processor at once
// whenever it needs it while this work runs flat out beside it.
void yieldToInteractiveWork();

}  // namespace tallyfin::platform
