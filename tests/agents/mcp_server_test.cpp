// The MCP server on a home folder in a temp folder: its own scans, its own
// Trash, its own data folder.

#include "kit/agents/mcp_server.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>

#include "kit/agents/mcp_tools.h"
#include "kit/cleanup/keep_list.h"
#include "tests/support/app_bundle.h"
#include "tests/support/file_content.h"
#include "tests/trash/trash_fixture.h"

namespace tallyfin {
namespace {

using nlohmann::json;
using testing::TempHome;

class Mcp : public ::testing::Test {
 protected:
  Mcp() : server(settings()) {
    testing::allocateFile(home / ".npm/_cacache/content/blob", 12 << 20);
    testing::writeFile(home / "code/app/package.json", 20);
    testing::allocateFile(home / "code/app/node_modules/lib/index.js", 2 << 20);
    testing::allocateFile(home / "Documents/report.pdf", 12 << 20);
  }

  McpSettings settings() const {
    return {home.store(), home.path(), "9.9", home.path(), {home / "Applications"}, std::nullopt,
            systemTrasher(home.path()), nullptr};
  }

  json request(const std::string& method, const json& params = json::object(), const json& id = 1) {
    const auto answer = server.handle(json({{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", params}}).dump());
    EXPECT_TRUE(answer.has_value());
    return answer ? json::parse(*answer) : json();
  }

  // The structured result of a tool that must succeed.
  json tool(const std::string& name, const json& arguments = json::object()) {
    const json result = server.call(name, arguments);
    EXPECT_FALSE(result["isError"].get<bool>()) << result["content"][0]["text"];
    return result.value("structuredContent", json());
  }

  // The message of a tool that must fail.
  std::string failure(const std::string& name, const json& arguments = json::object()) {
    const json result = server.call(name, arguments);
    EXPECT_TRUE(result["isError"].get<bool>()) << result.dump();
    return result["content"][0]["text"].get<std::string>();
  }

  void scan() { tool("scan_disk"); }

  void addSuggestion(const CleanupItem& item) {
    auto report = loadReport(home.store());
    ASSERT_TRUE(report.has_value());
    report->items.push_back(item);
    ASSERT_TRUE(home.store().saveText(encodeReport(*report), Store::File::report));
  }

  TempHome home;
  MCPServer server;
};

TEST_F(Mcp, NotificationsAndBrokenLinesFollowTheWireRules) {
  EXPECT_EQ(server.handle(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"), std::nullopt);
  EXPECT_EQ(server.handle(R"({"jsonrpc":"2.0","method":"tools/list"})"), std::nullopt);
  EXPECT_EQ(server.handle("{not json"), R"({"error":{"code":-32700,"message":"Parse error"},"id":null,"jsonrpc":"2.0"})");
  const json missing = request("resources/list", json::object(), json({{"any", "id"}}));
  EXPECT_EQ(missing["id"], json({{"any", "id"}}));
  EXPECT_EQ(missing["error"]["code"], -32601);
  EXPECT_EQ(missing["error"]["message"], "Method not found: resources/list");
  EXPECT_EQ(request("ping")["result"], json::object());
}

TEST_F(Mcp, InvalidRequestsGetAnAnswerSoTheClientNeverWaits) {
  // With an id but no string method, the client waits for this id: it gets -32600.
  EXPECT_EQ(server.handle(R"({"jsonrpc":"2.0","id":4})"),
            R"({"error":{"code":-32600,"message":"Invalid Request"},"id":4,"jsonrpc":"2.0"})");
  EXPECT_EQ(server.handle(R"({"jsonrpc":"2.0","id":"x","method":7})"),
            R"({"error":{"code":-32600,"message":"Invalid Request"},"id":"x","jsonrpc":"2.0"})");
  EXPECT_EQ(server.handle(R"({"jsonrpc":"2.0","id":null,"method":["ping"]})"),
            R"({"error":{"code":-32600,"message":"Invalid Request"},"id":null,"jsonrpc":"2.0"})");
  // A batch is well-formed JSON but no request of this protocol.
  for (const char* batch : {"[1,2]", R"([{"jsonrpc":"2.0","id":1,"method":"ping"}])", "[]", "7", "\"ping\""}) {
    EXPECT_EQ(server.handle(batch), R"({"error":{"code":-32600,"message":"Invalid Request"},"id":null,"jsonrpc":"2.0"})")
        << batch;
  }
}

TEST_F(Mcp, NumericIdsGoBackExactlyAsTheyCame) {
  for (const std::string id : {"0", "-9007199254740993", "18446744073709551615", "18446744073709551616",
                               "123456789012345678901234567890", "-99999999999999999999", "1.50", "2e3"}) {
    const auto answer = server.handle(R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":"ping"})");
    EXPECT_EQ(answer, R"({"id":)" + id + R"(,"jsonrpc":"2.0","result":{}})");
    const auto error = server.handle(R"({"id":)" + id + R"(,"method":"nope","jsonrpc":"2.0"})");
    EXPECT_EQ(error, R"({"error":{"code":-32601,"message":"Method not found: nope"},"id":)" + id +
                         R"(,"jsonrpc":"2.0"})");
  }
  // Only the request's own id counts, not a number called id deeper inside.
  EXPECT_EQ(server.handle(R"({"params":{"id":1.5e300},"id":7E+300,"method":"ping"})"),
            R"({"id":7E+300,"jsonrpc":"2.0","result":{}})");
}

TEST_F(Mcp, InitializeEchoesAStringVersionAndIntroducesItself) {
  EXPECT_EQ(request("initialize", {{"protocolVersion", "1999-01-01"}})["result"]["protocolVersion"], "1999-01-01");
  EXPECT_EQ(request("initialize", {{"protocolVersion", 3}})["result"]["protocolVersion"], "2025-06-18");
  const json result = request("initialize")["result"];
  EXPECT_EQ(result["protocolVersion"], "2025-06-18");
  EXPECT_EQ(result["serverInfo"], json({{"name", "tallyfin"}, {"title", "Tallyfin"}, {"version", "9.9"}}));
  EXPECT_EQ(result["capabilities"], json({{"tools", {{"listChanged", false}}}}));
  EXPECT_TRUE(result["instructions"].get<std::string>().starts_with("Tallyfin maps this computer's disk"));
}

TEST_F(Mcp, ListsTheFifteenToolsInOrderWithStrictSchemas) {
  const json tools = request("tools/list")["result"]["tools"];
  ASSERT_EQ(tools.size(), 15u);
  EXPECT_EQ(tools[0]["name"], "disk_status");
  EXPECT_EQ(tools[11]["name"], "move_to_trash");
  EXPECT_EQ(tools[14]["name"], "undo_trash");
  for (const auto& tool : tools) {
    EXPECT_EQ(tool["inputSchema"]["additionalProperties"], false) << tool["name"];
    EXPECT_EQ(tool["annotations"]["idempotentHint"], tool["annotations"]["readOnlyHint"]) << tool["name"];
  }
  EXPECT_EQ(tools[11]["inputSchema"]["required"], json::array({"paths"}));
  EXPECT_EQ(tools[11]["annotations"]["destructiveHint"], true);
  EXPECT_EQ(tools[2]["inputSchema"]["properties"]["limit"]["default"], 25);
  EXPECT_EQ(tools[1]["annotations"]["readOnlyHint"], false);
}

TEST_F(Mcp, ToolErrorsAreResultsAndTheTextIsSortedJson) {
  EXPECT_EQ(failure("disk_status"), "No scan yet. Call scan_disk first (takes 15\u201360 s).");
  EXPECT_EQ(failure("no_such_tool"), "Unknown tool no_such_tool");
  scan();
  const json call = request("tools/call", {{"name", "disk_status"}})["result"];
  EXPECT_EQ(call["isError"], false);
  const std::string text = call["content"][0]["text"];
  EXPECT_EQ(json::parse(text), call["structuredContent"]);
  EXPECT_LT(text.find("\"biggest_areas\""), text.find("\"disk\""));
  EXPECT_EQ(failure("list_cleanup_suggestions", {{"limit", 0}}), "limit must be a whole number from 1 to 200");
  EXPECT_EQ(failure("disk_status", {{"extra", 1}}), "Unknown argument extra");
}

TEST_F(Mcp, ADamagedOrMisplacedReportSaysWhatItIs) {
  const std::string report = home.store().url(Store::File::report);
  testing::writeText(report, R"({"version":1,"home":)");
  EXPECT_EQ(failure("disk_status"), "The saved scan " + report + " is damaged and can't be read. Call scan_disk to replace it.");
  std::filesystem::remove(report);
  testing::makeFolder(report);
  EXPECT_EQ(failure("list_cleanup_suggestions"),
            report + " is a folder, not a saved scan \u2014 remove it, then scan again.");
}

TEST_F(Mcp, AReportReplacedBetweenCallsIsReadAgain) {
  scan();
  const int64_t first = tool("disk_status")["scanned_at"];
  auto report = loadReport(home.store());
  report->date = 1'234'567'890;
  ASSERT_TRUE(home.store().saveText(encodeReport(*report), Store::File::report));
  EXPECT_EQ(tool("disk_status")["scanned_at"], 1'234'567'890);
  EXPECT_NE(first, 1'234'567'890);

  report->home = "/home/somebody-else";
  ASSERT_TRUE(home.store().saveText(encodeReport(*report), Store::File::report));
  EXPECT_EQ(failure("disk_status"), "The saved scan belongs to another home folder. Call scan_disk.");
}

TEST_F(Mcp, BrowsesTheSavedTreeAndTheSuggestions) {
  scan();
  const json folders = tool("biggest_folders", {{"path", "~"}, {"limit", 2}});
  EXPECT_EQ(folders["path"], home.path());
  ASSERT_EQ(folders["children"].size(), 2u);
  EXPECT_GE(folders["children"][0]["size"].get<int64_t>(), folders["children"][1]["size"].get<int64_t>());
  EXPECT_EQ(failure("biggest_folders", {{"path", "~/nowhere"}}),
            home / "nowhere" + " isn't in the last scan (too small, or not scanned).");

  const json all = tool("list_cleanup_suggestions");
  ASSERT_GE(all["count"].get<int>(), 2);
  const json safe = tool("list_cleanup_suggestions", {{"safety", "safe"}, {"limit", 1}});
  ASSERT_EQ(safe["items"].size(), 1u);
  EXPECT_EQ(safe["items"][0]["safety"], "safe");
  EXPECT_GE(safe["count"].get<int>(), 1);
  const json node = tool("list_cleanup_suggestions", {{"category", "javascript & node"}});
  ASSERT_GE(node["items"].size(), 1u);
  EXPECT_EQ(node["items"][0]["category"], "JavaScript & Node");
}

TEST_F(Mcp, PreviewTokensCoverTheSetOfPathsForTenMinutesInThisProcessOnly) {
  const PreviewSigner& signer = server.signer();
  const std::string token = signer.token({"/a", "/b"}, 2'000);
  EXPECT_TRUE(signer.isValid(token, {"/b", "/a"}, 1'999));
  EXPECT_TRUE(signer.isValid(token, {"/a", "/b", "/a"}, 1'999));
  EXPECT_FALSE(signer.isValid(token, {"/a"}, 1'999));
  EXPECT_FALSE(signer.isValid(token, {"/a", "/b"}, 2'000));
  EXPECT_FALSE(PreviewSigner().isValid(token, {"/a", "/b"}, 1'999));  // another process
  EXPECT_FALSE(signer.isValid("2000", {"/a", "/b"}, 1'999));
  EXPECT_FALSE(signer.isValid("x." + token.substr(5), {"/a", "/b"}, 1'999));
  EXPECT_FALSE(signer.isValid("9999" + token.substr(4), {"/a", "/b"}, 1'999));  // a later expiry is forged
  EXPECT_EQ(token.size(), 5u + 64u);
}

TEST_F(Mcp, MoveToTrashNeedsAPreviewAndItsTokenAndUndoPutsBack) {
  scan();
  const std::string cache = home / ".npm/_cacache";
  const json preview = tool("move_to_trash", {{"paths", {cache, home / "Documents/report.pdf"}}});
  EXPECT_EQ(preview["preview"], true);
  ASSERT_EQ(preview["would_move"].size(), 1u);
  EXPECT_EQ(preview["would_move"][0]["path"], cache);
  ASSERT_EQ(preview["refused"].size(), 1u);
  EXPECT_EQ(preview["refused"][0]["reason"], "Not a cleanup suggestion from the last scan");
  EXPECT_TRUE(testing::pathExists(cache));

  const json paths = {cache, home / "Documents/report.pdf"};
  const std::string token = preview["preview_token"];
  const std::string forged = token.substr(0, token.size() - 1) + (token.back() == '0' ? "1" : "0");
  EXPECT_TRUE(failure("move_to_trash", {{"paths", paths}, {"confirm", true}, {"preview_token", forged}})
                  .starts_with("Preview first: call move_to_trash"));
  EXPECT_TRUE(failure("move_to_trash", {{"paths", {cache}}, {"confirm", true}, {"preview_token", token}})
                  .starts_with("Preview first"));
  const double previewed = static_cast<double>(std::time(nullptr));
  server.clock = [previewed] { return previewed + 601; };  // after the ten minutes
  EXPECT_TRUE(failure("move_to_trash", {{"paths", paths}, {"confirm", true}, {"preview_token", token}})
                  .starts_with("That preview_token expired (a preview is valid 10 minutes). Call move_to_trash"));
  server.clock = [previewed] { return previewed; };
  EXPECT_TRUE(testing::pathExists(cache));

  const json moved = tool("move_to_trash", {{"paths", paths}, {"confirm", true}, {"preview_token", token}});
  EXPECT_EQ(moved["moved"], json::array({cache}));
  EXPECT_GE(moved["freed_bytes"].get<int64_t>(), 12 << 20);
  EXPECT_EQ(moved["note"], "In the Trash \u2014 empty it to get the space back. Undo with undo_trash.");
  EXPECT_FALSE(testing::pathExists(cache));
  EXPECT_TRUE(testing::pathExists(home.trashFiles() + "/_cacache"));

  const json undone = tool("undo_trash");
  EXPECT_EQ(undone["batch"], moved["batch"]);
  EXPECT_EQ(undone["restored"], json::array({cache}));
  EXPECT_TRUE(testing::pathExists(cache + "/content/blob"));
  EXPECT_EQ(failure("undo_trash"), "Nothing to undo.");
}

// What a confirmation of `paths` with `token` answers: the move's result, or the error text.
TEST_F(Mcp, APreviewTokenConfirmsOneMoveOnly) {
  scan();
  const std::string cache = home / ".npm/_cacache";
  const std::string token = tool("move_to_trash", {{"paths", {cache}}})["preview_token"];
  const json confirm = {{"paths", {cache}}, {"confirm", true}, {"preview_token", token}};
  EXPECT_EQ(tool("move_to_trash", confirm)["moved"], json::array({cache}));

  // The folder comes back (a package manager refills its cache): the old token moves nothing.
  testing::allocateFile(cache + "/content/new", 30 << 20);
  EXPECT_TRUE(failure("move_to_trash", confirm).starts_with("That preview_token was already used. Call move_to_trash"));
  EXPECT_TRUE(testing::pathExists(cache + "/content/new"));
}

TEST_F(Mcp, AMoveOverADamagedJournalSaysEarlierBatchesAreLost) {
  scan();
  const std::string cache = home / ".npm/_cacache";
  testing::writeText(home.store().url(Store::File::journal), R"([{"path":"/x","trashedPath":)");
  const std::string token = tool("move_to_trash", {{"paths", {cache}}})["preview_token"];
  const json moved = tool("move_to_trash", {{"paths", {cache}}, {"confirm", true}, {"preview_token", token}});
  EXPECT_EQ(moved["moved"], json::array({cache}));
  EXPECT_TRUE(moved["journal_note"].get<std::string>().starts_with(
      "Earlier records in trash-journal.json couldn't be read; the damaged file is kept as "));
  EXPECT_EQ(tool("undo_trash")["restored"], json::array({cache}));  // this batch was recorded
}

TEST_F(Mcp, AnItemSwappedAfterThePreviewStaysWhereItIs) {
  scan();
  const std::string cache = home / ".npm/_cacache";
  const std::string token = tool("move_to_trash", {{"paths", {cache}}})["preview_token"];
  // Between preview and confirmation the folder becomes a link to the user's documents.
  std::filesystem::rename(cache, home / "elsewhere");
  testing::symbolicLink(home / "Documents", cache);
  const json moved = tool("move_to_trash", {{"paths", {cache}}, {"confirm", true}, {"preview_token", token}});
  EXPECT_TRUE(moved["moved"].empty());
  EXPECT_EQ(moved["freed_bytes"], 0);
  ASSERT_EQ(moved["refused"].size(), 1u);
  EXPECT_EQ(moved["refused"][0]["reason"], "Replaced since it was checked \u2014 left in place. Rescan and try again.");
  EXPECT_TRUE(std::filesystem::is_symlink(cache));

  // Another folder put in its place (the first is kept aside, so its inode can't be reused): still refused.
  std::filesystem::remove(cache);
  testing::makeFolder(cache);
  const std::string second = tool("move_to_trash", {{"paths", {cache}}})["preview_token"];
  std::filesystem::rename(cache, home / "aside");
  testing::makeFolder(cache + "/other");
  const json again = tool("move_to_trash", {{"paths", {cache}}, {"confirm", true}, {"preview_token", second}});
  EXPECT_TRUE(again["moved"].empty());
  EXPECT_TRUE(testing::pathExists(cache + "/other"));

  // Already a link when previewed: the scan saw a folder, so the preview refuses it.
  std::filesystem::remove_all(cache);
  testing::symbolicLink(home / "Documents", cache);
  const json preview = tool("move_to_trash", {{"paths", {cache}}});
  EXPECT_TRUE(preview["would_move"].empty());
  EXPECT_EQ(preview["refused"][0]["reason"], "Replaced since it was checked \u2014 left in place. Rescan and try again.");
}

TEST_F(Mcp, ADamagedKeepListStopsEverySuggestionButNotTheScan) {
  scan();
  const std::string cache = home / ".npm/_cacache";
  ASSERT_TRUE(KeepList::set(home.store(), cache, true).ok());
  testing::writeText(home.store().url(Store::File::keep), "[\"" + cache + "\",");  // cut short
  scan();  // still runs
  const json preview = tool("move_to_trash", {{"paths", {cache, home / "code/app/node_modules"}}});
  EXPECT_TRUE(preview["would_move"].empty());
  ASSERT_EQ(preview["refused"].size(), 2u);
  const std::string reason = preview["refused"][0]["reason"];
  EXPECT_EQ(reason, "keep.json in " + home.store().directory() +
                        " is damaged and can't be read, so Tallyfin can't tell what you chose to keep \u2014 fix "
                        "keep.json or remove it (removing forgets every kept item), then try again.");
  EXPECT_EQ(preview["refused"][1]["reason"], reason);
  tool("move_to_trash", {{"paths", {cache, home / "code/app/node_modules"}}, {"confirm", true},
                         {"preview_token", preview["preview_token"]}});
  EXPECT_TRUE(testing::pathExists(cache));
  EXPECT_TRUE(testing::pathExists(home / "code/app/node_modules"));
}

TEST_F(Mcp, ANameTooLongForTheTrashIsRefusedInThePreview) {
  scan();
  CleanupItem item;
  item.title = "cache";
  item.category = CleanupCategory::appCaches;
  // A cache folder whose own name is 250 bytes: ".trashinfo" after it would pass 255.
  const std::string cache = home / (".cache/" + std::string(250, 'c'));
  testing::writeFile(cache + "/blob", 10);
  item.path = cache;
  addSuggestion(item);
  const json preview = tool("move_to_trash", {{"paths", {cache}}});
  EXPECT_TRUE(preview["would_move"].empty());
  ASSERT_EQ(preview["refused"].size(), 1u);
  EXPECT_EQ(preview["refused"][0]["reason"],
            "The name is too long for the Trash's records (at most 245 bytes) \u2014 rename it shorter, or use your "
            "file manager.");
}

TEST_F(Mcp, MoveToTrashLimitsAndRefusals) {
  scan();
  json many = json::array();
  for (int i = 0; i < 201; ++i) many.push_back(home / ("x" + std::to_string(i)));
  EXPECT_EQ(failure("move_to_trash", {{"paths", many}}), "At most 200 paths per call.");
  many.back() = many.front();  // 201 entries, 200 distinct
  EXPECT_EQ(tool("move_to_trash", {{"paths", many}})["refused"].size(), 200u);
  EXPECT_EQ(failure("move_to_trash", {{"paths", json::array()}}), "paths is empty");

  testing::writeFile(home / ".ollama/models/blobs/sha256-1", 10);
  CleanupItem model;
  model.path = home / ".ollama/models/blobs/sha256-1";
  model.title = "llama3";
  model.category = CleanupCategory::aiModels;
  model.command = "ollama rm llama3";
  model.trashable = false;
  addSuggestion(model);
  const json preview = tool("move_to_trash", {{"paths", {model.path}}});
  EXPECT_TRUE(preview["would_move"].empty());
  EXPECT_EQ(preview["refused"][0]["reason"], "Cleaned with its own tool: ollama rm llama3");
  const json moved = tool("move_to_trash", {{"paths", {model.path}}, {"confirm", true},
                                            {"preview_token", preview["preview_token"]}});
  EXPECT_TRUE(moved["moved"].empty());
  EXPECT_TRUE(testing::pathExists(model.path));
}

TEST_F(Mcp, UninstallsAnAppWithItsDefaultLeftoversAfterAPreview) {
  const std::string app = home / "Applications/Foo.app";
  testing::writeInfoPlist(app, {{"CFBundleIdentifier", "org.example.foo"}});
  testing::writeFile(home / "Library/Caches/org.example.foo/a", 10);
  testing::makeFolder(home / "Library/Group Containers/group.org.example.foo");

  const json apps = tool("list_apps");
  ASSERT_EQ(apps["apps"].size(), 1u);
  EXPECT_EQ(apps["apps"][0]["path"], app);
  EXPECT_EQ(failure("uninstall_app"), "Give app (a path) or orphan (a bundle id) from list_apps.");
  EXPECT_EQ(failure("uninstall_app", {{"app", app}, {"orphan", "x.y.z"}}),
            "Give app (a path) or orphan (a bundle id) from list_apps.");
  EXPECT_EQ(failure("uninstall_app", {{"app", home / "Applications/Bar.app"}}),
            "Not an app \u2014 use a path from list_apps.");
  EXPECT_EQ(failure("uninstall_app", {{"orphan", "com.gone.app"}}),
            "No leftovers of a removed app with that bundle id \u2014 use one from list_apps.");

  const json preview = tool("uninstall_app", {{"app", app}});
  ASSERT_EQ(preview["would_move"].size(), 2u);
  ASSERT_EQ(preview["not_included"].size(), 1u);
  EXPECT_EQ(preview["not_included"][0]["reason"], "may hold the user's documents");
  const json refused = tool("uninstall_app", {{"app", app}, {"include", {home / "Documents"}}});
  EXPECT_EQ(refused["refused"][0]["reason"], "Not one of this app's leftovers");

  EXPECT_TRUE(failure("uninstall_app", {{"app", app}, {"confirm", true}}).starts_with("Preview first: call uninstall_app"));
  EXPECT_TRUE(testing::pathExists(app));
  // An app put back in place of the previewed one is another app: nothing moves.
  std::filesystem::rename(app, home / "Foo-aside.app");
  testing::writeInfoPlist(app, {{"CFBundleIdentifier", "org.example.foo"}});
  EXPECT_EQ(failure("uninstall_app", {{"app", app}, {"confirm", true}, {"preview_token", preview["preview_token"]}}),
            app + " changed since the preview \u2014 call uninstall_app without confirm again.");
  EXPECT_TRUE(testing::pathExists(app));

  const json again = tool("uninstall_app", {{"app", app}});
  const json confirm = {{"app", app}, {"confirm", true}, {"preview_token", again["preview_token"]}};
  const json moved = tool("uninstall_app", confirm);
  EXPECT_EQ(moved["moved"].size(), 2u);
  EXPECT_FALSE(testing::pathExists(app));
  EXPECT_TRUE(testing::pathExists(home / "Library/Group Containers/group.org.example.foo"));
  // Installed again, with its cache, the app is not moved by the same confirmation.
  testing::writeInfoPlist(app, {{"CFBundleIdentifier", "org.example.foo"}});
  testing::writeFile(home / "Library/Caches/org.example.foo/a", 10);
  EXPECT_TRUE(failure("uninstall_app", confirm).starts_with("That preview_token was already used. Call uninstall_app"));
  EXPECT_TRUE(testing::pathExists(app));
}

TEST_F(Mcp, DuplicateSearchesStayInsideTheHomeFolder) {
  testing::patternFile(home / "Downloads/a.bin", 6 * testing::MiB, 1);
  testing::patternFile(home / "Downloads/b.bin", 6 * testing::MiB, 1);
  const json found = tool("find_duplicates", {{"folder", "~/Downloads"}});
  EXPECT_EQ(found["group_count"], 1);
  EXPECT_EQ(found["folder"], home / "Downloads");
  EXPECT_EQ(failure("find_duplicates", {{"folder", "~/nope"}}), "That folder doesn't exist.");
  EXPECT_EQ(failure("find_duplicates", {{"folder", "~/Downloads/a.bin"}}), "That's not a folder.");
  testing::makeFolder(home / "Library/Caches");
  testing::makeFolder(home / ".hidden/sub");
  const std::string outside =
      "Only folders inside your home folder can be searched (not ~/Library or hidden folders).";
  EXPECT_EQ(failure("find_duplicates", {{"folder", "~/Library/Caches"}}), outside);
  EXPECT_EQ(failure("find_duplicates", {{"folder", "~/.hidden/sub"}}), outside);
  EXPECT_EQ(failure("find_duplicates", {{"folder", "/usr"}}), outside);
}

TEST_F(Mcp, TheOtherReadersAnswerWithTheirKeys) {
  scan();
  EXPECT_TRUE(tool("system_data")["parts"].is_array());
  const json docker = tool("docker_status");
  for (const char* key : {"docker_cli", "running", "usage", "vm_disks", "commands"}) {
    EXPECT_TRUE(docker.contains(key)) << key;
  }
  const json history = tool("disk_history");
  ASSERT_EQ(history["scans"].size(), 1u);
  EXPECT_TRUE(history["growth_per_week_bytes"].is_null());  // one scan is no trend
  const json projects = tool("dev_projects", {{"stale_days", 30}});
  EXPECT_EQ(projects["stale_days"], 30);
  ASSERT_EQ(projects["projects"].size(), 1u);
  EXPECT_EQ(projects["projects"][0]["path"], home / "code/app");
  EXPECT_TRUE(tool("large_files", {{"min_age_days", 1}})["files"].is_array());
  EXPECT_EQ(tool("ai_models")["models"], json::array());
}

}  // namespace
}  // namespace tallyfin
