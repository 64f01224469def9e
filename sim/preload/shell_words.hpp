// A shell command taken apart, as far as the board's own commands need it.
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

/// The words of a simple command: a program and its arguments, with output thrown away or not, in the
/// background or not. Whatever needs more of a shell is not understood.
class shell_words {
public:
  static constexpr size_t most_words = 32;

  explicit shell_words(const char *command) noexcept;
  /// The words of a program that is to be started, which need no shell.
  explicit shell_words(std::span<const char *const> words) noexcept;

  /// Empty when the command is not understood.
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

/// Whether words are as a pattern has them: `*` stands for any word, `...` for any number of words, which
/// come back in `others`. The first word is compared without its directory.
bool matches(const shell_words &command, std::string_view pattern,
             std::span<const char *const> &others) noexcept;

} // namespace dravik::sim
