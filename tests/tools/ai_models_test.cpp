#include "kit/tools/ai_models.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "kit/tools/file_facts.h"
#include "tests/support/file_content.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::MiB;
using testing::TempFolder;

TEST(AIModelNames, FormatQuantizationAndParametersComeFromTheName) {
  const std::string llama = "Llama-3.1-8B-Instruct-Q4_K_M.gguf";
  EXPECT_EQ(AIModelScanner::formatOf({}, llama), "GGUF");
  EXPECT_EQ(AIModelScanner::quantization(llama), "Q4_K_M");
  EXPECT_EQ(AIModelScanner::parameters(llama), "8B");

  const std::string qwen = "mlx-community/Qwen2.5-7B-4bit";
  EXPECT_EQ(AIModelScanner::formatOf({}, qwen), "MLX");
  EXPECT_EQ(AIModelScanner::quantization(qwen), "4-bit");
  EXPECT_EQ(AIModelScanner::parameters(qwen), "7B");

  EXPECT_EQ(AIModelScanner::quantization("phi-3-mini-IQ3_XS"), "IQ3_XS");
  EXPECT_EQ(AIModelScanner::quantization("gemma-2b-q8_0"), "q8_0");
  EXPECT_EQ(AIModelScanner::quantization("whisper 8 bit"), "8-bit");
  EXPECT_EQ(AIModelScanner::quantization("flux-dev-bf16"), "bf16");
  EXPECT_FALSE(AIModelScanner::quantization("Q4_KM-notaquant").has_value());
  EXPECT_EQ(AIModelScanner::parameters("DeepSeek-R1-Distill-Qwen-1.5B"), "1.5B");
  EXPECT_EQ(AIModelScanner::parameters("bert 350m uncased"), "350M");
  EXPECT_FALSE(AIModelScanner::parameters("v2.7B").has_value());      // a version, not a size
  EXPECT_FALSE(AIModelScanner::parameters("gpt4all-13Bit").has_value());  // a word goes on

  const std::vector<AIModel::File> safetensors{{"/m/model.safetensors", 1, {}}};
  EXPECT_EQ(AIModelScanner::formatOf(safetensors, "some/model"), "Safetensors");
  EXPECT_EQ(AIModelScanner::formatOf({{"/m/model.onnx", 1, {}}}, "x"), "ONNX");
  EXPECT_EQ(AIModelScanner::formatOf({{"/m/model.bin", 1, {}}}, "x"), "Weights");
}

TEST(AIModelFiles, OnlyLargeFilesWithAWeightExtensionCount) {
  TempFolder dir;
  testing::sparseFile(dir / "m/small.gguf", 40 * MiB);
  testing::sparseFile(dir / "m/pytorch_model.bin", 60 * MiB);
  testing::sparseFile(dir / "m/notes.txt", 60 * MiB);
  testing::sparseFile(dir / "m/a/b/c/deep.safetensors", 60 * MiB);
  testing::symbolicLink(dir / "m/pytorch_model.bin", dir / "m/again.bin");  // one file, two names
  const auto files = AIModelScanner::weightFiles(dir / "m", 2);
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(files[0].size, 60 * MiB);
  EXPECT_EQ(AIModelScanner::weightFiles(dir / "m", 4).size(), 2u);
  EXPECT_TRUE(AIModelScanner::weightFiles(dir / "missing", 4).empty());
}

// A home with the three stores, holding one GGUF in each.
class ModelStores : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string gguf = home / "weights.gguf";
    testing::sparseFile(gguf, 60 * MiB);
    const std::string hex = *FileFacts::sha256(gguf);
    digest = "sha256:" + hex;

    const std::string blobs = home / ".ollama/models/blobs";
    copy(gguf, blobs + "/sha256-" + hex);
    manifest("registry.ollama.ai/library/llama3/8b", 60 * MiB);
    manifest("registry.ollama.ai/library/llama3/latest", 60 * MiB);  // the same blob again
    manifest("registry.ollama.ai/ann/tiny/q4", 10 * MiB);            // no weight layer
    testing::sparseFile(home / ".ollama/models/manifests/registry.ollama.ai/library/huge/1", 2 * MiB);

    copy(gguf, home / ".lmstudio/models/lmstudio-community/Meta-Llama-3-8B-Instruct-GGUF/Meta-Llama-3-8B-Instruct-Q4_K_M.gguf");
    copy(gguf, home / ".lmstudio/models/other/Different-7B/different.gguf");
    testing::flipByte(home / ".lmstudio/models/other/Different-7B/different.gguf", 0);

    const std::string repository = home / ".cache/huggingface/hub/models--TheBloke--Llama-2-7B-GGUF";
    copy(gguf, repository + "/blobs/" + hex);
    testing::symbolicLink("../../blobs/" + hex, repository + "/snapshots/rev1/llama-2-7b.Q4_K_M.gguf");
    testing::symbolicLink("../../blobs/" + hex, repository + "/snapshots/rev2/llama-2-7b.Q4_K_M.gguf");
    testing::writeFile(home / ".cache/huggingface/hub/datasets--x--y/data.bin", 10);
  }

  void copy(const std::string& from, const std::string& to) {
    testing::makeFolder(to.substr(0, to.rfind('/')));
    std::filesystem::copy_file(from, to);
  }

  void manifest(const std::string& name, int64_t layerSize) {
    const std::string path = home / (".ollama/models/manifests/" + name);
    testing::makeFolder(path.substr(0, path.rfind('/')));
    std::ofstream(path) << R"({"schemaVersion":2,"layers":[)"
                        << R"({"mediaType":"application/vnd.ollama.image.model","digest":")" << digest
                        << R"(","size":)" << layerSize << "},"
                        << R"({"mediaType":"application/vnd.ollama.image.license","digest":"sha256:00","size":-5}]})";
  }

  TempFolder home;
  std::string digest;
};

