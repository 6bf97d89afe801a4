#pragma once

#include <string>

namespace tallyfin::AgentGuide {

// Instructions a user can paste into an agent's AGENTS.md or CLAUDE.md, with
// `executable` written wherever a command is shown.
std::string markdown(const std::string& executable);

}  // namespace tallyfin::AgentGuide
