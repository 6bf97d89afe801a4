#include "kit/tools/page_cache_ledger.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "kit/platform/file_storage.h"

namespace tallyfin {

PageCacheLedger::~PageCacheLedger() { releaseAll(); }

std::vector<PageCacheLedger::Page>& PageCacheLedger::pagesOf(const std::string& path) {
  const std::lock_guard guard(lock_);
  return files_[path];  // map nodes stay put while other files are added
}

void PageCacheLedger::beforeRead(const std::string& path, int fd, int64_t offset, int64_t length) {
  if (length <= 0) return;
  const int64_t page = platform::cachePageSize();
  const auto first = static_cast<size_t>(offset / page);
  const auto last = static_cast<size_t>((offset + length - 1) / page);
  std::vector<Page>& pages = pagesOf(path);
  if (pages.size() <= last) pages.resize(last + 1, Page::unseen);
  const auto begin = pages.begin() + static_cast<long>(first);
  const auto end = pages.begin() + static_cast<long>(last) + 1;
  if (std::find(begin, end, Page::unseen) == end) return;  // this search has read it all before
  // Where the system can't tell, the pages count as brought in: dropped as before.
  const auto cached = platform::cachedPages(fd, offset, length);
  for (size_t i = first; i <= last; ++i) {
    if (pages[i] != Page::unseen) continue;
    pages[i] = cached && (*cached)[i - first] ? Page::wasCached : Page::broughtIn;
  }
}

void PageCacheLedger::drop(const std::string& path, const std::vector<Page>& pages) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) return;
  const int64_t page = platform::cachePageSize();
  // One call per run of pages brought in.
  for (size_t i = 0; i < pages.size();) {
    if (pages[i] != Page::broughtIn) {
      ++i;
      continue;
    }
    size_t run = i;
    while (run < pages.size() && pages[run] == Page::broughtIn) ++run;
    platform::releaseCache(fd, static_cast<int64_t>(i) * page, static_cast<int64_t>(run - i) * page);
    i = run;
  }
  ::close(fd);
}

void PageCacheLedger::release(const std::string& path) {
  std::vector<Page> pages;
  {
    const std::lock_guard guard(lock_);
    const auto it = files_.find(path);
    if (it == files_.end()) return;
    pages = std::move(it->second);
    files_.erase(it);
  }
  drop(path, pages);
}

void PageCacheLedger::releaseAll() {
  std::map<std::string, std::vector<Page>, std::less<>> files;
  {
    const std::lock_guard guard(lock_);
    files.swap(files_);
  }
  for (const auto& [path, pages] : files) drop(path, pages);
}

}  // namespace tallyfin
