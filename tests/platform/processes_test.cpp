#include "kit/platform/processes.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

TEST(StartApart, TheProgramRunsOnAfterThisProcessEnds) {
  testing::TempFolder folder;
  const std::string mark = folder / "started";
  // The child that starts it ends at once; the program still writes its mark later.
  ASSERT_TRUE(testing::runInParallelProcesses(1, [&](int) {
    ::unsetenv("INVOCATION_ID");
    const auto started = platform::startApart("/bin/sh", {"-c", "sleep 0.2; echo \"$0 $1\" > \"$2\"", "a b", "c", mark});
    return started.ok() ? 0 : 1;
  }));
  for (int waits = 0; waits < 100 && testing::readText(mark).empty(); ++waits) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  EXPECT_EQ(testing::readText(mark), "a b c\n");
}

TEST(StartApart, AMissingProgramSaysWhichOne) {
  EXPECT_TRUE(testing::runInParallelProcesses(1, [](int) {
    ::unsetenv("INVOCATION_ID");
    const auto started = platform::startApart("/nonexistent/tallyfin-app", {"--route", "cleanup"});
    return !started.ok() &&
                   started.error().message == "Could not start /nonexistent/tallyfin-app: No such file or directory."
               ? 0
               : 1;
  }));
}

}  // namespace
}  // namespace tallyfin
