#include "kit/tools/ai_models.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>

#include <nlohmann/json.hpp>

#include "kit/base/paths.h"
#include "kit/base/pattern.h"
#include "kit/base/saturating.h"
#include "kit/base/text.h"
#include "kit/base/small_file.h"
#include "kit/base/subfolders.h"
#include "kit/tools/file_facts.h"

namespace tallyfin {
namespace {

namespace fs = std::filesystem;

constexpr std::array<std::string_view, 9> kWeightExtensions = {
    "gguf", "safetensors", "bin", "pt", "pth", "ckpt", "mlx", "npz", "onnx"};
constexpr int64_t kLargestManifest = 1'048'575;
constexpr std::string_view kDigestPrefix = "sha256:";
constexpr std::string_view kDefaultOllamaRegistry = "registry.ollama.ai";
constexpr std::string_view kDefaultOllamaNamespace = "library";
constexpr int kLmStudioDepth = 3;
constexpr int kHuggingFaceDepth = 5;  // snapshots/<revision>/<subfolders>/file

bool isWeightName(std::string_view name) {
  const auto dot = name.rfind('.');
  if (dot == std::string_view::npos) return false;
  const std::string extension = lowercased(name.substr(dot + 1));
  return std::find(kWeightExtensions.begin(), kWeightExtensions.end(), extension) != kWeightExtensions.end();
}

// The latest moment the file was read or written, as far as the file system shows.
std::optional<int64_t> lastUse(const std::vector<AIModel::File>& files) {
  std::optional<int64_t> latest;
  for (const auto& file : files) {
    struct stat info;
    if (::stat(file.path.c_str(), &info) != 0) continue;
    const int64_t used = std::max<int64_t>(info.st_atim.tv_sec, info.st_mtim.tv_sec);
    latest = std::max(latest.value_or(used), used);
  }
  return latest;
}

// Fills the fields every source derives the same way from the model's files.
AIModel describe(std::string name, AIModel::Source source, std::string path, std::vector<AIModel::File> files) {
  AIModel model;
  model.source = source;
  model.path = std::move(path);
  for (const auto& file : files) model.size = saturatingAdd(model.size, file.size);
  model.format = AIModelScanner::formatOf(files, name);
  // The model's name says most; a store folder named only after the model leaves
  // the quantization to the file names.
  const auto fromNames = [&](auto read) {
    auto found = read(name);
    for (size_t i = 0; !found && i < files.size(); ++i) found = read(lastComponent(files[i].path));
    return found;
  };
  model.quantization = fromNames(AIModelScanner::quantization);
  model.parameters = fromNames(AIModelScanner::parameters);
  model.lastUsed = lastUse(files);
  model.name = std::move(name);
  model.files = std::move(files);
  return model;
}

// "registry.ollama.ai/library/llama3/8b" reads "llama3:8b"; other namespaces and
// registries stay in the name, as Ollama itself shows them.
std::string ollamaName(const fs::path& relative) {
  std::vector<std::string> parts;
  for (const auto& part : relative) parts.push_back(part.string());
  if (parts.size() < 2) return relative.string();
  std::string name = parts[parts.size() - 2] + ":" + parts.back();
  for (size_t i = parts.size() - 2; i-- > 0;) {
    const bool defaultPart = (i == parts.size() - 3 && parts[i] == kDefaultOllamaNamespace) ||
                             (i == 0 && parts[i] == kDefaultOllamaRegistry);
    if (!defaultPart) name = parts[i] + "/" + name;
  }
  return name;
}

std::optional<OllamaManifest> readManifest(const fs::path& manifest, const fs::path& manifests,
                                          const fs::path& blobs) {
  const auto text = readSmallFile(manifest.string(), kLargestManifest);
  if (!text) return std::nullopt;
  const auto json = nlohmann::json::parse(*text, nullptr, false);
  if (!json.is_object() || !json.contains("layers") || !json["layers"].is_array()) return std::nullopt;
  struct stat info;
  if (::stat(manifest.c_str(), &info) != 0) return std::nullopt;
  OllamaManifest read{ollamaName(manifest.lexically_relative(manifests)), blobs.string(), info.st_mtim.tv_sec, {}};
  for (const auto& layer : json["layers"]) {
    if (!layer.is_object()) continue;
    const int64_t size = layer.contains("size") && layer["size"].is_number_integer()
                             ? std::max<int64_t>(layer["size"].get<int64_t>(), 0)
                             : 0;
    read.layers.push_back({layer.value("digest", std::string()), size});
  }
  return read;
}

std::optional<AIModel> ollamaModel(const OllamaManifest& manifest) {
  std::vector<AIModel::File> files;
  for (const auto& layer : manifest.layers) {
    if (!layer.digest.starts_with(kDigestPrefix) || layer.size < AIModelScanner::kWeightFileMinimum) continue;
    std::string blob = layer.digest;
    std::replace(blob.begin(), blob.end(), ':', '-');
    const std::string blobPath = manifest.blobs + "/" + blob;
    std::error_code error;
    if (!fs::is_regular_file(blobPath, error)) continue;
    files.push_back({blobPath, layer.size, layer.digest});
  }
  if (files.empty()) return std::nullopt;
  // Ollama runs GGUF weights only; its blobs carry no extension that would say so.
  AIModel model = describe(manifest.name, AIModel::Source::ollama, "ollama://" + manifest.name, std::move(files));
  model.format = "GGUF";
  return model;
}

// "models--meta-llama--Llama-3.1-8B" is shown as "meta-llama/Llama-3.1-8B".
std::string huggingFaceName(std::string_view folder) {
  std::string name(folder.substr(std::string_view("models--").size()));
  for (size_t at = name.find("--"); at != std::string::npos; at = name.find("--", at + 1)) {
    name.replace(at, 2, "/");
  }
  return name;
}

// The Hugging Face cache names large blobs after their SHA-256.
std::optional<std::string> blobDigest(const std::string& path) {
  std::error_code error;
  const fs::path target = fs::canonical(path, error);
  const std::string name = target.filename().string();
  if (error || target.parent_path().filename() != "blobs" || name.size() != 64 ||
      !std::all_of(name.begin(), name.end(), [](char c) { return std::isxdigit(static_cast<unsigned char>(c)); })) {
    return std::nullopt;
  }
  return std::string(kDigestPrefix) + lowercased(name);
}

struct WeightCopy {
  const AIModel* model;
  const AIModel::File* file;
  std::string realPath;
};

}  // namespace

std::string_view sourceName(AIModel::Source source) {
  switch (source) {
    case AIModel::Source::ollama: return "Ollama";
    case AIModel::Source::lmStudio: return "LM Studio";
    case AIModel::Source::huggingFace: return "Hugging Face";
  }
  return "";
}

std::optional<std::string> AIModel::command() const {
  if (source != Source::ollama) return std::nullopt;
  return "ollama rm " + name;
}

namespace AIModelScanner {

std::vector<AIModel::File> weightFiles(const std::string& folder, int depth) {
  std::vector<AIModel::File> files;
  std::set<std::pair<dev_t, ino_t>> seen;
  std::error_code error;
  fs::recursive_directory_iterator it(folder, fs::directory_options::skip_permission_denied, error);
  for (const fs::recursive_directory_iterator end; !error && it != end; it.increment(error)) {
    if (it->is_directory(error) && !it->is_symlink(error) && it.depth() >= depth) it.disable_recursion_pending();
    const std::string path = it->path().string();
    struct stat info;
    if (!isWeightName(lastComponent(path)) || ::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) continue;
    if (info.st_size < kWeightFileMinimum || !seen.insert({info.st_dev, info.st_ino}).second) continue;
    files.push_back({path, info.st_size, blobDigest(path)});
  }
  std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) { return a.path < b.path; });
  return files;
}

