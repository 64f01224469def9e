// The arguments of a step, taken from the left.

#include "scenario/arguments.hpp"
#include "board/screen.hpp"
#include "board/settings_text.hpp"

#include <cmath>

namespace dravik::sim::scenario {
namespace {

constexpr double longest_time_ms = 3600e3;
constexpr double lowest_level = -90;
constexpr uint64_t largest_file = uint64_t{4095} << 20; ///< of FAT32, in whole MiB

/// Remove an ending from a text; return whether it had it.
bool drop_ending(std::string_view &text, std::string_view ending) {
  const bool has_ending = text.ends_with(ending);
  text.remove_suffix(has_ending ? ending.size() : 0);
  return has_ending;
}

/// Return a whole number of milliseconds, 0 if the text is not a time.
milliseconds time_of(std::string_view text) {
  const double factor = drop_ending(text, "ms")    ? 1
                        : drop_ending(text, "s")   ? 1e3
                        : drop_ending(text, "min") ? 60e3
                                                   : 0;
  double number = 0;
  if (!read_number(text, number, std::chars_format::fixed) || !(number * factor <= longest_time_ms))
    return milliseconds{0};
  return milliseconds{std::lround(std::max(number * factor, 0.))};
}

/// Two numbers with a separator, each of at least `least` and within the largest screen.
bool read_pair(std::string_view text, char separator, uint32_t least, uint32_t &first, uint32_t &second) {
  const std::string_view before = take_until(text, separator);
  return read_number(before, first) && read_number(text, second) && first >= least && second >= least &&
         first <= screen::longest_side && second <= screen::longest_side;
}

/// No path out of its directory, on one line.
bool stays_inside(std::string_view path) {
  if (path.find_first_of("\n\r\t") != std::string_view::npos)
    return false;
  while (!path.empty())
    if (take_until(path, '/') == "..")
      return false;
  return true;
}

bool is_picture(std::string_view file) {
  return file.ends_with(".png") && !file.starts_with('/') && stays_inside(file);
}

bool is_path(std::string_view path) {
  return path.starts_with('/') && !path.ends_with('/') && stays_inside(path);
}

/// Return a number of bytes, 0 if the text is not a size.
uint64_t size_of(std::string_view text) {
  const uint32_t unit = drop_ending(text, "KiB") ? 1U << 10 : drop_ending(text, "MiB") ? 1U << 20 : 0;
  uint32_t number = 0;
  return read_number(text, number) && uint64_t{number} * unit <= largest_file ? uint64_t{number} * unit : 0;
}

} // namespace

bool arguments::fail(size_t column, std::string text) {
  error_.column = column;
  error_.text = std::move(text);
  return false;
}

void arguments::pass() {
  last_column_ = tokens_.front().column;
  tokens_ = tokens_.subspan(1);
}

bool arguments::accept(std::string_view word) {
  const bool is_next = !tokens_.empty() && !tokens_.front().is_quoted && tokens_.front().text == word;
  if (is_next)
    pass();
  return is_next;
}

bool arguments::reject_next(const std::string &required) {
  if (tokens_.empty())
    return fail(end_column_, "missing " + required);
  return fail(tokens_.front().column, "invalid '" + tokens_.front().text + "'; must be " + required);
}

const token *arguments::next(const char *what, bool is_quoted) {
  if (tokens_.empty())
    fail(end_column_, std::string{"missing "} + what);
  else if (is_quoted != tokens_.front().is_quoted)
    fail(tokens_.front().column,
         std::string{what} + (is_quoted ? " must be in quotes" : " must not be in quotes"));
  else {
    const token *taken = &tokens_.front();
    pass();
    return taken;
  }
  return nullptr;
}

bool arguments::take_word(const char *what, std::string &word) {
  const token *taken = next(what, false);
  if (taken != nullptr)
    word = taken->text;
  return taken != nullptr;
}

bool arguments::take_text(const char *what, std::string &text) {
  const token *taken = next(what, true);
  if (taken == nullptr)
    return false;
  text = taken->text;
  return !text.empty() || reject_last(std::string{"empty "} + what);
}

bool arguments::take_time(milliseconds &time) {
  std::string word;
  if (!take_word("time", word))
    return false;
  time = time_of(word);
  return time.count() > 0 ||
         reject_last("invalid time '" + word + "'; must be 1ms to 60min, in ms, s or min");
}

bool arguments::take_level(double &decibels) {
  std::string word;
  if (!take_word("level", word))
    return false;
  std::string_view number = word;
  return (drop_ending(number, "dB") && read_number(number, decibels, std::chars_format::fixed) &&
          decibels >= lowest_level && decibels <= 0) ||
         reject_last("invalid level '" + word + "'; must be -90dB to 0dB");
}

bool arguments::take_number(const char *what, uint32_t least, uint32_t most, uint32_t &number) {
  std::string word;
  return take_word(what, word) && ((read_number(word, number) && number >= least && number <= most) ||
                                   reject_last("invalid " + std::string{what} + " '" + word + "'; must be " +
                                               std::to_string(least) + " to " + std::to_string(most)));
}

bool arguments::take_picture(std::string &file) {
  return take_text("file name", file) &&
         (is_picture(file) || reject_last("invalid file name '" + file +
                                          "'; must be a relative path to a .png file, without '..'"));
}

bool arguments::take_path(std::string &path) {
  return take_text("path", path) &&
         (is_path(path) ||
          reject_last("invalid path '" + path + "'; must be the absolute path of a file, without '..'"));
}

bool arguments::take_size(uint64_t &bytes) {
  std::string word;
  if (!take_word("size", word))
    return false;
  bytes = size_of(word);
  return bytes > 0 || reject_last("invalid size '" + word + "'; must be 1KiB to 4095MiB, in KiB or MiB");
}

bool arguments::take_part(std::optional<rectangle> &part) {
  if (!accept("in"))
    return true;
  std::string position;
  std::string size;
  rectangle &area = part.emplace();
  return take_word("position", position) &&
         (read_pair(position, ',', 0, area.x, area.y) ||
          reject_last("invalid position '" + position + "'; must be X,Y")) &&
         take_word("size", size) &&
         (read_pair(size, 'x', 1, area.width, area.height) ||
          reject_last("invalid size '" + size + "'; must be WIDTHxHEIGHT"));
}

bool arguments::take_end() {
  return tokens_.empty() || fail(tokens_.front().column, "unexpected '" + tokens_.front().text + "'");
}

} // namespace dravik::sim::scenario
