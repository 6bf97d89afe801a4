#include "kit/update/curl_library.h"

#include <dlfcn.h>

#include <optional>

namespace tallyfin {
namespace {

template <class Function>
bool resolve(void* library, const char* name, Function& into) {
  into = reinterpret_cast<Function>(::dlsym(library, name));
  return into != nullptr;
}

std::optional<CurlLibrary> load() {
  // Kept loaded for the rest of the run: curl_global_cleanup is never called either.
  void* library = ::dlopen(TALLYFIN_CURL_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  if (!library) return std::nullopt;
  decltype(&curl_global_init) globalInit = nullptr;
  CurlLibrary curl{};
  const bool complete = resolve(library, "curl_global_init", globalInit) &&
                        resolve(library, "curl_easy_init", curl.easyInit) &&
                        resolve(library, "curl_easy_cleanup", curl.easyCleanup) &&
                        resolve(library, "curl_easy_setopt", curl.easySetopt) &&
                        resolve(library, "curl_easy_getinfo", curl.easyGetinfo) &&
                        resolve(library, "curl_easy_perform", curl.easyPerform) &&
                        resolve(library, "curl_easy_strerror", curl.easyStrerror) &&
                        resolve(library, "curl_url", curl.url) &&
                        resolve(library, "curl_url_set", curl.urlSet) &&
                        resolve(library, "curl_url_get", curl.urlGet) &&
                        resolve(library, "curl_url_cleanup", curl.urlCleanup) &&
                        resolve(library, "curl_free", curl.free);
  if (!complete || globalInit(CURL_GLOBAL_DEFAULT) != CURLE_OK) return std::nullopt;
  return curl;
}

}  // namespace

const CurlLibrary* curlLibrary() {
  static const std::optional<CurlLibrary> library = load();
  return library ? &*library : nullptr;
}

}  // namespace tallyfin
