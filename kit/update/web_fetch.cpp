#include "kit/update/web_fetch.h"

#include <cmath>
#include <memory>

#include "kit/store/format.h"
#include "kit/update/curl_library.h"
#include "kit/update/fetch_address.h"
#include "kit/update/this_version.h"

namespace tallyfin {
namespace {

using Reason = FetchError::Reason;

struct Transfer {
  int64_t maxBytes;
  std::string body;
  bool overCap = false;
  const std::function<bool(int64_t)>* keepGoing = nullptr;
  bool cancelled = false;
};

int watch(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  auto& transfer = *static_cast<Transfer*>(user);
  if ((*transfer.keepGoing)(static_cast<int64_t>(transfer.body.size()))) return 0;
  transfer.cancelled = true;
  return 1;
}

// Bodies without an announced length are held to the cap as they arrive.
size_t receive(char* data, size_t size, size_t count, void* user) {
  auto& transfer = *static_cast<Transfer*>(user);
  const size_t bytes = size * count;
  if (static_cast<int64_t>(transfer.body.size() + bytes) > transfer.maxBytes) {
    transfer.overCap = true;
    return CURL_WRITEFUNC_ERROR;
  }
  transfer.body.append(data, bytes);
  return bytes;
}

// "the release feed" as the start of a sentence.
std::string sentenceStart(std::string text) {
  if (!text.empty() && text[0] >= 'a' && text[0] <= 'z')
    text[0] = static_cast<char>(text[0] - 'a' + 'A');
  return text;
}

std::string seconds(double value) {
  return std::to_string(static_cast<long>(std::ceil(value))) + " s";
}

FetchError explain(const CurlLibrary& library, CURLcode code, CURL* curl,
                   const Transfer& transfer, const FetchLimits& limits,
                   const std::string& what, const std::string& url) {
  const std::string at = what + " at " + url;
  if (transfer.cancelled) return {Reason::cancelled, "The download of " + at + " was cancelled."};
  if (transfer.overCap || code == CURLE_FILESIZE_EXCEEDED) {
    return {Reason::tooLarge, sentenceStart(at) + " is larger than " +
                                  Format::bytes(limits.maxBytes) + " — it was not kept."};
  }
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_CONNECT:
      return {Reason::unreachable, "Could not reach " + url + " for " + what +
                                       " — check the network connection and try again."};
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CONNECT_ERROR:
      return {Reason::untrusted, "The certificate of " + url +
                                     " could not be verified, so nothing was read from it — check "
                                     "the address and the system's clock."};
    case CURLE_OPERATION_TIMEDOUT:
      return {Reason::timedOut, sentenceStart(at) + " did not arrive within " +
                                    seconds(limits.seconds) +
                                    " — check the network connection and try again."};
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
      return {Reason::incomplete, sentenceStart(at) + " arrived incomplete — try again later."};
    case CURLE_HTTP_RETURNED_ERROR: {
      long status = 0;
      library.easyGetinfo(curl, CURLINFO_RESPONSE_CODE, &status);
      return {Reason::httpStatus, "The server answered HTTP " + std::to_string(status) + " for " +
                                      at + " — check the address, or try again later."};
    }
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_TOO_MANY_REDIRECTS: {
      char* next = nullptr;
      library.easyGetinfo(curl, CURLINFO_REDIRECT_URL, &next);
      return {Reason::redirect,
              sentenceStart(at) + " redirected to " +
                  (next ? std::string(next) : "another address") +
                  ", which is refused — updates follow redirects only to https addresses."};
    }
    default:
      return {Reason::other,
              "Could not fetch " + at + " (" + library.easyStrerror(code) +
                  ") — try again later."};
  }
}

}  // namespace

Expected<std::string, FetchError> fetchText(std::string_view url, const FetchLimits& limits,
                                            std::string_view what,
                                            const std::function<bool(int64_t)>& keepGoing) {
  const auto address = FetchAddress::check(url);
  if (!address) return fail(FetchError{Reason::refused, address.error().message});
  const CurlLibrary* library = curlLibrary();
  if (!library) return fail(FetchError{Reason::other, kCurlMissing});
  const auto setopt = library->easySetopt;
  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(library->easyInit(),
                                                                 library->easyCleanup);
  if (!curl) return fail(FetchError{Reason::other, "Could not start a download — try again."});
  CURL* handle = curl.get();
  Transfer transfer{limits.maxBytes, {}};
  const auto milliseconds = static_cast<long>(limits.seconds * 1000);
  setopt(handle, CURLOPT_URL, address->url.c_str());
  // Plain http only where the address check allowed it; redirects only to https.
  setopt(handle, CURLOPT_PROTOCOLS_STR, address->loopback ? "http,https" : "https");
  setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
  setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "https");
  setopt(handle, CURLOPT_MAXREDIRS, 5L);
  // This computer is never reached through a proxy.
  if (address->loopback) setopt(handle, CURLOPT_PROXY, "");
  setopt(handle, CURLOPT_NOSIGNAL, 1L);
  setopt(handle, CURLOPT_FAILONERROR, 1L);
  setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, milliseconds);
  if (limits.wholeTransfer) setopt(handle, CURLOPT_TIMEOUT_MS, milliseconds);
  setopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
  setopt(handle, CURLOPT_LOW_SPEED_TIME, static_cast<long>(std::ceil(limits.seconds)));
  setopt(handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(limits.maxBytes));
  const std::string agent = "Tallyfin/" + std::string(thisVersion());
  setopt(handle, CURLOPT_USERAGENT, agent.c_str());
  setopt(handle, CURLOPT_WRITEFUNCTION, &receive);
  setopt(handle, CURLOPT_WRITEDATA, &transfer);
  if (keepGoing) {
    transfer.keepGoing = &keepGoing;
    setopt(handle, CURLOPT_XFERINFOFUNCTION, &watch);
    setopt(handle, CURLOPT_XFERINFODATA, &transfer);
    setopt(handle, CURLOPT_NOPROGRESS, 0L);
  }
  const CURLcode code = library->easyPerform(handle);
  if (code != CURLE_OK) {
    return fail(explain(*library, code, handle, transfer, limits, std::string(what), address->url));
  }
  return std::move(transfer.body);
}

}  // namespace tallyfin
