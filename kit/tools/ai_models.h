#pragma once

// The local AI model weights of Ollama, LM Studio and the Hugging Face cache,
// with what each model is (format, quantization, size in parameters) and the
// weights stored more than once across them.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tallyfin {

struct AIModel {
  enum class Source { ollama, lmStudio, huggingFace };

  struct File {
    std::string path;
    int64_t size = 0;
    std::optional<std::string> digest;  // "sha256:<hex>" where the store names the blob by it
    bool operator==(const File&) const = default;
  };

  std::string name;
  Source source = Source::lmStudio;
  std::string path;  // the model's folder, or "ollama://<name>"
  std::vector<File> files;
  int64_t size = 0;
  std::string format;
  std::optional<std::string> quantization;
  std::optional<std::string> parameters;
  std::optional<int64_t> lastUsed;

  // How Ollama's models are removed: Ollama keeps its own store, so its files
  // are never touched from here. None for the other sources.
  std::optional<std::string> command() const;
};

// "Ollama", "LM Studio", "Hugging Face".
std::string_view sourceName(AIModel::Source source);

struct ModelDuplicate {
  struct Copy {
    std::string modelID;  // the model's path
    std::string path;
    int64_t privateSize = 0;
  };
  std::string fingerprint;  // the stores' digest, or the quick fingerprint
  int64_t fileSize = 0;
  std::vector<Copy> copies;
  int64_t wasted = 0;  // private bytes of every copy but the first
};

// One Ollama manifest: the model it names and every layer it lists.
struct OllamaManifest {
  struct Layer {
    std::string digest;
    int64_t size = 0;  // 0 when missing or negative
  };
  std::string name;  // "llama3:8b"
  std::string blobs;  // the store's blob folder
  int64_t modified = 0;
  std::vector<Layer> layers;
};

struct ModelInventory {
  std::vector<AIModel> models;
  std::vector<ModelDuplicate> duplicates;
};

namespace AIModelScanner {

inline constexpr int64_t kWeightFileMinimum = 52'428'800;

// Weight files under `folder`, at most `depth` folders down. Links to files are
// followed (the Hugging Face cache is made of them); links to folders are not.
std::vector<AIModel::File> weightFiles(const std::string& folder, int depth);

// "GGUF", "MLX", "Safetensors", "ONNX" or "Weights", from the file names and the model name.
std::string formatOf(const std::vector<AIModel::File>& files, std::string_view name);
std::optional<std::string> quantization(std::string_view name);
std::optional<std::string> parameters(std::string_view name);

// The manifests of the Ollama store; oversized or unreadable ones are left out.
std::vector<OllamaManifest> ollamaManifests(const std::string& home);

std::vector<AIModel> ollamaModels(const std::string& home);
std::vector<AIModel> lmStudioModels(const std::string& home);
std::vector<AIModel> huggingFaceModels(const std::string& home);

// Weights present in more than one place, matched by digest where every copy has
// one and by the quick fingerprint otherwise; hard links are one file.
std::vector<ModelDuplicate> duplicates(const std::vector<AIModel>& models);

ModelInventory scan(const std::string& home);

}  // namespace AIModelScanner
}  // namespace tallyfin
