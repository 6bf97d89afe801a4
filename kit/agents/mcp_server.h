#pragma once

// The Model Context Protocol server behind `tallyfin mcp`: JSON-RPC 2.0, one
// message per line on standard input and output. It owns no data: it reads the
// saved report, runs scans through the pipeline, calls the disk tools and moves
// things only through the trash service, after a signed preview.

#include <cstdio>
#include <istream>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "kit/agents/preview_ledger.h"
#include "kit/agents/preview_token.h"
#include "kit/pipeline/scan_pipeline.h"
#include "kit/report/scan_report.h"
#include "kit/store/store.h"
#include "kit/trash/trash_service.h"

namespace tallyfin {

// A failure inside a tool; it becomes an error result and the connection goes on.
class ToolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct McpSettings {
  Store store;
  std::string home;
  std::string version;
  // scan_disk measures this folder instead of the whole disk when set.
  std::optional<std::string> scanRoot;
  std::vector<std::string> applicationFolders;
  std::optional<std::string> flatpakCli;
  std::shared_ptr<Trasher> trasher;
  ToolProbeFunction probeTools;

  // The settings of this machine and user, with the given data folder.
  static McpSettings forThisSystem(Store store, std::string home, std::string version);
};

class MCPServer {
 public:
  static constexpr const char* kProtocolVersion = "2025-06-18";
  static const char* const kInstructions;

  explicit MCPServer(McpSettings settings);

  // Reads requests until the end of `in`, writing each reply as one line to `out`.
  void runStdio(std::istream& in, std::FILE* out);

  // The compact reply to one request line; none for a notification.
  std::optional<std::string> handle(std::string_view line);

  // One tool's result in the protocol's shape: the object as text and as
  // structured content, or the error message with isError set.
  nlohmann::json call(const std::string& name, const nlohmann::json& arguments);

  const PreviewSigner& signer() const { return signer_; }

  // Seconds since 1970, the clock the tools read; replaceable for tests.
  std::function<double()> clock;

 private:
  nlohmann::json dispatch(const std::string& name, const nlohmann::json& arguments);
  std::shared_ptr<const ScanReport> report();
  TrashService trashService() const;

  nlohmann::json diskStatus(const nlohmann::json& arguments);
  nlohmann::json scanDisk(const nlohmann::json& arguments);
  nlohmann::json cleanupSuggestions(const nlohmann::json& arguments);
  nlohmann::json biggestFolders(const nlohmann::json& arguments);
  nlohmann::json largeFiles(const nlohmann::json& arguments);
  nlohmann::json diskHistory(const nlohmann::json& arguments);
  nlohmann::json aiModels(const nlohmann::json& arguments);
  nlohmann::json devProjects(const nlohmann::json& arguments);
  nlohmann::json findDuplicates(const nlohmann::json& arguments);
  nlohmann::json systemData(const nlohmann::json& arguments);
  nlohmann::json dockerStatus(const nlohmann::json& arguments);
  nlohmann::json listApps(const nlohmann::json& arguments);
  nlohmann::json moveToTrash(const nlohmann::json& arguments);
  nlohmann::json uninstallApp(const nlohmann::json& arguments);
  nlohmann::json undoTrash(const nlohmann::json& arguments);

  // A preview token for these items, remembered for its one confirmation.
  std::string issuePreview(const std::vector<std::string>& paths, std::vector<PreviewedItem> items);
  // The items of the preview a confirmation carries, now used up; a ToolError
  // says why there is none (`previewFirst` for a missing or foreign token).
  std::vector<PreviewedItem> redeemPreview(const std::optional<std::string>& token,
                                           const std::vector<std::string>& paths, const std::string& tool,
                                           const char* previewFirst);

  McpSettings settings_;
  PreviewSigner signer_;
  PreviewLedger previews_;
  std::mutex cacheLock_;
  std::optional<double> cachedDate_;
  std::shared_ptr<const ScanReport> cached_;
};

}  // namespace tallyfin
