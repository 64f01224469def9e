// Parser of shell commands, as far as the board's own commands require.

#include "preload/shell_words.hpp"
#include "board/settings_text.hpp"

namespace dravik::sim {
namespace {

using word_list = std::span<const char *const>;

constexpr std::string_view characters_of_the_shell = ";|&`$\"'\\()<>*?[]{}~#!\n";
constexpr std::string_view nowhere = "/dev/null";

std::string_view without_background(std::string_view command) noexcept {
  command = trimmed(command);
  if (command.ends_with('&'))
    command.remove_suffix(1);
  return command;
}

bool match_rest(std::string_view pattern, word_list words, word_list &others) noexcept {
  const std::string_view part = take_word(pattern);
  if (part.empty())
    return words.empty();
  if (part != "...")
    return !words.empty() && (part == "*" || part == words[0]) &&
           match_rest(pattern, words.subspan(1), others);
  for (size_t taken = 0; taken <= words.size(); ++taken)
    if (match_rest(pattern, words.subspan(taken), others)) {
      others = words.first(taken);
      return true;
    }
  return false;
}

} // namespace

shell_words::shell_words(const char *command) noexcept {
  const std::string_view kept = without_background(command);
  if (kept.size() >= sizeof text_)
    return;
  *std::copy(kept.begin(), kept.end(), text_) = '\0';
  is_simple_ = take_words(text_) && count_ > 0;
}

shell_words::shell_words(word_list words) noexcept
    : is_simple_(words.size() <= most_words), count_(is_simple_ ? words.size() : 0) {
  std::copy_n(words.begin(), count_, words_);
}

bool shell_words::take_words(char *text) noexcept {
  std::string_view rest{text};
  while (true) {
    const std::string_view word = take_word(rest);
    if (word.empty())
      return true;
    if (word.find('>') != word.npos) {
      if (!take_redirection(word, rest))
        return false;
      continue;
    }
    if (count_ == most_words || word.find_first_of(characters_of_the_shell) != word.npos)
      return false;
    words_[count_++] = word.data();
    const size_t end = static_cast<size_t>(word.data() - text) + word.size();
    text[end] = '\0';
    rest = rest.empty() ? rest : std::string_view{text + end + 1};
  }
}

bool shell_words::take_redirection(std::string_view word, std::string_view &rest) noexcept {
  std::string_view to = word;
  const std::string_view from = take_until(to, '>');
  if (from == "2" && to == "&1") {
    drops_errors_ = drops_output_;
    return true;
  }
  const bool is_of_both = from == "&" || to.starts_with('&');
  to.remove_prefix(std::min(to.find_first_not_of(">&"), to.size()));
  if (to.empty())
    to = take_word(rest);
  drops_output_ = drops_output_ || from != "2";
  drops_errors_ = drops_errors_ || from == "2" || is_of_both;
  return to == nowhere && (from.empty() || from == "1" || from == "2" || from == "&");
}

std::string_view shell_words::program() const noexcept {
  return words().empty() ? "" : without_directory(words_[0]);
}

bool matches(const shell_words &command, std::string_view pattern, word_list &others) noexcept {
  others = {};
  return !command.words().empty() && take_word(pattern) == command.program() &&
         match_rest(pattern, command.words().subspan(1), others);
}

} // namespace dravik::sim
