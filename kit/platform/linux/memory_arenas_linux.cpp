#include <malloc.h>

#include "kit/platform/memory_arenas.h"

namespace tallyfin::platform {

void limitMemoryArenas(int count) { ::mallopt(M_ARENA_MAX, count); }

}  // namespace tallyfin::platform
