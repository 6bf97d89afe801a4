#include "kit/store/file_kind.h"

#include <stdexcept>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include <nlohmann/json.hpp>

#include "kit/base/paths.h"

namespace tallyfin::file_kind {
namespace {

using ExtensionTable = std::unordered_map<std::string_view, FileKind>;

const ExtensionTable& extensions() {
  static const ExtensionTable table = [] {
    ExtensionTable t;
    const auto add = [&t](FileKind kind, std::initializer_list<std::string_view> names) {
      for (auto name : names) t.emplace(name, kind);
    };
    add(FileKind::video,
        {"mp4", "mov", "mkv", "avi", "m4v", "webm", "mts", "mpg", "mpeg", "wmv", "flv", "3gp"});
    add(FileKind::images, {"jpg", "jpeg", "png",  "heic", "heif", "gif", "tif", "tiff",
                           "cr2", "cr3",  "nef",  "arw",  "dng",  "psd", "webp", "bmp",
                           "svg", "raw",  "ico",  "icns"});
    add(FileKind::audio,
        {"mp3", "wav", "aiff", "aif", "flac", "m4a", "caf", "aac", "ogg", "opus"});
    add(FileKind::archives,
        {"zip", "tar", "gz", "tgz", "rar", "7z", "xz", "bz2", "zst", "pkg", "xip"});
    add(FileKind::diskImages, {"dmg", "iso", "img", "sparseimage", "sparsebundle", "vdi", "vmdk",
                               "qcow2", "vhd", "vhdx", "ipsw", "asif"});
    add(FileKind::models, {"gguf", "safetensors", "pt", "pth", "ckpt", "onnx", "mlmodel",
                           "mlpackage", "h5", "npz", "npy", "pkl", "parquet", "arrow", "tflite"});
    add(FileKind::documents, {"pdf", "doc", "docx", "ppt", "pptx", "xls", "xlsx", "key", "pages",
                              "numbers", "txt", "md", "rtf", "epub", "csv", "tex", "odt"});
    add(FileKind::databases, {"db", "sqlite", "sqlite3", "realm", "ldb"});
    add(FileKind::dev, {"js",  "mjs",  "cjs",  "ts",   "tsx",  "jsx",  "py",   "pyc",  "swift",
                        "java", "kt",  "c",    "cc",   "cpp",  "h",    "hpp",  "m",    "mm",
                        "go",  "rs",   "rb",   "php",  "map",  "wasm", "o",    "a",    "dylib",
                        "so",  "class", "jar", "node", "json", "lock", "yaml", "yml",  "xml",
                        "html", "css", "scss"});
    return t;
  }();
  return table;
}

using NameSet = std::unordered_set<std::string_view>;

const NameSet kDevFolders = {"node_modules", "DerivedData", ".build", "Pods",   "site-packages",
                             ".venv",        "venv",        ".gradle", ".next", ".git",
                             "target",       ".dart_tool"};
const NameSet kSimulatorFolders = {"CoreSimulator", "iOS DeviceSupport", "watchOS DeviceSupport"};
const NameSet kModelFolders = {"huggingface", ".ollama", ".lmstudio"};
const NameSet kCacheFolders = {"Caches",  "Cache",        "Code Cache", "GPUCache",
                               "_cacache", "CacheStorage", ".cache",     "CachedData"};

// The longest extension in the table is 12 characters; longer ones cannot match.
constexpr size_t kLongestExtension = 16;

}  // namespace

std::string_view label(FileKind kind) {
  static constexpr std::array<std::string_view, kFileKindCount> labels = {
      "Other",     "Videos",           "Photos & images",
      "Music & audio", "Archives & installers", "Disk images",
      "AI models & data", "Documents",  "Databases",
      "Code, dependencies & builds", "App bundles", "Caches",
      "Simulators"};
  return labels[static_cast<size_t>(kind)];
}

FileKind of(std::string_view fileName) {
  const size_t dot = fileName.rfind('.');
  if (dot == std::string_view::npos) return FileKind::other;
  const std::string_view extension = fileName.substr(dot + 1);
  if (extension.empty() || extension.size() > kLongestExtension) return FileKind::other;
  char lower[kLongestExtension];
  for (size_t i = 0; i < extension.size(); ++i) {
    const char c = extension[i];
    lower[i] = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
  }
  const auto& table = extensions();
  const auto found = table.find(std::string_view(lower, extension.size()));
  return found == table.end() ? FileKind::other : found->second;
}

std::optional<FileKind> override(std::optional<FileKind> parent, std::string_view folder) {
  if (parent == FileKind::dev || parent == FileKind::apps || parent == FileKind::simulators) {
    return parent;
  }
  if (endsWith(folder, ".app") || endsWith(folder, ".framework") || endsWith(folder, ".appex") ||
      endsWith(folder, ".bundle")) {
    return FileKind::apps;
  }
  if (kDevFolders.contains(folder)) return FileKind::dev;
  if (kSimulatorFolders.contains(folder)) return FileKind::simulators;
  if (kModelFolders.contains(folder)) return FileKind::models;
  if (parent) return parent;
  if (kCacheFolders.contains(folder)) return FileKind::caches;
  return std::nullopt;
}

std::optional<FileKind> overrideForPath(std::string_view path) {
  std::optional<FileKind> result;
  forEachComponent(path, [&](std::string_view folder) { result = override(result, folder); });
  return result;
}

std::optional<FileKind> fromNumber(int64_t number) {
  if (number < 0 || number >= static_cast<int64_t>(kFileKindCount)) return std::nullopt;
  return static_cast<FileKind>(number);
}

}  // namespace tallyfin::file_kind

namespace tallyfin {

void to_json(nlohmann::json& json, const TypeTotal& total) {
  json = nlohmann::json{
      {"kind", static_cast<int>(total.kind)}, {"size", total.size}, {"files", total.files}};
}

void from_json(const nlohmann::json& json, TypeTotal& total) {
  const auto kind = file_kind::fromNumber(json.at("kind").get<int64_t>());
  if (!kind) throw std::invalid_argument("unknown file kind number");
  total.kind = *kind;
  total.size = json.at("size").get<int64_t>();
  total.files = json.at("files").get<int64_t>();
}

}  // namespace tallyfin
