// The tallyfin executable, run as a process on fixture folders with its data
// folder in the test's temp folder.

#include <sys/stat.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <regex>

#include "kit/scan/scan_lock.h"
#include "kit/store/store.h"
#include "tests/support/app_bundle.h"
#include "tests/support/file_content.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::TempFolder;

// Every file of a folder with its bytes and modification time, to prove nothing changed.
std::map<std::string, std::pair<std::string, int64_t>> contentsOf(const std::string& folder) {
  std::map<std::string, std::pair<std::string, int64_t>> files;
  if (!std::filesystem::exists(folder)) return files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::ifstream in(entry.path(), std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    struct stat info;
    ::lstat(entry.path().c_str(), &info);
    files[entry.path().filename()] = {bytes, info.st_mtim.tv_sec * 1'000'000'000LL +
                                                 info.st_mtim.tv_nsec};
  }
  return files;
}

class TallyfinCli : public ::testing::Test {
 protected:
  void SetUp() override {
    // ~/.npm keeps only children of 10 MiB and more, as on a real disk.
    testing::allocateFile(home / ".npm/_cacache/content/blob", 12 << 20);
    testing::writeFile(home / "code/app/package.json", 20);
    testing::allocateFile(home / "code/app/node_modules/lib/index.js", 2 << 20);
    testing::allocateFile(home / "Documents/report.pdf", 12 << 20);
    testing::makeFolder(dataDir());
  }

  std::string dataDir() const { return temp / "data"; }

  testing::ProcessResult tallyfin(std::vector<std::string> arguments) const {
    return testing::runProcess(TALLYFIN_BINARY, std::move(arguments),
                               {"HOME=" + home.path(), "PATH=/usr/bin:/bin"});
  }

  testing::ProcessResult scanHome(std::vector<std::string> more = {}) const {
    std::vector<std::string> arguments = {"--store", dataDir(), "--root", home.path()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return tallyfin(arguments);
  }

  TempFolder home;
  TempFolder temp;
};

TEST_F(TallyfinCli, ScansAFolderAndPrintsASummary) {
  const auto result = scanHome();
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.err, "");  // no progress when standard error is not a terminal
  EXPECT_NE(result.out.find("npm cache"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("$ npm cache clean --force"), std::string::npos);
  EXPECT_NE(result.out.find("~/code/app/node_modules"), std::string::npos);
  for (const char* file : {"report.json", "snapshot.json", "history.json", "folder-history.json",
                           "timings.json"}) {
    EXPECT_TRUE(std::filesystem::exists(dataDir() + "/" + file)) << file;
  }
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), 80u + 8u) << line;  // 80 columns, a few multi-byte characters
  }
  // The next step reads the same data folder.
  EXPECT_NE(result.out.find("\nNext: tallyfin --no-scan --top 2 --store " + dataDir() + "\n"), std::string::npos)
      << result.out;
}