std::string formatOf(const std::vector<AIModel::File>& files, std::string_view name) {
  std::string joined;
  for (const auto& file : files) {
    joined += lastComponent(file.path);
    joined += ' ';
  }
  joined += name;
  joined = lowercased(joined);
  for (const auto& [marker, format] : std::array<std::pair<std::string_view, const char*>, 4>{
           {{".gguf", "GGUF"}, {"mlx", "MLX"}, {".safetensors", "Safetensors"}, {".onnx", "ONNX"}}}) {
    if (joined.find(marker) != std::string::npos) return format;
  }
  return "Weights";
}

std::optional<std::string> quantization(std::string_view name) {
  static const Pattern kLevels(R"((?i)\b(IQ\d_[A-Z0-9]+|Q\d_K(?:_[SMLX]{1,2})?|Q\d_\d)\b)");
  static const Pattern kBits(R"((?i)(\d{1,2})[-_ ]?bit\b)");
  static const Pattern kFloats(R"((?i)\b(bf16|fp16|f16|fp32|f32|fp8)\b)");
  if (auto match = kLevels.firstMatch(name)) return (*match)[1];
  if (auto match = kBits.firstMatch(name)) return (*match)[1] + "-bit";
  if (auto match = kFloats.firstMatch(name)) return (*match)[1];
  return std::nullopt;
}

