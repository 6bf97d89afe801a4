#pragma once

namespace tallyfin::platform {

// Lets at most `count` memory arenas serve every thread started from now on, so a
// pool of short-lived workers does not leave one arena of freed but kept memory
// per thread behind. Call it before the threads start.
void limitMemoryArenas(int count);

}  // namespace tallyfin::platform
