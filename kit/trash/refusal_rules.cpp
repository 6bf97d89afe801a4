#include "kit/trash/refusal_rules.h"

#include <dirent.h>
#include <limits.h>
#include <stdlib.h>

#include <array>
#include <cctype>

#include "kit/base/paths.h"
#include "kit/base/text.h"
#include "kit/base/utf8.h"
#include "kit/platform/trash_location.h"
#include "kit/platform/user_folders.h"

namespace tallyfin::TrashRules {
namespace {

constexpr std::array<std::string_view, 20> kProtectedUnderHome = {
    "Desktop",
    "Documents",
    "Downloads",
    "Library",
    "Movies",
    "Music",
    "Pictures",
    "Public",
    "Applications",
    "Library/Caches",
    "Library/Application Support",
    "Library/Containers",
    "Library/Group Containers",
    "Library/Developer",
    "Library/Developer/Xcode",
    "Library/Developer/CoreSimulator",
    "Library/Developer/CoreSimulator/Devices",
    "Desktop/Projects",
    "Projects",
    "Developer",
};

constexpr std::string_view kPreferences = "Library/Preferences";

constexpr std::array<std::string_view, 57> kSensitiveTrees = {
    ".Trash", ".ssh", ".gnupg", ".config", ".aws", ".kube", ".docker/config.json", ".netrc",
    ".password-store",
    "Library/Keychains", "Library/Mail", "Library/Messages", "Library/Safari", "Library/Cookies",
    "Library/Accounts", kPreferences, "Library/Mobile Documents", "Library/CloudStorage",
    "Library/Photos", "Library/Calendars", "Library/Contacts",
    "Library/Application Support/AddressBook", "Library/Application Support/MobileSync",
    "Library/Group Containers/group.com.apple.notes", "Library/Containers/com.apple.mail",
    "Pictures/Photos Library.photoslibrary", "Library/Containers/com.apple.Safari",
    "Library/Containers/com.apple.Notes", "Library/Containers/com.apple.MobileSMS",
    "Library/Application Support/com.apple.TCC",
    "Library/Application Support/Google/Chrome", "Library/Application Support/Firefox",
    "Library/Application Support/BraveSoftware", "Library/Application Support/Arc",
    "Library/Application Support/1Password", "Library/Group Containers/2BUA8C4S2C.com.1password",
    "Library/Application Support/Bitwarden",
    "Library/Application Support/Tallyfin", "Library/Application Support/MossLedger",
    ".npmrc", ".yarnrc", ".yarnrc.yml", ".pypirc", ".git-credentials", ".gitconfig",
    ".cargo/credentials", ".cargo/credentials.toml", ".gem/credentials", ".terraform.d", ".azure",
    ".oci", ".vault-token", ".pgpass", ".my.cnf", ".orbstack/ssh", ".zsh_history",
    ".bash_history",
};

bool startsWithAny(std::string_view name, std::initializer_list<std::string_view> prefixes) {
  for (auto prefix : prefixes) {
    if (name.starts_with(prefix)) return true;
  }
  return false;
}

bool endsWithAny(std::string_view name, std::initializer_list<std::string_view> suffixes) {
  for (auto suffix : suffixes) {
    if (endsWith(name, suffix)) return true;
  }
  return false;
}

bool isAnyOf(std::string_view name, std::initializer_list<std::string_view> names) {
  for (auto candidate : names) {
    if (name == candidate) return true;
  }
  return false;
}

// The entry of `folder` that answers to `name`: the exact one, or on a file system
// that ignores case, the one spelled differently.
std::optional<std::string> storedName(const std::string& folder, std::string_view name) {
  DIR* directory = ::opendir(folder.c_str());
  if (!directory) return std::nullopt;
  const std::string wanted = lowercased(name);
  std::optional<std::string> exact, folded;
  while (const dirent* entry = ::readdir(directory)) {
    const std::string_view candidate(entry->d_name);
    if (candidate == name) {
      exact = std::string(candidate);
      break;
    }
    if (!folded && lowercased(candidate) == wanted) folded = std::string(candidate);
  }
  ::closedir(directory);
  return exact ? exact : folded;
}

}  // namespace

std::set<std::string, std::less<>> protectedPaths(const std::string& home) {
  std::set<std::string, std::less<>> paths;
  for (const char* path :
       {"/", "/Users", "/Applications", "/Library", "/System", "/private", "/usr", "/opt"}) {
    paths.insert(lowercased(path));
  }
  paths.insert(lowercased(home));
  for (auto under : kProtectedUnderHome) paths.insert(lowercased(home + "/" + std::string(under)));
  return paths;
}

std::vector<std::string> sensitiveTrees(const std::string& home, bool forAppLeftovers) {
  std::vector<std::string> trees;
  for (auto tree : kSensitiveTrees) {
    if (forAppLeftovers && tree == kPreferences) continue;
    trees.push_back(lowercased(home + "/" + std::string(tree)));
  }
  const std::string data = platform::applicationSupportFolder();
  trees.push_back(lowercased(platform::trashFolder(home)));
  trees.push_back(lowercased(data + "/Tallyfin"));
  trees.push_back(lowercased(data + "/MossLedger"));
  return trees;
}

bool isCredentialFile(std::string_view fileName) {
  const std::string name = lowercased(fileName);
  if (name == ".env") return true;
  if (name.starts_with(".env.") &&
      !isAnyOf(name, {".env.example", ".env.sample", ".env.template", ".env.dist"})) {
    return true;
  }
  if (isAnyOf(name, {".npmrc", ".pypirc", ".netrc", ".git-credentials", ".pgpass", ".envrc",
                     "credentials", "credentials.json", "credentials.toml",
                     "service-account.json"})) {
    return true;
  }
  if (startsWithAny(name, {"id_rsa", "id_ed25519", "id_ecdsa", "id_dsa"}) &&
      !endsWith(name, ".pub")) {
    return true;
  }
  return endsWithAny(name, {".pem", ".p12", ".p8", ".pfx", ".ppk", ".jks", ".keystore", ".kdbx",
                            ".keychain", ".keychain-db", ".asc", ".gpg"});
}

std::optional<std::string> canonical(const std::string& path) {
  const std::string parent(parentPath(path));
  const std::string_view name = lastComponent(path);
  if (parent.empty() || name.empty()) return std::nullopt;
  char resolved[PATH_MAX];
  if (!::realpath(parent.c_str(), resolved) || !isValidUtf8(resolved)) return std::nullopt;
  const auto stored = storedName(resolved, name);
  if (!stored) return std::nullopt;
  return joinPath(resolved, *stored);
}

}  // namespace tallyfin::TrashRules