std::optional<std::string> parameters(std::string_view name) {
  static const Pattern kCount(R"((?i)(?<![A-Za-z0-9.])(\d+(?:\.\d+)?)\s?([BM])(?![A-Za-z]))");
  const auto match = kCount.firstMatch(name);
  if (!match) return std::nullopt;
  return (*match)[1] + static_cast<char>(std::toupper(static_cast<unsigned char>((*match)[2][0])));
}

std::vector<OllamaManifest> ollamaManifests(const std::string& home) {
  const fs::path root = fs::path(home) / ".ollama/models";
  const fs::path manifests = root / "manifests";
  std::vector<OllamaManifest> found;
  std::error_code error;
  fs::recursive_directory_iterator it(manifests, fs::directory_options::skip_permission_denied, error);
  for (const fs::recursive_directory_iterator end; !error && it != end; it.increment(error)) {
    if (!it->is_regular_file(error) || it->is_symlink(error)) continue;
    if (auto manifest = readManifest(it->path(), manifests, root / "blobs")) found.push_back(std::move(*manifest));
  }
  std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
  return found;
}

std::vector<AIModel> ollamaModels(const std::string& home) {
  std::vector<AIModel> models;
  for (const auto& manifest : ollamaManifests(home)) {
    if (auto model = ollamaModel(manifest)) models.push_back(std::move(*model));
  }
  return models;
}

std::vector<AIModel> lmStudioModels(const std::string& home) {
  std::vector<AIModel> models;
  for (const auto& publisher : sortedSubfolders(home + "/.lmstudio/models")) {
    for (const auto& folder : sortedSubfolders(publisher)) {
      auto files = weightFiles(folder, kLmStudioDepth);
      if (files.empty()) continue;
      const std::string name = std::string(lastComponent(publisher)) + "/" + std::string(lastComponent(folder));
      models.push_back(describe(name, AIModel::Source::lmStudio, folder, std::move(files)));
    }
  }
  return models;
}

std::vector<AIModel> huggingFaceModels(const std::string& home) {
  std::vector<AIModel> models;
  for (const auto& folder : sortedSubfolders(home + "/.cache/huggingface/hub")) {
    const std::string repository(lastComponent(folder));
    if (!repository.starts_with("models--")) continue;
    auto files = weightFiles(folder, kHuggingFaceDepth);
    if (files.empty()) continue;
    models.push_back(describe(huggingFaceName(repository), AIModel::Source::huggingFace, folder, std::move(files)));
  }
  return models;
}

std::vector<ModelDuplicate> duplicates(const std::vector<AIModel>& models) {
  // Every weight once per inode: two names for one file are not two copies.
  std::map<int64_t, std::vector<WeightCopy>> bySize;
  std::set<std::pair<dev_t, ino_t>> seen;
  for (const auto& model : models) {
    for (const auto& file : model.files) {
      char resolved[PATH_MAX];
      struct stat info;
      if (!::realpath(file.path.c_str(), resolved) || ::stat(resolved, &info) != 0) continue;
      if (!seen.insert({info.st_dev, info.st_ino}).second) continue;
      bySize[info.st_size].push_back({&model, &file, resolved});
    }
  }
  std::vector<ModelDuplicate> found;
  for (const auto& [size, copies] : bySize) {
    if (copies.size() < 2) continue;
    const bool allDigests = std::all_of(copies.begin(), copies.end(), [](const auto& c) { return c.file->digest.has_value(); });
    std::map<std::string, std::vector<const WeightCopy*>> byContent;
    for (const auto& copy : copies) {
      auto key = allDigests ? copy.file->digest : FileFacts::fingerprint(copy.realPath, size);
      if (key) byContent[*key].push_back(&copy);
    }
    for (const auto& [key, same] : byContent) {
      if (same.size() < 2) continue;
      ModelDuplicate duplicate{key, size, {}, 0};
      for (const WeightCopy* copy : same) {
        const int64_t own = FileFacts::privateSize(copy->realPath).value_or(0);
        if (!duplicate.copies.empty()) duplicate.wasted = saturatingAdd(duplicate.wasted, own);
        duplicate.copies.push_back({copy->model->path, copy->file->path, own});
      }
      found.push_back(std::move(duplicate));
    }
  }
  std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.wasted > b.wasted; });
  return found;
}

ModelInventory scan(const std::string& home) {
  ModelInventory inventory;
  for (auto* source : {ollamaModels, lmStudioModels, huggingFaceModels}) {
    auto models = source(home);
    std::move(models.begin(), models.end(), std::back_inserter(inventory.models));
  }
  inventory.duplicates = duplicates(inventory.models);
  return inventory;
}

}  // namespace AIModelScanner
}  // namespace tallyfin
