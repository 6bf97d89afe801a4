// `cmake --install` of this build into a temp prefix: the binary, its man page and
// the shell completions land in the standard places and work there.

#include <gtest/gtest.h>

#include "tests/cli/tallyfin_process.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

class Installed : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    prefix_ = new testing::TempFolder;
    installed_ = new testing::ProcessResult(
        testing::runProcess(TALLYFIN_CMAKE, {"--install", TALLYFIN_BUILD_DIR, "--prefix", prefix_->path()},
                            testing::homeEnvironment(prefix_->path())));
  }
  static void TearDownTestSuite() {
    delete installed_;
    delete prefix_;
  }
  void SetUp() override { ASSERT_EQ(installed_->exitCode, 0) << installed_->out << installed_->err; }

  static std::string at(const std::string& relative) { return *prefix_ / relative; }

  // `_tallyfin` run by bash on the words typed so far; what it offers, space-separated.
  static std::string bashOffers(const std::string& typed) {
    const auto run = testing::runShell("bash -c 'source " + at("share/bash-completion/completions/tallyfin") +
                                           "; COMP_WORDS=(" + typed + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); " +
                                           "_tallyfin; echo \"${COMPREPLY[*]}\"'",
                                       prefix_->path());
    EXPECT_EQ(run.err, "");
    return run.out.empty() ? run.out : run.out.substr(0, run.out.size() - 1);
  }

  static testing::TempFolder* prefix_;
  static testing::ProcessResult* installed_;
};

testing::TempFolder* Installed::prefix_ = nullptr;
testing::ProcessResult* Installed::installed_ = nullptr;

TEST_F(Installed, TheBinaryRunsFromThePrefix) {
  const auto version = testing::runProcess(at("bin/tallyfin"), {"--version"}, testing::homeEnvironment(at("")));
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_EQ(version.out, "tallyfin " TALLYFIN_VERSION "\n");
}

TEST_F(Installed, TheManPageRendersEveryCommand) {
  const std::string page = at("share/man/man1/tallyfin.1.gz");
  ASSERT_TRUE(testing::pathExists(page));
  const auto checked = testing::runShell("zcat " + page + " | groff -man -Tutf8 -ww -z", at(""));
  EXPECT_EQ(checked.exitCode, 0);
  EXPECT_EQ(checked.err, "") << "groff warns";
  const auto shown = testing::runShell("MANWIDTH=100 man -l " + page, at(""));
  ASSERT_EQ(shown.exitCode, 0) << shown.err;
  for (const char* text : {"NAME", "tallyfin - find what fills your disk", "SYNOPSIS", "tallyfin history",
                           "tallyfin undo [BATCH]", "tallyfin keep", "--no-scan", "EXIT STATUS", "trash-journal.json",
                           "tallyfin " TALLYFIN_VERSION}) {
    EXPECT_NE(shown.out.find(text), std::string::npos) << text << " missing from\n" << shown.out;
  }
}

TEST_F(Installed, BashCompletesCommandsOptionsAndChoicesAnywhere) {
  const auto loaded = testing::runShell(
      "bash -c 'source " + at("share/bash-completion/completions/tallyfin") + " && complete -p tallyfin'", at(""));
  EXPECT_EQ(loaded.out, "complete -F _tallyfin tallyfin\n") << loaded.err;
  EXPECT_EQ(bashOffers("tallyfin his"), "history");
  EXPECT_EQ(bashOffers("tallyfin --store /tmp/s un"), "undo");  // options before the command
  EXPECT_EQ(bashOffers("tallyfin connect claude-"), "claude-code claude-desktop");
  EXPECT_EQ(bashOffers("tallyfin schedule \"\""), "off daily weekly");
  EXPECT_EQ(bashOffers("tallyfin history --j"), "--json");
  EXPECT_EQ(bashOffers("tallyfin trash --t"), "");  // --top does not go with trash
  EXPECT_EQ(bashOffers("tallyfin --dup"), "--duplicates");
  EXPECT_EQ(bashOffers("tallyfin --duplicates --m"), "--min-size");
}

TEST_F(Installed, ZshAndFishCompletionsAreInTheirVendorFolders) {
  const std::string zsh = at("share/zsh/vendor-completions/_tallyfin");
  const std::string fish = at("share/fish/vendor_completions.d/tallyfin.fish");
  ASSERT_TRUE(testing::pathExists(zsh));
  ASSERT_TRUE(testing::pathExists(fish));
  EXPECT_EQ(testing::readText(zsh).rfind("#compdef tallyfin\n", 0), 0u);
  EXPECT_NE(testing::readText(fish).find("complete -c tallyfin -n 'not __fish_seen_subcommand_from"),
            std::string::npos);
  // Where the shells are installed, their own parsers must accept the scripts.
  for (const auto& [shell, script] : {std::pair{"/usr/bin/zsh", zsh}, std::pair{"/usr/bin/fish", fish}}) {
    if (!testing::pathExists(shell)) continue;
    const auto parsed = testing::runProcess(shell, {"-n", script}, testing::homeEnvironment(at("")));
    EXPECT_EQ(parsed.exitCode, 0) << shell << ": " << parsed.err;
  }
}

}  // namespace
}  // namespace tallyfin
