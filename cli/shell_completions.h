#pragma once

// Tab completion for bash, zsh and fish, made from the command table: the commands,
// each command's options, client names, schedule and Autopilot choices, and
// folders or paths where a command takes them.

#include <string>

namespace tallyfin::cli {

std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();

}  // namespace tallyfin::cli
