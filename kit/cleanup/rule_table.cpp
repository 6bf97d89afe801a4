#include "kit/cleanup/rule_table.h"

namespace tallyfin {
namespace {

using C = CleanupCategory;
constexpr Safety kSafe = Safety::safe;
constexpr Safety kReview = Safety::review;

Rule rule(const std::string& home, std::string_view under, C category, std::string title,
          Safety safety, std::optional<std::string> command, std::string detail) {
  Rule r;
  r.pattern = home + std::string(under);
  r.category = category;
  r.title = std::move(title);
  r.safety = safety;
  r.command = std::move(command);
  r.detail = std::move(detail);
  return r;
}

Rule notTrashable(Rule r) {
  r.trashable = false;
  return r;
}

}  // namespace

std::vector<Rule> fixedRules(const std::string& h) {
  const std::nullopt_t none = std::nullopt;
  std::vector<Rule> rules = {
      rule(h, "/Library/Developer/Xcode/DerivedData/*", C::xcode, "DerivedData", kSafe, none,
           "Build products and indexes for one Xcode project. Xcode rebuilds them on the next "
           "build."),
      rule(h, "/Library/Developer/Xcode/iOS DeviceSupport/*", C::xcode, "iOS Device Support",
           kSafe, none,
           "Debug symbols copied from a connected iPhone/iPad. Copied again when you plug in a "
           "device on this OS version."),
      rule(h, "/Library/Developer/Xcode/watchOS DeviceSupport/*", C::xcode,
           "watchOS Device Support", kSafe, none, "Debug symbols copied from a paired Apple Watch."),
      rule(h, "/Library/Developer/Xcode/macOS DeviceSupport/*", C::xcode, "macOS Device Support",
           kSafe, none, "Debug symbols for remote Mac debugging."),
      rule(h, "/Library/Developer/Xcode/Archives/*", C::xcode, "Archives", kReview, none,
           "Builds you archived for distribution. Keep recent ones if you need their dSYMs to "
           "symbolicate crashes."),
      rule(h, "/Library/Developer/Xcode/UserData/Previews", C::xcode, "SwiftUI preview simulators",
           kSafe, none, "Simulators Xcode creates for SwiftUI previews. Recreated automatically."),
      rule(h, "/Library/Developer/Xcode/DocumentationCache", C::xcode, "Documentation cache", kSafe,
           none, "Downloaded developer documentation."),
      rule(h, "/Library/Developer/Xcode/Products", C::xcode, "Xcode Products", kSafe, none,
           "Leftover build products."),
      rule(h, "/Library/Developer/XCTestDevices", C::simulators, "XCTest clone simulators", kSafe,
           none, "Simulator clones from parallel UI tests. Recreated when tests run."),
      rule(h, "/Library/Developer/CoreSimulator/Caches", C::simulators, "Simulator caches", kSafe,
           none, "Runtime caches for the iOS Simulator. Rebuilt automatically."),
      rule(h, "/.npm/_cacache", C::packageCaches, "npm cache", kSafe, "npm cache clean --force",
           "Downloaded npm packages. npm downloads them again on demand."),
      rule(h, "/Library/pnpm/store", C::packageCaches, "pnpm store", kSafe, "pnpm store prune",
           "Global pnpm package store."),
      rule(h, "/.pnpm-store", C::packageCaches, "pnpm store", kSafe, "pnpm store prune",
           "Global pnpm package store."),
      rule(h, "/.bun/install/cache", C::packageCaches, "Bun cache", kSafe, "bun pm cache rm",
           "Downloaded Bun packages."),
      rule(h, "/.yarn/berry/cache", C::packageCaches, "Yarn cache", kSafe, "yarn cache clean",
           "Downloaded Yarn packages."),
      rule(h, "/Library/Caches/Yarn", C::packageCaches, "Yarn cache", kSafe, "yarn cache clean",
           "Downloaded Yarn packages."),
      rule(h, "/Library/Caches/ms-playwright", C::packageCaches, "Playwright browsers", kSafe, none,
           "Browsers downloaded for Playwright tests. `npx playwright install` brings them back."),
      rule(h, "/Library/Caches/Homebrew", C::packageCaches, "Homebrew downloads", kSafe,
           "brew cleanup --prune=all", "Bottles and source archives Homebrew already installed."),
      rule(h, "/Library/Caches/CocoaPods", C::packageCaches, "CocoaPods cache", kSafe,
           "pod cache clean --all", "Downloaded pods."),
      rule(h, "/Library/Caches/org.swift.swiftpm", C::packageCaches, "SwiftPM cache", kSafe, none,
           "Downloaded Swift packages."),
      rule(h, "/Library/Caches/go-build", C::packageCaches, "Go build cache", kSafe,
           "go clean -cache", "Go build cache."),
      rule(h, "/go/pkg/mod", C::packageCaches, "Go module cache", kSafe, "go clean -modcache",
           "Downloaded Go modules."),
      rule(h, "/.gradle/caches", C::packageCaches, "Gradle caches", kSafe, none,
           "Downloaded dependencies and build caches for Gradle / Android."),
      rule(h, "/.gradle/wrapper/dists", C::packageCaches, "Gradle distributions", kSafe, none,
           "Gradle versions downloaded by wrapper scripts."),
      rule(h, "/.m2/repository", C::packageCaches, "Maven repository", kSafe, none,
           "Downloaded Maven dependencies."),
      rule(h, "/.cargo/registry", C::packageCaches, "Cargo registry", kSafe, none,
           "Downloaded Rust crates."),
      rule(h, "/Library/Caches/pip", C::python, "pip cache", kSafe, "pip3 cache purge",
           "Downloaded Python wheels."),
      rule(h, "/.cache/pip", C::python, "pip cache", kSafe, "pip3 cache purge",
           "Downloaded Python wheels."),
      rule(h, "/.cache/uv", C::python, "uv cache", kSafe, "uv cache clean", "Packages cached by uv."),
      rule(h, "/miniconda3/pkgs", C::python, "Conda package cache", kSafe, "conda clean --all",
           "Downloaded conda packages."),
      rule(h, "/anaconda3/pkgs", C::python, "Conda package cache", kSafe, "conda clean --all",
           "Downloaded conda packages."),
      rule(h, "/.cache/huggingface/hub/*", C::aiModels, "Hugging Face", kReview, none,
           "A model or dataset downloaded by transformers / diffusers. Downloaded again on next "
           "use."),
      rule(h, "/.lmstudio/models/*/*", C::aiModels, "LM Studio", kReview, none,
           "A local LLM downloaded in LM Studio."),
      rule(h, "/.cache/torch", C::aiModels, "PyTorch hub cache", kReview, none,
           "Model weights cached by torch.hub."),
      notTrashable(rule(h, "/.colima", C::containers, "Colima / Docker VM", kReview,
                        "docker system prune -a",
                        "The Linux VM disk that runs your containers. The command removes unused "
                        "images and stopped containers; it keeps volumes (your databases) unless "
                        "you add --volumes yourself.")),
      notTrashable(rule(h, "/Library/Containers/com.docker.docker", C::containers,
                        "Docker Desktop disk", kReview, "docker system prune -a",
                        "Docker Desktop's VM disk. Prune unused images (volumes are kept), then "
                        "shrink it in Docker \u203A Settings \u203A Resources.")),
      notTrashable(rule(h, "/Library/Group Containers/HUAQ24HBR6.dev.orbstack/data", C::containers,
                        "OrbStack disk", kReview, "docker system prune -a",
                        "OrbStack's Linux disk with your containers, images and machines. "
                        "OrbStack gives freed space back to macOS by itself; the command removes "
                        "unused images and stopped containers (volumes are kept).")),
      notTrashable(rule(h, "/.local/share/containers/podman/machine", C::containers,
                        "Podman machine disks", kReview, "podman system prune -a",
                        "The Linux VM disks Podman runs containers in. The command removes unused "
                        "images and stopped containers (volumes are kept); remove a whole machine "
                        "with podman machine rm.")),
      rule(h, "/.android/avd/*", C::containers, "Android emulator", kReview, none,
           "An Android Virtual Device disk with its installed apps and data."),
      notTrashable(rule(h, "/Library/Android/sdk/system-images", C::containers,
                        "Android system images", kReview, none,
                        "Emulator OS images. Remove versions you no longer test on in Android "
                        "Studio \u203A SDK Manager.")),
      rule(h, "/Library/Application Support/Claude/vm_bundles", C::containers, "Claude desktop VM",
           kReview, none,
           "The VM image Claude Desktop uses for sandboxed tasks. Downloaded again when needed."),
      rule(h, "/.codex/sessions", C::agents, "Codex session transcripts", kReview, none,
           "Saved transcripts of past Codex CLI sessions. Only needed to resume or search old "
           "sessions."),
      rule(h, "/Library/Caches/*", C::appCaches, "App cache", kSafe, none,
           "Temporary data an app keeps to load faster. Quit the app first; it rebuilds the "
           "cache."),
      rule(h, "/.cache/*", C::appCaches, "Tool cache", kSafe, none,
           "Cache folder of a command-line tool."),
      rule(h, "/Library/Containers/*/Data/Library/Caches", C::appCaches, "Sandboxed app cache",
           kSafe, none, "Cache inside an App Store app's container. Quit the app first."),
      rule(h, "/Library/Logs", C::logs, "Logs", kSafe, none, "Diagnostic logs written by apps."),
  };
  rules[0].tidyDerivedData = true;
  rules[41].minSize = 209'715'200;
  rules[43].skip = {"huggingface", "pip", "uv", "torch"};
  return rules;
}

std::vector<Rule> editorRules(const std::string& home) {
  struct Folder {
    std::string_view path;
    Safety safety;
    std::string_view detail;
  };
  static constexpr std::string_view kCacheDetail = "Editor cache, rebuilt automatically.";
  static const Folder kFolders[] = {
      {"Cache", kSafe, kCacheDetail},
      {"CachedData", kSafe, kCacheDetail},
      {"CachedExtensionVSIXs", kSafe, kCacheDetail},
      {"Code Cache", kSafe, kCacheDetail},
      {"GPUCache", kSafe, kCacheDetail},
      {"User/workspaceStorage", kReview,
       "Per-workspace editor state. Old workspaces are safe to remove."},
  };
  std::vector<Rule> rules;
  for (const char* editor : {"Code", "Cursor", "Windsurf", "Antigravity", "Kiro", "Zed"}) {
    for (const auto& folder : kFolders) {
      const std::string_view last = folder.path.substr(folder.path.rfind('/') + 1);
      rules.push_back(rule(home,
                           "/Library/Application Support/" + std::string(editor) + "/" +
                               std::string(folder.path),
                           C::appCaches, std::string(editor) + " " + std::string(last),
                           folder.safety, std::nullopt, std::string(folder.detail)));
    }
  }
  return rules;
}

std::vector<Rule> linuxRules(const std::string& h) {
  std::vector<Rule> rules = {
      rule(h, "/.var/app/*/cache", C::appCaches, "Flatpak app cache", kSafe, std::nullopt,
           "Temporary data of a Flatpak app. Quit the app first; it rebuilds the cache."),
      rule(h, "/.rustup/toolchains/*", C::buildOutput, "Rust toolchain", kReview,
           "rustup toolchain uninstall {name}",
           "A Rust toolchain installed by rustup. Projects that pin it download it again."),
      rule(h, "/.nvm/versions/node/*", C::javascript, "Node.js version", kReview,
           "nvm uninstall {name}",
           "A Node.js version installed with nvm. `nvm install` brings it back."),
      rule(h, "/.pyenv/versions/*", C::python, "Python version", kReview,
           "pyenv uninstall -f {name}",
           "A Python version built by pyenv. Virtual environments made from it stop working."),
      notTrashable(rule(h, "/.local/share/containers/storage", C::containers, "Podman storage",
                        kReview, "podman system prune -a",
                        "Rootless Podman's images, containers and volumes. The command removes "
                        "unused images and stopped containers; volumes are kept.")),
      notTrashable(rule(h, "/.docker/desktop/vms", C::containers, "Docker Desktop disk", kReview,
                        "docker system prune -a",
                        "Docker Desktop's VM disk. Prune unused images (volumes are kept), then "
                        "shrink it in Docker \u203A Settings \u203A Resources.")),
  };
  rules[0].nameFromEnd = 2;  // ~/.var/app/<app id>/cache is named after the app
  return rules;
}

}  // namespace tallyfin
