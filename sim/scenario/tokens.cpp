// The words and quoted texts of a line.

#include "scenario/tokens.hpp"
#include "board/settings_text.hpp"
#include "host/printable_text.hpp"

#include <algorithm>

namespace dravik::sim::scenario {
namespace {

class line_reader {
public:
  line_reader(std::string_view line, problem &error) : line_(line), error_(error) {}

  bool read(std::vector<token> &tokens) {
    while (skip_blanks()) {
      token &next = tokens.emplace_back(token{{}, column_of(line_, at_), line_[at_] == '"'});
      if (!(next.is_quoted ? read_quoted(next.text) : read_word(next.text)))
        return false;
      next.end = at_;
    }
    return error_.text.empty();
  }

private:
  bool fail(size_t at, std::string text) {
    error_.column = column_of(line_, at);
    error_.text = std::move(text);
    return false;
  }

  /// Whether there is more than a comment.
  bool skip_blanks() {
    at_ = std::min(line_.find_first_not_of(" \t", at_), line_.size());
    return at_ < line_.size() && line_[at_] != '#';
  }

  bool read_word(std::string &word) {
    const size_t end = std::min(line_.find_first_of(" \t", at_), line_.size());
    word = line_.substr(at_, end - at_);
    const size_t quote = word.find('"');
    if (quote != std::string::npos)
      return fail(at_ + quote, "a quoted text must begin after a space");
    at_ = end;
    return true;
  }

  bool read_quoted(std::string &text) {
    const size_t begin = at_++;
    while (at_ < line_.size() && line_[at_] != '"')
      if (!read_character(text))
        return false;
    if (at_ == line_.size())
      return fail(begin, "missing closing quote");
    ++at_;
    if (at_ < line_.size() && blanks.find(line_[at_]) == std::string_view::npos)
      return fail(at_, "missing space after a quoted text");
    return true;
  }

  bool read_character(std::string &text) {
    if (line_[at_] != '\\') {
      text += line_[at_++];
      return true;
    }
    constexpr std::string_view escapes = "\"\\nrt", characters = "\"\\\n\r\t";
    const char letter = at_ + 1 < line_.size() ? line_[at_ + 1] : '\0';
    const size_t known = letter == '\0' ? std::string_view::npos : escapes.find(letter);
    if (known == std::string_view::npos)
      return fail(at_, R"(invalid escape; must be \", \\, \n, \r or \t)");
    text += characters[known];
    at_ += 2;
    return true;
  }

  std::string_view line_;
  problem &error_;
  size_t at_ = 0;
};

} // namespace

size_t column_of(std::string_view line, size_t byte) noexcept {
  return 1 + static_cast<size_t>(std::ranges::count_if(line.substr(0, byte), [](char each) {
           return (static_cast<unsigned char>(each) & 0xC0) != 0x80;
         }));
}

bool split_line(std::string_view line, std::vector<token> &tokens, problem &error) {
  const auto control = std::ranges::find_if(line, [](char each) { return is_control(each) && each != '\t'; });
  if (control == line.end())
    return line_reader{line, error}.read(tokens);
  error.column = column_of(line, static_cast<size_t>(control - line.begin()));
  error.text = "control character";
  return false;
}

} // namespace dravik::sim::scenario