TEST_F(TallyfinCli, JsonSummaryHasTheStatusKeysAndTopEntries) {
  const auto result = scanHome({"--json", "--top", "1"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
  for (const char* key : {"scanned_at", "scan_age_hours", "disk", "safe_to_clean_bytes",
                          "worth_reviewing_bytes", "full_disk_access", "biggest_areas",
                          "suggestions", "biggest_folders"}) {
    EXPECT_TRUE(json.contains(key)) << key;
  }
  for (const char* key : {"total", "used", "free", "purgeable", "percent_used", "health"}) {
    EXPECT_TRUE(json["disk"].contains(key)) << key;
  }
  ASSERT_EQ(json["suggestions"].size(), 1u);
  const auto& item = json["suggestions"][0];
  EXPECT_EQ(item["path"], home / ".npm/_cacache");
  EXPECT_EQ(item["safety"], "safe");
  EXPECT_EQ(item["command"], "npm cache clean --force");
  EXPECT_TRUE(item["size"].is_number_integer());
  EXPECT_GE(json["safe_to_clean_bytes"].get<int64_t>(), 14 << 20);

  const auto saved = tallyfin({"--store", dataDir(), "--no-scan", "--json", "--top", "1"});
  ASSERT_EQ(saved.exitCode, 0) << saved.err;
  auto again = nlohmann::json::parse(saved.out);
  again.erase("scan_age_hours");
  auto first = json;
  first.erase("scan_age_hours");
  EXPECT_EQ(again, first);
}

TEST_F(TallyfinCli, NoSavedScanExitsThreeWithNothingOnStandardOutput) {
  const auto result = tallyfin({"--store", dataDir(), "--no-scan", "--json"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("tallyfin: no saved scan in " + dataDir()), std::string::npos);
}

TEST_F(TallyfinCli, BadArgumentsExitSixtyFourWithAUsageLine) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"--frobnicate"}, {"--top"}, {"--top", "many"}, {"--top", "-1"}, {"--store"},
           {"connect", "notepad"}, {"--no-scan", "--root", "/tmp"}, {"mcp", "--json"},
           {"schedule", "hourly"}, {"autopilot", "7"}, {"--root", ""}, {"--store", ""}, {"--json", "mcp"}}) {
    const auto result = tallyfin(arguments);
    EXPECT_EQ(result.exitCode, 64) << arguments[0];
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("usage: tallyfin"), std::string::npos);
  }
  const auto file = scanHome({"--root", home / "Documents/report.pdf"});
  EXPECT_EQ(file.exitCode, 64);
  EXPECT_EQ(file.err, "tallyfin: " + home / "Documents/report.pdf" +
                          " is not a folder — give --root a folder to scan.\n");
  EXPECT_FALSE(std::filesystem::exists(dataDir() + "/report.json"));

  const auto help = tallyfin({"--help"});
  EXPECT_EQ(help.exitCode, 0);
  // The app quotes these lines; the help may wrap them, never change them.
  const std::string words = std::regex_replace(help.out, std::regex("\\s+"), " ");
  for (const char* contract :
       {"Scan and update the app's saved report", "Scan into another folder (benchmarks, experiments)",
        "Scan now and print JSON \u2014 handy in scripts and CI",
        "Instant JSON summary of the last scan (disk, health, safe/review totals, suggestions, biggest folders)"}) {
    EXPECT_NE(words.find(contract), std::string::npos) << contract << " missing from\n" << help.out;
  }
  std::istringstream lines(help.out);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), 80u + 4u) << line;  // 80 columns, a dash or two of three bytes
  }
}

TEST_F(TallyfinCli, VersionAndEachCommandsHelpExitZeroOnStandardOutput) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{{"--version"}, {"history", "--version"}}) {
    const auto version = tallyfin(arguments);
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out, "tallyfin " TALLYFIN_VERSION "\n");
    EXPECT_TRUE(std::regex_match(version.out, std::regex("tallyfin 0\\.[0-9]+\\.[0-9]+\n")));
  }
  for (const char* command : {"history", "trash", "undo", "keep", "mcp", "connect", "schedule", "--duplicates"}) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{{command, "--help"}, {"--help", command}}) {
      const auto help = tallyfin(arguments);
      EXPECT_EQ(help.exitCode, 0) << command;
      EXPECT_EQ(help.err, "");
      EXPECT_EQ(help.out.rfind("tallyfin " + std::string(command) + " \u2014 ", 0), 0u) << help.out;
      EXPECT_NE(help.out.find("\nUsage: tallyfin " + std::string(command)), std::string::npos) << help.out;
    }
  }
  // A global option before the command, as with git.
  const auto mcpHelp = tallyfin({"--store", dataDir(), "mcp", "--help"});
  EXPECT_EQ(mcpHelp.exitCode, 0) << mcpHelp.err;
}

