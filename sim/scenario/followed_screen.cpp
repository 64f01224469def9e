// The screen of a board: whether it changes, and whether it is as pictures show it.

#include "scenario/followed_screen.hpp"
#include "host/board_directory.hpp"

#include <filesystem>

namespace dravik::sim::scenario {
namespace {

std::string size_text(uint32_t width, uint32_t height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

/// "menu.png" and "difference" make "menu-difference.png".
std::string beside(const std::string &file, const char *what) {
  return std::filesystem::path{file}.replace_extension().native() + "-" + what + ".png";
}

} // namespace

bool followed_screen::look() {
  error_.clear();
  return read_screen_image(board_, shown_, error_);
}

void followed_screen::begin() {
  if (look())
    reference_ = shown_;
}

bool followed_screen::is_still_for(std::chrono::milliseconds time, const std::optional<rectangle> &part) {
  const clock::time_point now = clock::now();
  if (!is_same(shown_, still_, part)) {
    still_ = shown_;
    still_since_ = now;
  }
  return now - still_since_ >= time;
}

bool followed_screen::expect(const expected_picture &picture) {
  wanted_ = picture;
  expected_ = {};
  error_.clear();
  std::error_code code;
  return !std::filesystem::exists(path(), code) || png::read(path(), expected_, error_);
}

png::picture followed_screen::shown_part() const {
  const png::picture all = picture_of(shown_);
  return wanted_.part ? cut_out(all, *wanted_.part) : all;
}

/// A picture of the whole screen also shows each part of it.
png::picture followed_screen::expected_part() const {
  return wanted_.part && is_of_screen() ? cut_out(expected_, *wanted_.part) : expected_;
}

followed_screen::verdict followed_screen::compare() {
  if (wanted_.part && !is_inside(*wanted_.part, shown_.width, shown_.height))
    return verdict_ = verdict::incomparable;
  if (expected_.rgba.empty())
    return verdict_ = verdict::missing;
  const rectangle part = wanted_.part.value_or(rectangle{0, 0, shown_.width, shown_.height});
  if (!is_of_screen() && (expected_.width != part.width || expected_.height != part.height))
    return verdict_ = verdict::incomparable;
  const bool is_same_picture =
      scenario::compare(shown_part(), expected_part(), wanted_.tolerance).pixels == 0;
  return verdict_ = is_same_picture ? verdict::same : verdict::different;
}

std::string followed_screen::explain() {
  if (wanted_.part && !is_inside(*wanted_.part, shown_.width, shown_.height))
    return "beyond the screen of " + size_text(shown_.width, shown_.height) + " pixels";
  if (verdict_ == verdict::missing)
    return "missing " + path() + "; --update makes it";
  if (verdict_ == verdict::incomparable)
    return "the picture has " + size_text(expected_.width, expected_.height) + " pixels, the screen " +
           size_text(shown_.width, shown_.height);
  return explain_difference();
}

std::string followed_screen::explain_difference() {
  const png::picture shown = shown_part();
  const png::picture expected = expected_part();
  const picture_difference found = scenario::compare(shown, expected, wanted_.tolerance);
  const std::string difference = output_ + "/" + beside(wanted_.file, "difference");
  const std::string now = output_ + "/" + beside(wanted_.file, "screen");
  std::string text = std::to_string(found.pixels) + " of " + size_text(shown.width, shown.height) +
                     " pixels differ, by up to " + std::to_string(found.greatest) + ", the first at " +
                     std::to_string(found.x) + "," + std::to_string(found.y);
  if (!save(show_difference(shown, expected, wanted_.tolerance), difference) || !save(shown, now))
    return text + "; " + error_;
  return text + "; see " + difference + " and " + now;
}

/// The picture of the whole screen stays one.
bool followed_screen::renew() {
  if (wanted_.part && !is_inside(*wanted_.part, shown_.width, shown_.height)) {
    error_ = explain();
    return false;
  }
  const bool is_whole = !wanted_.part || (is_of_screen() && !expected_.rgba.empty());
  return save(is_whole ? picture_of(shown_) : shown_part(), path());
}

bool followed_screen::save_shot(const std::string &file) {
  return look() && save(picture_of(shown_), output_ + "/" + file);
}

bool followed_screen::save(const png::picture &picture, const std::string &path) {
  return make_directory(std::filesystem::path{path}.parent_path(), error_) &&
         png::write(path, picture, error_);
}

} // namespace dravik::sim::scenario
