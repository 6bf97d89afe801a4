// Scheduled scans on Linux: a systemd user timer, which `systemctl --user enable`
// sets up even while no user manager runs (it then starts at the next login
// session), and a crontab entry where only a cron daemon is there to start it.

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "kit/base/text.h"
#include "kit/platform/launch_agents.h"
#include "kit/platform/processes.h"
#include "kit/platform/user_folders.h"
#include "kit/base/atomic_file.h"
#include "kit/platform/probe_environment.h"
#include "kit/platform/spawned.h"

namespace tallyfin::platform {
namespace {

constexpr double kToolSeconds = 15;

std::string timerName(const AgentJob& job) { return job.label + ".timer"; }

// A path as the program of a unit's command line: quoted, with systemd's
// specifier sign doubled so it stays literal (variables are not expanded there).
std::string unitWord(std::string_view path) {
  std::string word = "\"";
  for (const char c : path) {
    if (c == '"' || c == '\\') word += '\\';
    if (c == '%') word += c;
    word += c;
  }
  return word + "\"";
}

std::string beginMarker(const AgentJob& job) { return "# BEGIN " + job.label + " (Tallyfin's scheduled scan)"; }
std::string endMarker(const AgentJob& job) { return "# END " + job.label; }

// The table without the job's block; every other line stays as it was.
std::string withoutBlock(std::string_view table, const AgentJob& job) {
  std::vector<std::string_view> lines = splitOn(table, '\n');
  if (!lines.empty() && lines.back().empty()) lines.pop_back();  // the final line break
  std::string kept;
  bool inside = false;
  for (const std::string_view line : lines) {
    if (line == beginMarker(job)) inside = true;
    if (!inside) kept.append(line).append("\n");
    if (inside && line == endMarker(job)) inside = false;
  }
  return kept;
}

std::vector<std::string> toolEnvironment() {
  std::vector<std::string> environment{"PATH=/usr/bin:/bin", "LC_ALL=C", "HOME=" + homeFolder()};
  for (const char* name : {"XDG_CONFIG_HOME", "XDG_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS", "USER", "LOGNAME"}) {
    if (const char* value = std::getenv(name)) environment.push_back(std::string(name) + "=" + value);
  }
  return environment;
}

}  // namespace

LaunchAgents::Setup LaunchAgents::forThisUser() {
  Setup setup;
  setup.unitFolder = settingsFolder() + "/systemd/user";
  setup.executable = thisExecutable();
  setup.systemctl = firstExecutable({"/usr/bin/systemctl", "/bin/systemctl"}).value_or("");
  setup.crontab = firstExecutable({"/usr/bin/crontab", "/bin/crontab"}).value_or("");
  setup.environment = toolEnvironment();
  if (!setup.systemctl.empty()) {
    // "offline" (or nothing) when no user manager answers on the bus.
    const ToolRun run = runTool(setup.systemctl, {"--user", "is-system-running"}, setup.environment, kToolSeconds);
    const std::string_view state = trimmed(run.output);
    setup.managerRunning = !state.empty() && state != "offline";
  }
  setup.cronRunning = processRunning({"cron", "crond"});
  return setup;
}

std::string LaunchAgents::serviceUnit(const std::string& executable) {
  return "[Unit]\n"
         "Description=Tallyfin scheduled disk scan\n"
         "\n"
         "[Service]\n"
         "Type=oneshot\n"
         "ExecStart=" + unitWord(executable) + " --background-scan\n"
         "Nice=19\n"
         "CPUSchedulingPolicy=idle\n"
         "IOSchedulingClass=idle\n";
}

std::string LaunchAgents::timerUnit(const AgentJob& job) {
  return "[Unit]\n"
         "Description=Tallyfin scan " + std::string(job.weekly ? "every Monday" : "every day") + " at 10:00\n"
         "\n"
         "[Timer]\n"
         "OnCalendar=" + std::string(job.weekly ? "Mon *-*-* 10:00:00" : "*-*-* 10:00:00") + "\n"
         "Persistent=true\n"
         "Unit=" + job.label + ".service\n"
         "\n"
         "[Install]\n"
         "WantedBy=timers.target\n";
}

std::string LaunchAgents::cronEntry(const AgentJob& job, const std::string& executable) {
  std::string command;
  for (const char c : shellQuoted(executable)) {
    if (c == '%') command += '\\';  // cron turns a bare % into a line break
    command += c;
  }
  return beginMarker(job) + "\n" + (job.weekly ? "0 10 * * 1" : "0 10 * * *") + " nice -n 19 ionice -c 3 " +
         command + " --background-scan >/dev/null 2>&1\n" + endMarker(job) + "\n";
}

Status LaunchAgents::systemctl(const std::vector<std::string>& arguments) const {
  std::vector<std::string> all{"--user"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  const ToolRun run = runTool(setup_.systemctl, all, setup_.environment, kToolSeconds);
  if (run.succeeded()) return ok();
  std::string command = "systemctl";
  for (const auto& argument : all) command += " " + argument;
  return fail(Error{command + " did not succeed" + (run.timedOut ? " in 15 seconds." : "."), 0});
}

bool LaunchAgents::unitEnabled(const AgentJob& job) const {
  if (setup_.systemctl.empty()) return false;
  const ToolRun run = runTool(setup_.systemctl, {"--user", "is-enabled", timerName(job)}, setup_.environment,
                              kToolSeconds);
  return trimmed(run.output) == "enabled";
}

// The user's crontab; empty when there is none yet, none when it cannot be read
// (then it must not be written either, or the user's own entries would go).
std::optional<std::string> LaunchAgents::crontabText() const {
  // Through the shell so that "no crontab for USER" on standard error can be told apart.
  const ToolRun run = runTool("/bin/sh", {"-c", "exec \"$0\" -l 2>&1", setup_.crontab}, setup_.environment,
                              kToolSeconds);
  if (run.succeeded()) return run.output;
  if (run.status && run.output.find("no crontab for") != std::string::npos) return std::string();
  return std::nullopt;
}

Status LaunchAgents::writeCrontab(const std::string& text) const {
  std::string path = (std::filesystem::temp_directory_path() / "tallyfin-crontab-XXXXXX").string();
  const int fd = ::mkstemp(path.data());
  if (fd < 0) return fail(Error{"Could not make a temporary file for the new crontab.", errno});
  ::close(fd);
  Status written = AtomicFile::write(text, path, 0600);
  if (written) {
    const ToolRun run = runTool(setup_.crontab, {path}, setup_.environment, kToolSeconds);
    if (!run.succeeded()) written = fail(Error{"crontab did not take the new table.", 0});
  }
  ::unlink(path.c_str());
  return written;
}

AgentStatus LaunchAgents::status(const AgentJob& job) const {
  if (unitEnabled(job)) return AgentStatus::enabled;
  if (!setup_.crontab.empty()) {
    const auto table = crontabText();
    if (table && table->find(beginMarker(job)) != std::string::npos) return AgentStatus::enabled;
  }
  return std::filesystem::exists(setup_.unitFolder + "/" + timerName(job)) ? AgentStatus::notRegistered
                                                                           : AgentStatus::notFound;
}

Status LaunchAgents::registerAgent(const AgentJob& job) const {
  const bool useCron = !setup_.managerRunning && setup_.cronRunning && !setup_.crontab.empty();
  if (setup_.systemctl.empty() && !useCron) {
    return fail(Error{"Neither systemd nor a running cron daemon is here to start scheduled scans.", 0});
  }
  if (!setup_.systemctl.empty()) {
    std::error_code ignored;
    std::filesystem::create_directories(setup_.unitFolder, ignored);
    const std::string base = setup_.unitFolder + "/" + job.label;
    if (auto saved = AtomicFile::write(serviceUnit(setup_.executable), base + ".service", 0644); !saved) return saved;
    if (auto saved = AtomicFile::write(timerUnit(job), base + ".timer", 0644); !saved) return saved;
    if (auto enabled = systemctl({"enable", timerName(job)}); !enabled) return enabled;
    if (setup_.managerRunning) {
      if (auto reloaded = systemctl({"daemon-reload"}); !reloaded) return reloaded;
      if (auto started = systemctl({"start", timerName(job)}); !started) return started;
    }
  }
  if (useCron) {
    const auto table = crontabText();
    if (!table) return fail(Error{"Could not read your crontab, so it was left as it is.", 0});
    return writeCrontab(withoutBlock(*table, job) + cronEntry(job, setup_.executable));
  }
  return ok();
}

Status LaunchAgents::unregisterAgent(const AgentJob& job) const {
  const std::string base = setup_.unitFolder + "/" + job.label;
  if (!setup_.systemctl.empty() && std::filesystem::exists(base + ".timer")) {
    if (setup_.managerRunning) (void)systemctl({"stop", timerName(job)});
    if (auto disabled = systemctl({"disable", timerName(job)}); !disabled) return disabled;
  }
  std::error_code ignored;
  std::filesystem::remove(base + ".timer", ignored);
  std::filesystem::remove(base + ".service", ignored);
  if (setup_.managerRunning) (void)systemctl({"daemon-reload"});
  if (!setup_.crontab.empty()) {
    const auto table = crontabText();
    if (table && table->find(beginMarker(job)) != std::string::npos) return writeCrontab(withoutBlock(*table, job));
  }
  return ok();
}

std::optional<std::string> LaunchAgents::whyNothingStarts() const {
  if (setup_.managerRunning || (setup_.cronRunning && !setup_.crontab.empty())) return std::nullopt;
  return std::string(
      "No user service manager (systemctl --user) and no cron daemon run here, so nothing would start the "
      "scheduled scan.");
}

}  // namespace tallyfin::platform