TEST_F(TallyfinCli, DuplicatesOfTheScansBigFilesKeepTheOldestCopy) {
  for (const auto& [name, time] : std::vector<std::pair<std::string, int64_t>>{
           {"Movies/take-2.mov", 1'700'000'000}, {"Backup/take.mov", 1'600'000'000}}) {
    testing::allocateFile(home / name, 110 << 20);
    testing::setModified(home / name, time);
  }
  const auto none = tallyfin({"--store", dataDir(), "--duplicates", "--json"});
  EXPECT_EQ(none.exitCode, 3);
  EXPECT_EQ(none.out, "");

  ASSERT_EQ(scanHome().exitCode, 0);
  const auto result = tallyfin({"--store", dataDir(), "--duplicates", "--json"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["min_size_mb"], 100);
  EXPECT_FALSE(json.contains("folder"));
  ASSERT_EQ(json["groups"].size(), 1u);
  const auto& files = json["groups"][0]["files"];
  ASSERT_EQ(files.size(), 2u);
  EXPECT_EQ(files[0]["path"], home / "Backup/take.mov");
  EXPECT_EQ(files[0]["keep"], true);
  EXPECT_EQ(files[0]["modified"], "2020-09-13T12:26:40Z");
  EXPECT_EQ(files[1]["keep"], false);
  EXPECT_EQ(json["reclaimable_bytes"], files[1]["private_size"]);

  struct stat info;
  ASSERT_EQ(::stat((dataDir() + "/duplicate-hashes.plist").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST_F(TallyfinCli, DuplicatesInAFolderAboveASizeFloor) {
  testing::patternFile(home / "Downloads/a.zip", 3 << 20, 1);
  testing::patternFile(home / "Downloads/old/a (1).zip", 3 << 20, 1);
  testing::patternFile(home / "Downloads/b.zip", 500'000, 2);
  testing::patternFile(home / "Downloads/b copy.zip", 500'000, 2);
  const auto big = tallyfin({"--store", dataDir(), "--duplicates", "~/Downloads"});
  ASSERT_EQ(big.exitCode, 0) << big.err;
  EXPECT_NE(big.out.find("1 set of identical files in ~/Downloads"), std::string::npos) << big.out;
  EXPECT_NE(big.out.find("  keep  ~/Downloads/"), std::string::npos) << big.out;
  EXPECT_EQ(big.out.find("b.zip"), std::string::npos);

  const auto all = tallyfin({"--store", dataDir(), "--duplicates", home / "Downloads", "--min-size", "0.4",
                             "--json", "--full"});
  ASSERT_EQ(all.exitCode, 0) << all.err;
  const auto json = nlohmann::json::parse(all.out);
  EXPECT_EQ(json["folder"], home / "Downloads");
  EXPECT_EQ(json["group_count"], 2);
  EXPECT_TRUE(json["groups"][0]["verified"].get<bool>());

  for (const auto& [folder, reason] : std::vector<std::pair<std::string, std::string>>{
           {home / "nowhere", " does not exist"}, {home / "Downloads/a.zip", " is not a folder"}}) {
    const auto bad = tallyfin({"--store", dataDir(), "--duplicates", folder});
    EXPECT_EQ(bad.exitCode, 64);
    EXPECT_EQ(bad.out, "");
    EXPECT_EQ(bad.err, "tallyfin: " + folder + reason + " — give --duplicates a folder to search.\n");
  }
}

TEST_F(TallyfinCli, SystemDataExplainsTheSavedScan) {
  const auto none = tallyfin({"--store", dataDir(), "--system-data"});
  EXPECT_EQ(none.exitCode, 3);
  EXPECT_EQ(none.out, "");
  ASSERT_EQ(scanHome().exitCode, 0);
  const auto result = tallyfin({"--store", dataDir(), "--system-data", "--json"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
  ASSERT_TRUE(json["parts"].is_array());
  std::vector<std::string> titles;
  for (const auto& part : json["parts"]) titles.push_back(part["title"]);
  EXPECT_NE(std::find(titles.begin(), titles.end(), "Package caches"), titles.end());
  const auto text = tallyfin({"--store", dataDir(), "--system-data"});
  EXPECT_NE(text.out.find("$ sudo apt-get clean"), std::string::npos) << text.out;
}

TEST_F(TallyfinCli, AppsListsBundlesInTheHomesApplicationsAndWhatRemovedAppsLeft) {
  testing::writeInfoPlist(home / "Applications/Foo.app", {{"CFBundleIdentifier", "org.example.foo"},
                                                          {"CFBundleShortVersionString", "1.0"}});
  testing::writeFile(home / "Library/Caches/com.gone.tool/a", 10);
  testing::setModified(home / "Library/Caches/com.gone.tool/a", 1'600'000'000);
  testing::setModified(home / "Library/Caches/com.gone.tool", 1'600'000'000);
  const auto result = tallyfin({"--apps", "--json"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto json = nlohmann::json::parse(result.out);
  ASSERT_EQ(json["apps"].size(), 1u) << result.out;
  EXPECT_EQ(json["apps"][0]["bundle_id"], "org.example.foo");
  EXPECT_EQ(json["apps"][0]["version"], "1.0");
  EXPECT_TRUE(json["apps"][0]["not_removable"].is_null());
  ASSERT_EQ(json["leftovers_of_removed_apps"].size(), 1u);
  EXPECT_EQ(json["leftovers_of_removed_apps"][0]["name_guess"], "Tool");
  EXPECT_EQ(json["leftovers_of_removed_apps"][0]["last_changed"], "2020-09-13T12:26:40Z");
  EXPECT_EQ(json["leftovers_of_removed_apps"][0]["items"][0]["kind"], "Caches");

  const auto text = tallyfin({"--apps"});
  EXPECT_NE(text.out.find("Foo 1.0"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("~/Library/Caches/com.gone.tool"), std::string::npos) << text.out;
  EXPECT_EQ(tallyfin({"--apps", "--root", home.path()}).exitCode, 64);
}

TEST_F(TallyfinCli, ConnectsAnAssistantWithThisBinaryAndListsWhatIsConnected) {
  const auto connected = tallyfin({"connect", "cursor"});
  ASSERT_EQ(connected.exitCode, 0) << connected.err;
  const auto config = nlohmann::json::parse(std::ifstream(home / ".cursor/mcp.json"));
  EXPECT_EQ(config["mcpServers"]["tallyfin"]["command"], std::filesystem::canonical(TALLYFIN_BINARY).string());
  const auto clients = tallyfin({"clients"});
  EXPECT_NE(clients.out.find("cursor               yes        yes"), std::string::npos) << clients.out;
  EXPECT_EQ(tallyfin({"disconnect", "cursor"}).exitCode, 0);
  EXPECT_NE(tallyfin({"clients"}).out.find("cursor               yes        no"), std::string::npos);
  EXPECT_NE(tallyfin({"agent-guide"}).out.find(" mcp` (stdio)"), std::string::npos);
}

// Only reading the schedule here: setting one would reach this machine's real
// crontab wherever a cron daemon runs.
TEST_F(TallyfinCli, AutopilotIsSetInThePreferencesAndTheScheduleShown) {
  const auto on = tallyfin({"autopilot", "21"});
  EXPECT_EQ(on.exitCode, 0) << on.err;
  EXPECT_EQ(on.out, "Autopilot: on — after each scheduled scan, Safe items unused for 21 days go to the Trash "
                    "(one batch, undoable)\n");
  EXPECT_NE(on.err.find("tallyfin schedule weekly"), std::string::npos);  // nothing would run it yet
  std::ifstream file(home / ".config/Tallyfin/preferences.json");
  const auto preferences = nlohmann::json::parse(file);
  EXPECT_EQ(preferences["autopilot"], (nlohmann::json{{"enabled", true}, {"minAgeDays", 21}}));
  EXPECT_EQ(preferences["migrated.mossLedger"], true);

  const auto off = tallyfin({"autopilot", "off", "--json"});
  EXPECT_EQ(off.exitCode, 0);
  EXPECT_EQ(nlohmann::json::parse(off.out), (nlohmann::json{{"enabled", false}, {"min_age_days", 21}}));

  const auto schedule = tallyfin({"schedule", "--json"});
  EXPECT_EQ(schedule.exitCode, 0) << schedule.err;
  const auto state = nlohmann::json::parse(schedule.out);
  EXPECT_EQ(state["schedule"], "off");
  EXPECT_EQ(state["label"], "Off");
  EXPECT_EQ(state["state"], "off");
}

TEST_F(TallyfinCli, ASecondScanExitsTwoAtOnceAndTouchesNothing) {
  ASSERT_EQ(scanHome().exitCode, 0);
  const auto before = contentsOf(dataDir());
  const Store store(dataDir());
  auto held = ScanLock::acquire(store);
  ASSERT_TRUE(held.ok());
  const auto result = scanHome({"--json"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "tallyfin: A scan is already running (the app or a scheduled scan). Try again in a "
            "minute.\n");
  EXPECT_EQ(contentsOf(dataDir()), before);
}

TEST_F(TallyfinCli, EachUnusableDataFolderSaysWhatItIs) {
  testing::makeFolder(temp / "real");
  testing::symbolicLink(temp / "real", temp / "linked");
  const auto linked = tallyfin({"--store", temp / "linked", "--root", home.path()});
  EXPECT_EQ(linked.exitCode, 1);
  EXPECT_EQ(linked.err, "tallyfin: The Tallyfin data folder " + temp / "linked" +
                            " is a symbolic link — Tallyfin keeps its records only in a real folder. Replace "
                            "the link with a folder, or give --store one.\n");
  EXPECT_TRUE(std::filesystem::is_empty(temp / "real"));

  testing::writeFile(temp / "a-file", 3);
  const auto file = tallyfin({"--store", temp / "a-file", "--root", home.path()});
  EXPECT_EQ(file.exitCode, 1);
  EXPECT_EQ(file.err, "tallyfin: " + temp / "a-file" +
                          " is a file, not a folder — give --store a folder for Tallyfin's data.\n");
  const auto inside = tallyfin({"--store", temp / "a-file/data", "--root", home.path()});
  EXPECT_EQ(inside.exitCode, 1);
  EXPECT_EQ(inside.err, "tallyfin: Can't create the Tallyfin data folder " + temp / "a-file/data" +
                            ": Not a directory — give --store a folder you can write to.\n");

  if (::geteuid() == 0) {
    testing::makeFolder(temp / "theirs");
    ASSERT_EQ(::chown((temp / "theirs").c_str(), 65534, 65534), 0);
    const auto theirs = tallyfin({"--store", temp / "theirs", "--root", home.path()});
    EXPECT_EQ(theirs.exitCode, 1);
    EXPECT_EQ(theirs.err, "tallyfin: The Tallyfin data folder isn't owned by you: " + temp / "theirs" +
                              " — give --store a folder of your own.\n");
  }
}

TEST_F(TallyfinCli, ASavedScanThatIsDamagedOrAFolderSaysSo) {
  testing::writeText(dataDir() + "/report.json", R"({"version":1,"date":)");
  const auto damaged = tallyfin({"--store", dataDir(), "--no-scan"});
  EXPECT_EQ(damaged.exitCode, 3);
  EXPECT_EQ(damaged.out, "");
  EXPECT_EQ(damaged.err, "tallyfin: The saved scan " + dataDir() +
                             "/report.json is damaged and can't be read — run tallyfin without --no-scan to "
                             "make one.\n");
  std::filesystem::remove(dataDir() + "/report.json");
  testing::makeFolder(dataDir() + "/report.json/inside");
  const auto folder = tallyfin({"--store", dataDir(), "--no-scan"});
  EXPECT_EQ(folder.exitCode, 3);
  EXPECT_EQ(folder.err, "tallyfin: " + dataDir() +
                            "/report.json is a folder, not a saved scan — remove it, then scan again.\n");
  const auto system = tallyfin({"--store", dataDir(), "--system-data"});
  EXPECT_EQ(system.exitCode, 3);
  EXPECT_EQ(system.err, folder.err);
}

TEST_F(TallyfinCli, NamesFromTheDiskCannotSteerTheTerminal) {
  // A project whose folder name retitles the window, rings the bell and breaks the line.
  const std::string evil = "code/evil\x1b]0;pwned\x07\nline";
  testing::writeFile(home / (evil + "/package.json"), 20);
  testing::allocateFile(home / (evil + "/node_modules/lib/index.js"), 2 << 20);
  const auto text = scanHome();
  ASSERT_EQ(text.exitCode, 0) << text.err;
  EXPECT_EQ(text.out.find('\x1b'), std::string::npos);
  EXPECT_EQ(text.out.find('\x07'), std::string::npos);
  EXPECT_NE(text.out.find("~/code/evil\\e]0;pwned?\\nline/node_modules"), std::string::npos) << text.out;

  const auto json = scanHome({"--json"});
  ASSERT_EQ(json.exitCode, 0) << json.err;
  const auto summary = nlohmann::json::parse(json.out);
  bool exact = false;
  for (const auto& item : summary["suggestions"]) exact = exact || item["path"] == home / (evil + "/node_modules");
  EXPECT_TRUE(exact) << json.out;

  // Messages too: a --root that does not exist is named, escaped.
  const auto missing = tallyfin({"--store", dataDir(), "--root", home / "gone\x1b[2J"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_EQ(missing.err.find('\x1b'), std::string::npos);
  EXPECT_NE(missing.err.find(home / "gone\\e[2J"), std::string::npos) << missing.err;
}

TEST_F(TallyfinCli, AHistoryThatCannotBeReadIsKeptAsideAndTheScanSaysSo) {
  testing::writeText(dataDir() + "/history.json", R"([{"date":1700000000,"used":)");
  const auto result = scanHome();
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_NE(result.err.find("tallyfin: Earlier records in history.json couldn't be read; the damaged file is kept as " +
                            dataDir() + "/history.json.corrupt-"),
            std::string::npos)
      << result.err;
  const auto history = nlohmann::json::parse(testing::readText(dataDir() + "/history.json"));
  EXPECT_EQ(history.size(), 1u);
}

// The scan runs as an ordinary user, who can't read everything (as root one can).
class TallyfinCliUnprivileged : public TallyfinCli {
 protected:
  void SetUp() override {
    TallyfinCli::SetUp();
    testing::openToEveryone(home.path());
    testing::openToEveryone(temp.path());
    testing::makeFolder(temp / "shared");
    testing::setMode(temp / "shared", 0777);
  }

  // Runs tallyfin as that user and hands its result to `check`, which returns 0 when content.
  int asUser(std::vector<std::string> arguments,
             const std::function<int(const testing::ProcessResult&)>& check) const {
    arguments.insert(arguments.begin(), {"--store", temp / "shared/data"});
    return testing::runUnprivileged([&] { return check(tallyfin(arguments)); });
  }
};

TEST_F(TallyfinCliUnprivileged, AnUnreadableRootFailsWithItsPathAndReason) {
  testing::makeFolder(home / "locked/inside");
  testing::setMode(home / "locked", 0);
  const int status = asUser({"--root", home / "locked"}, [&](const testing::ProcessResult& result) {
    if (result.exitCode != 1) return 10 + result.exitCode;
    if (!result.out.empty()) return 2;
    return result.err == "tallyfin: Could not read the folder " + home / "locked" +
                             ": Permission denied. Check its permissions, or skip it.\n"
               ? 0
               : 3;
  });
  EXPECT_EQ(status, 0);
  EXPECT_FALSE(testing::pathExists(temp / "shared/data/report.json"));
}

TEST_F(TallyfinCliUnprivileged, UnreadableFoldersAreNamedInTextAndJson) {
  for (const char* name : {"a-locked", "b-locked", "c-locked", "d-locked", "e-locked"}) {
    testing::makeFolder(home / name);
    testing::setMode(home / name, 0);
  }
  const int text = asUser({"--root", home.path()}, [&](const testing::ProcessResult& result) {
    if (result.exitCode != 0) return 1;
    const std::string expected = "5 folders could not be read:\n  ~/a-locked\n  ~/b-locked\n  ~/c-locked\n  and 2 more\n";
    return result.out.find(expected) != std::string::npos ? 0 : 2;
  });
  EXPECT_EQ(text, 0);
  const int json = asUser({"--root", home.path(), "--json"}, [&](const testing::ProcessResult& result) {
    if (result.exitCode != 0) return 1;
    const auto unreadable = nlohmann::json::parse(result.out)["unreadable"];
    if (unreadable["count"] != 5) return 2;
    return unreadable["paths"] == nlohmann::json::array({home / "a-locked", home / "b-locked", home / "c-locked",
                                                         home / "d-locked", home / "e-locked"})
               ? 0
               : 3;
  });
  EXPECT_EQ(json, 0);
}

TEST_F(TallyfinCli, AFailedScanLeavesEveryFileAsItWas) {
  ASSERT_EQ(scanHome().exitCode, 0);
  const auto before = contentsOf(dataDir());
  const auto result = tallyfin({"--store", dataDir(), "--root", home / "gone"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.err.find(home / "gone"), std::string::npos) << result.err;
  EXPECT_EQ(contentsOf(dataDir()), before);
}

TEST_F(TallyfinCli, TimingsOfOneScanSplitTheNext) {
  for (int i = 0; i < 5; ++i) testing::writeFile(home / ("code/app/src/m" + std::to_string(i) + "/f"), 1);
  ASSERT_EQ(scanHome().exitCode, 0);
  const Store store(dataDir());
  const auto first = store.loadJson(Store::File::report);
  ASSERT_TRUE(first.has_value());
  ASSERT_TRUE(store.saveJson({{home / "code/app", 3.0}, {home / "code/app/src", 2.5}},
                             Store::File::timings)
                  .ok());
  ASSERT_EQ(scanHome().exitCode, 0);
  const auto second = store.loadJson(Store::File::report);
  // code/app stops being one task: its node_modules and src's five folders become tasks.
  EXPECT_EQ((*second)["taskCount"].get<int>(), (*first)["taskCount"].get<int>() - 1 + 1 + 5);
  // Both splits were slower than two seconds, so their timings carry over.
  const auto timings = store.loadJson(Store::File::timings);
  EXPECT_EQ((*timings)[home / "code/app"], 3.0);
  EXPECT_EQ((*timings)[home / "code/app/src"], 2.5);
}

}  // namespace
}  // namespace tallyfin
