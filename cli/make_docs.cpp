// tallyfin-docs: writes the man page or a shell's completion script, made from the
// command table, for the build to install beside the binary.
// Usage: tallyfin-docs man|bash|zsh|fish OUTPUT

#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>

#include "cli/man_page.h"
#include "cli/shell_completions.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: tallyfin-docs man|bash|zsh|fish OUTPUT\n", stderr);
    return 64;
  }
  const std::string_view kind = argv[1];
  std::string text;
  if (kind == "man") {
    text = tallyfin::cli::manPage();
  } else if (kind == "bash") {
    text = tallyfin::cli::bashCompletion();
  } else if (kind == "zsh") {
    text = tallyfin::cli::zshCompletion();
  } else if (kind == "fish") {
    text = tallyfin::cli::fishCompletion();
  } else {
    std::fprintf(stderr, "tallyfin-docs: unknown kind %s\n", argv[1]);
    return 64;
  }
  std::ofstream out(argv[2], std::ios::binary | std::ios::trunc);
  out << text;
  out.close();
  if (!out) {
    std::fprintf(stderr, "tallyfin-docs: can't write %s\n", argv[2]);
    return 1;
  }
  return 0;
}
