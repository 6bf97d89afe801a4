#include "kit/platform/folder_watcher.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using namespace std::chrono_literals;
using platform::FolderWatcher;

// Counts the calls, which arrive on the watcher's thread.
struct Calls {
  std::mutex mutex;
  std::condition_variable changed;
  int count = 0;

  std::function<void()> callback() {
    return [this] {
      const std::lock_guard lock(mutex);
      ++count;
      changed.notify_all();
    };
  }
  // The count once it reached `wanted`, or after a generous wait.
  int waitFor(int wanted) {
    std::unique_lock lock(mutex);
    changed.wait_for(lock, 10s, [&] { return count >= wanted; });
    return count;
  }
  int now() {
    const std::lock_guard lock(mutex);
    return count;
  }
};

TEST(FolderWatcher, ABurstOfWritesGivesOneCall) {
  testing::TempFolder folder;
  Calls calls;
  const FolderWatcher watcher(folder.path(), calls.callback());
  ASSERT_TRUE(watcher.isWatching());
  for (int i = 0; i < 10; ++i) {  // ten writes within half a second
    std::ofstream(folder / ("report-" + std::to_string(i % 3) + ".json")) << i;
    std::this_thread::sleep_for(40ms);
  }
  EXPECT_EQ(calls.waitFor(1), 1);
  std::this_thread::sleep_for(1500ms);  // longer than the debounce: nothing else was due
  EXPECT_EQ(calls.now(), 1);

  // An atomic save (write beside, rename over) later is a second change.
  std::ofstream(folder / ".report.tmp") << "new";
  std::filesystem::rename(folder / ".report.tmp", folder / "report-0.json");
  EXPECT_EQ(calls.waitFor(2), 2);
}

TEST(FolderWatcher, NothingIsCalledAfterItGoes) {
  testing::TempFolder folder;
  Calls calls;
  {
    const FolderWatcher watcher(folder.path(), calls.callback());
    std::ofstream(folder / "history.json") << "[]";
  }  // gone before the debounce ran out
  std::this_thread::sleep_for(1s);
  EXPECT_EQ(calls.now(), 0);
}

TEST(FolderWatcher, AMissingFolderIsNotWatched) {
  testing::TempFolder folder;
  Calls calls;
  const FolderWatcher missing(folder / "nope", calls.callback());
  EXPECT_FALSE(missing.isWatching());
  testing::writeFile(folder / "file", 3);
  const FolderWatcher file(folder / "file", calls.callback());
  EXPECT_FALSE(file.isWatching());  // a file is not a folder
}

}  // namespace
}  // namespace tallyfin
