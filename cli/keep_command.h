#pragma once

#include <string>

#include "cli/options.h"
#include "kit/store/store.h"

namespace tallyfin::cli {

// tallyfin keep [PATH…] / keep --remove PATH…: lists the keep list, or adds or takes
// off paths under keep.json's lock, so the next summary and the app hide them.
int editKeepList(const Options& options, const Store& store, const std::string& home);

}  // namespace tallyfin::cli