TEST_F(ModelStores, EachStoreNamesItsModels) {
  const auto inventory = AIModelScanner::scan(home.path());
  std::vector<std::string> names;
  for (const auto& model : inventory.models) names.push_back(model.name);
  EXPECT_EQ(names, (std::vector<std::string>{"llama3:8b", "llama3:latest",
                                             "lmstudio-community/Meta-Llama-3-8B-Instruct-GGUF",
                                             "other/Different-7B", "TheBloke/Llama-2-7B-GGUF"}));
  const AIModel& ollama = inventory.models[0];
  EXPECT_EQ(ollama.source, AIModel::Source::ollama);
  EXPECT_EQ(ollama.path, "ollama://llama3:8b");
  EXPECT_EQ(ollama.command(), "ollama rm llama3:8b");
  ASSERT_EQ(ollama.files.size(), 1u);
  EXPECT_EQ(ollama.files[0].digest, digest);
  EXPECT_EQ(ollama.size, 60 * MiB);
  EXPECT_EQ(ollama.parameters, "8B");

  const AIModel& lmStudio = inventory.models[2];
  EXPECT_FALSE(lmStudio.command().has_value());
  EXPECT_EQ(lmStudio.format, "GGUF");
  EXPECT_EQ(lmStudio.quantization, "Q4_K_M");  // from the file, the folder has none
  EXPECT_TRUE(lmStudio.lastUsed.has_value());

  const AIModel& huggingFace = inventory.models[4];
  EXPECT_EQ(huggingFace.source, AIModel::Source::huggingFace);
  ASSERT_EQ(huggingFace.files.size(), 1u);  // two snapshots, one blob
  EXPECT_EQ(huggingFace.files[0].digest, digest);
  EXPECT_EQ(huggingFace.quantization, "Q4_K_M");
  EXPECT_EQ(huggingFace.parameters, "7B");
}

TEST_F(ModelStores, OneWeightInThreeStoresIsOneDuplicate) {
  const auto inventory = AIModelScanner::scan(home.path());
  ASSERT_EQ(inventory.duplicates.size(), 1u);
  const ModelDuplicate& duplicate = inventory.duplicates[0];
  EXPECT_EQ(duplicate.fileSize, 60 * MiB);
  ASSERT_EQ(duplicate.copies.size(), 3u);
  std::vector<std::string> models;
  for (const auto& copy : duplicate.copies) models.push_back(copy.modelID);
  EXPECT_EQ(models, (std::vector<std::string>{"ollama://llama3:8b",
                                              home / ".lmstudio/models/lmstudio-community/Meta-Llama-3-8B-Instruct-GGUF",
                                              home / ".cache/huggingface/hub/models--TheBloke--Llama-2-7B-GGUF"}));
  EXPECT_EQ(duplicate.wasted, duplicate.copies[1].privateSize + duplicate.copies[2].privateSize);

  // Where every copy is named by its digest, the digest alone decides.
  std::vector<AIModel> digestsOnly;
  for (const auto& model : inventory.models) {
    if (model.source != AIModel::Source::lmStudio) digestsOnly.push_back(model);
  }
  const auto byDigest = AIModelScanner::duplicates(digestsOnly);
  ASSERT_EQ(byDigest.size(), 1u);
  EXPECT_EQ(byDigest[0].fingerprint, digest);
}

}  // namespace
}  // namespace tallyfin
