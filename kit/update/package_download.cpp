#include "kit/update/package_download.h"

#include <openssl/evp.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "kit/base/paths.h"
#include "kit/base/atomic_file.h"
#include "kit/tools/file_facts.h"
#include "kit/update/web_fetch.h"

namespace tallyfin {
namespace {

// The last piece of the address's path, when it is a plain file name.
std::optional<std::string> fileNameOf(const std::string& url) {
  const std::string path = url.substr(0, url.find_first_of("?#"));
  const std::string name(lastComponent(path));
  const bool plain = !name.empty() && name.size() <= 200 && name[0] != '.' &&
                     std::all_of(name.begin(), name.end(), [](char c) {
                       return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
                              (c >= 'a' && c <= 'z') || c == '.' || c == '_' || c == '-' ||
                              c == '+' || c == '~';
                     });
  if (!plain) return std::nullopt;
  return name;
}

std::string sha256Of(std::string_view bytes) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_sha256(), nullptr);
  return FileFacts::hex({digest, length});
}

Status makeFolder(const std::string& folder) {
  std::error_code error;
  if (std::filesystem::create_directories(folder, error)) {
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
  }
  if (error) {
    return fail(
        Error{"Could not create " + folder + ": " + error.message() + " — check its permissions.",
              error.value()});
  }
  return ok();
}

// A regular file, not a link, of exactly this size and SHA-256.
bool matches(const std::string& path, int64_t size, const std::string& sha256) {
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_size != size)
    return false;
  return FileFacts::sha256(path) == sha256;
}

}  // namespace

Expected<DownloadedPackage, Error> DownloadedPackage::fetch(const ReleaseFeed& release,
                                                            const std::string& folder,
                                                            double timeoutSeconds,
                                                            std::function<bool(int64_t)> keepGoing) {
  const std::string& url = release.packageUrl;
  const auto name = fileNameOf(url);
  if (!name) {
    return fail(Error{"The signed release names the package " + url +
                      ", which does not end in a plain file name — nothing was downloaded."});
  }
  const std::string path = joinPath(folder, *name);
  if (matches(path, release.packageSize, release.packageSha256))
    return DownloadedPackage(path, release, true);

  const std::string size = std::to_string(release.packageSize) + " bytes";
  auto bytes = fetchText(url, {release.packageSize, timeoutSeconds, false}, "the package", keepGoing);
  if (!bytes) {
    if (bytes.error().reason == FetchError::Reason::tooLarge) {
      return fail(Error{"The package at " + url + " is larger than the " + size +
                        " the signed release names — it was not kept."});
    }
    return fail(Error{bytes.error().message});
  }
  if (static_cast<int64_t>(bytes->size()) != release.packageSize) {
    return fail(Error{"The package at " + url + " is " + std::to_string(bytes->size()) +
                      " bytes, not the " + size +
                      " the signed release names — it was not kept; try again later."});
  }
  if (sha256Of(*bytes) != release.packageSha256) {
    return fail(Error{
        "The package at " + url +
        " does not match the SHA-256 of the signed release — it was not kept; try again later."});
  }
  if (auto made = makeFolder(folder); !made) return fail(made.error());
  if (auto written = AtomicFile::write(*bytes, path, 0600); !written) return fail(written.error());
  return DownloadedPackage(path, release, false);
}

Status DownloadedPackage::stillIntact() const {
  if (matches(path_, size_, sha256_)) return ok();
  return fail(Error{
      path_ +
      " changed after it was verified — it was not handed to the installer; download it again."});
}

}  // namespace tallyfin
