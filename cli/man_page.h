#pragma once

#include <string>

namespace tallyfin::cli {

// tallyfin(1) in roff, made from the command table, so it never disagrees with --help.
std::string manPage();

}  // namespace tallyfin::cli
