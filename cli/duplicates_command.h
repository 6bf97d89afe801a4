#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "cli/options.h"
#include "kit/store/store.h"

namespace tallyfin::cli {

// tallyfin --duplicates: identical files among the last scan's big files or in
// one folder, printed with the copy to keep marked; returns the exit code.
int findDuplicates(const Options& options, const Store& store, const std::string& home);

// The human-readable form of a duplicates result (the JSON the tool prints with --json).
std::string textDuplicates(const nlohmann::json& found, const std::string& home);

}  // namespace tallyfin::cli
