// Parser of shell commands, as far as the board's own commands require.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace dravik::sim {

/// The name of a program without its directory.
constexpr std::string_view without_directory(std::string_view path) noexcept {
  path.remove_prefix(path.rfind('/') + 1); // npos + 1 is 0
  return path;
}

/// A simple command: a program and its arguments, with output dropped or not, in the background or
/// not. Anything else is rejected.
class shell_words {
public:
  static constexpr size_t most_words = 32;

  explicit shell_words(const char *command) noexcept;
  /// Arguments of a program to be started, which require no shell.
  explicit shell_words(std::span<const char *const> words) noexcept;

  /// Empty if the command was rejected.
  std::span<const char *const> words() const noexcept { return {words_, is_simple_ ? count_ : 0}; }
  /// The name of the program without its directory.
  std::string_view program() const noexcept;

  bool drops_output() const noexcept { return drops_output_; }
  bool drops_errors() const noexcept { return drops_errors_; }

private:
  bool take_words(char *text) noexcept;
  bool take_redirection(std::string_view word, std::string_view &rest) noexcept;

  static constexpr size_t longest_command = 1024;

  bool is_simple_ = false;
  bool drops_output_ = false;
  bool drops_errors_ = false;
  size_t count_ = 0;
  const char *words_[most_words];
  char text_[longest_command];
};

/// Match the words of a command with a pattern: `*` matches any word, `...` any number of words, which are
/// returned in `others`. The first word is compared without its directory.
bool matches(const shell_words &command, std::string_view pattern,
             std::span<const char *const> &others) noexcept;

} // namespace dravik::sim
