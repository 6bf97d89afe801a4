#pragma once

#include <string>

#include "cli/options.h"
#include "kit/store/store.h"

namespace tallyfin::cli {

// tallyfin trash [--json]: the journal's batches, newest first, each item marked
// still in the Trash or not.
int listTrash(const Options& options, const Store& store, const std::string& home);

// tallyfin undo [BATCH]: puts the batch (the newest when none is named) back through
// the trash service's undo; exit 0 when every item came back, 1 otherwise.
int undoTrash(const Options& options, const Store& store, const std::string& home);

}  // namespace tallyfin::cli
