// A board that pages show live: it is looked at while there are pages, and each page is offered what changed.

#include "panel/live_board.hpp"
#include "board/settings_text.hpp"
#include "host/console_input.hpp"
#include "host/faults.hpp"
#include "host/inputs.hpp"
#include "panel/message.hpp"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <memory>

namespace dravik::sim {
namespace {

using namespace std::chrono_literals;

constexpr auto pause_while_changing = 29ms; ///< with the look, below the 33 ms of a frame
constexpr auto pause_at_rest = 40ms;
constexpr auto longest_pause = 250ms;
constexpr auto time_to_rest = 1s;
constexpr int share_at_rest = 150; ///< at rest, a look takes at most one part of so many of a core's time
constexpr size_t most_ordered = 200;

constexpr const char *followed[] = {"console", "events", "tmp/dravik.log", "sound/played.wav"};

std::string json_of(const application &shown) {
  constexpr const char *names[] = {"none", "running", "restarting", "ended"};
  return R"({"kind":"application","state":")" + std::string{names[static_cast<size_t>(shown.state())]} +
         R"(","status":)" + std::to_string(shown.status()) + R"(,"name":)" +
         message::json_string(shown.name()) + "}";
}

std::vector<std::string> words_of(std::string_view text) {
  std::vector<std::string> words;
  for (std::string_view word; !(word = take_word(text)).empty();)
    words.emplace_back(word);
  return words;
}

/// "on open /dev/fb0 EIO" or "off open /dev/fb0"; a line of `faults` may not begin as a comment does.
bool parse_fault(std::string_view text, bool &is_on, fault &ordered) {
  const std::vector<std::string> words = words_of(text);
  if (words.size() < 3 || words.size() > 4 || (words[0] != "on" && words[0] != "off") ||
      words[1].starts_with('#') || text.find('\n') != std::string_view::npos)
    return false;
  is_on = words[0] == "on";
  ordered = {words[1], words[2], words.size() > 3 ? words[3] : ""};
  return true;
}

} // namespace

void numbered_text::set(std::string changed) {
  if (number != 0 && changed == text)
    return;
  text = std::move(changed);
  ++number;
}

live_board::live_board(boost::asio::io_context &context, std::string board, sim::application &runs)
    : context_(context), timer_(context), board_(std::move(board)), runs_(runs), state_(board_) {
  look_at_application();
}

void live_board::add(board_page &page) {
  pages_.insert(&page);
  look_again_in(0ms);
}

void live_board::remove(board_page &page) {
  pages_.erase(&page);
}

void live_board::close_pages() {
  for (board_page *page : std::set<board_page *>{pages_})
    page->close();
}

void live_board::look_at_application() {
  application_text_.set(json_of(runs_));
  look_again_in(0ms);
}

bool live_board::look_at_screen() {
  std::string error;
  const bool is_read = read_screen_image(board_, fresh_, error);
  const uint32_t before = screen_error_.number;
  screen_error_.set(error);
  return (is_read && frames_.update(fresh_)) || screen_error_.number != before;
}

bool live_board::look_at_files() {
  uint64_t hash = 0;
  for (const char *inside : followed)
    add_file_mark(board_ + "/" + inside, hash);
  const bool has_grown = std::exchange(texts_seen_, hash) != hash;
  texts_number_ += has_grown ? 1 : 0;
  const bool has_changed = state_.look();
  if (has_changed)
    state_text_.set(state_.json());
  return has_grown || has_changed;
}

live_board::clock::duration live_board::pause_after(clock::duration cost, bool has_changed) {
  const clock::time_point now = clock::now();
  if (has_changed)
    last_change_ = now;
  if (now - last_change_ < time_to_rest)
    return std::max<clock::duration>(pause_while_changing, cost);
  return std::clamp<clock::duration>(cost * share_at_rest, pause_at_rest, longest_pause);
}

void live_board::look() {
  if (pages_.empty())
    return;
  const clock::time_point begin = clock::now();
  const bool files_changed = look_at_files();
  const bool has_changed = look_at_screen() || files_changed;
  const clock::duration cost = clock::now() - begin;
  for (board_page *page : std::set<board_page *>{pages_})
    page->offer();
  look_again_in(pause_after(cost, has_changed));
}

void live_board::look_again_in(clock::duration pause) {
  timer_.expires_after(pause);
  timer_.async_wait([this](const boost::system::error_code &error) {
    if (!error)
      look();
  });
}

/// The work is done elsewhere, one piece after the other.
void live_board::order(change work, const std::weak_ptr<board_page> &from) {
  const auto report = [from](const std::string &error) {
    if (const auto page = from.lock(); page != nullptr && !error.empty())
      page->report(error);
  };
  if (ordered_ >= most_ordered)
    return report("too many changes at a time");
  ++ordered_;
  boost::asio::post(changes_, [this, work = std::move(work), report] {
    std::string error;
    const bool is_done = work(error);
    boost::asio::post(context_, [this, report, error = is_done ? std::string{} : error] {
      --ordered_;
      report(error);
      look_again_in(0ms);
    });
  });
}

live_board::change live_board::change_of(std::string_view command, std::string_view rest) {
  if (command == "set" && !trimmed(rest).empty())
    return [board = board_, inputs = words_of(rest)](std::string &error) {
      return set_inputs(board, inputs, error) == inputs_result::done;
    };
  bool is_on;
  fault ordered;
  if (command == "fault" && parse_fault(rest, is_on, ordered))
    return [board = board_, is_on, ordered](std::string &error) {
      return is_on ? inject_fault(board, ordered, error) : remove_fault(board, ordered, error);
    };
  return {};
}

void live_board::obey(std::string_view command, const std::weak_ptr<board_page> &from) {
  std::string_view rest = command;
  const std::string_view verb = take_until(rest, ' ');
  std::string error;
  if (verb == "type")
    static_cast<void>(type_on_console(board_, rest, error));
  else if (verb == "start" && runs_.start(error))
    look_at_application();
  else if (change work = change_of(verb, rest))
    order(std::move(work), from);
  else if (error.empty() && verb != "start")
    error = "invalid command";
  if (const auto page = from.lock(); page != nullptr && !error.empty())
    page->report(error);
}

} // namespace dravik::sim
