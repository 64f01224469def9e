// What a text file of a board has gained since a scenario began.

#include "scenario/followed_text.hpp"

namespace dravik::sim::scenario {
namespace {

constexpr std::string_view line_ends = "\r\n";
constexpr std::string_view not_shown = " \t\r\n";

std::string line_around(std::string_view text, size_t at) {
  const size_t before = text.find_last_of(line_ends, at);
  const size_t begin = before == std::string_view::npos ? 0 : before + 1;
  return std::string{text.substr(begin, text.find_first_of(line_ends, at) - begin)};
}

} // namespace

followed_text::followed_text(std::string board, std::string inside)
    : file_(std::move(board), std::move(inside), 0) {
  look();
}

void followed_text::look() {
  for (std::string part; !(part = file_.next(block_bytes)).empty();)
    text_ += part;
  if (text_.size() <= most_bytes)
    return;
  const size_t dropped = text_.size() - most_bytes / 2;
  text_.erase(0, dropped);
  found_end_ -= std::min(found_end_, dropped);
  dropped_ += dropped;
}

bool followed_text::find_next(std::string_view text) {
  const size_t found = text_.find(text, found_end_);
  if (found != std::string::npos)
    found_end_ = found + text.size();
  return found != std::string::npos;
}

std::string followed_text::last_line() const {
  const size_t end = text_.find_last_not_of(not_shown);
  return end == std::string::npos ? "" : line_around(text_, end);
}

std::string followed_text::line_with(std::string_view text, bool is_of_all) const {
  const size_t found = text_.find(text, is_of_all ? 0 : found_end_);
  return found == std::string::npos ? "" : line_around(text_, found);
}

} // namespace dravik::sim::scenario
