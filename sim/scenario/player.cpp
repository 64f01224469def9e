// A scenario played on a board.

#include "scenario/player.hpp"
#include "common/files.hpp"
#include "common/tool.hpp"
#include "host/board_directory.hpp"
#include "host/console_input.hpp"
#include "host/faults.hpp"
#include "host/inputs.hpp"
#include "host/keys.hpp"
#include "host/printable_text.hpp"
#include "scenario/board_file.hpp"
#include "scenario/parser.hpp"
#include "scenario/report.hpp"

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace dravik::sim::scenario {
namespace {

using namespace std::chrono_literals;

constexpr milliseconds usual_timeout = 5s;
constexpr auto pause_of_screen = 10ms;    ///< stores to frame buffer memory wake nobody
constexpr auto pause_of_files = 100ms;    ///< in case a change of a file was not reported
constexpr milliseconds still_enough = 1s; ///< for an expected picture to be renewed
constexpr size_t longest_shown = 200;

std::string text_of_time(milliseconds time) {
  return time % 1s == 0s ? std::to_string(time / 1s) + "s" : std::to_string(time.count()) + "ms";
}

std::string text_of_level(double decibels) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1fdB", decibels);
  return text;
}

std::string quotation(std::string_view line) {
  return std::string{"'"}.append(printable(line.substr(0, longest_shown))).append("'");
}

std::string directory_of(const std::string &file) {
  const std::string directory = std::filesystem::path{file}.parent_path();
  return directory.empty() ? "." : directory;
}

} // namespace

bool load(const std::string &file, std::vector<step> &steps, bool &is_invalid, std::string &error) {
  std::vector<uint8_t> bytes;
  is_invalid = false;
  if (!tools::read_file(file, bytes, error))
    return false;
  problem found;
  is_invalid = !parse({reinterpret_cast<const char *>(bytes.data()), bytes.size()}, steps, found);
  if (is_invalid)
    error = file + ":" + std::to_string(found.line) + ":" + std::to_string(found.column) + ": " + found.text;
  return !is_invalid;
}

player::player(const play_request &request, std::vector<step> steps, run_session &session)
    : request_(request), steps_(std::move(steps)), session_(session),
      timeout_(usual_timeout), texts_{followed_text{request.board, "console"},
                                      followed_text{request.board, "tmp/dravik.log"},
                                      followed_text{request.board, "events"}},
      sound_(request.board), screen_(request.board, directory_of(request.file),
                                     request.output.empty() ? directory_of(request.file) : request.output) {
  begin_input();
}

bool player::play(std::string &error) {
  is_started_ = std::ranges::none_of(
      steps_, [](const step &each) { return std::holds_alternative<start_application>(each.does); });
  if (is_started_ && !session_.start(error))
    return false;
  const bool has_passed = play_steps() && check_end();
  if (!session_.end())
    tools::warn("the application did not end within 5s after SIGTERM; it was killed");
  error = failure_;
  std::string report_error;
  const bool is_reported = write_report(report_error);
  if (error.empty())
    error = report_error;
  return has_passed && is_reported;
}

bool player::play_steps() {
  for (const step &next : steps_) {
    const clock::time_point begin = clock::now();
    const bool has_passed = perform(next);
    seconds_.push_back(std::chrono::duration<double>(clock::now() - begin).count());
    if (!has_passed) {
      failure_ = request_.file + ":" + std::to_string(next.line) + ": " + next.text + ": " + failure_;
      return false;
    }
  }
  return true;
}

bool player::perform(const step &next) {
  look();
  if (session_.is_interrupted())
    return fail("interrupted");
  return std::visit([this](const auto &does) { return play(does); }, next.does);
}

bool player::fail(std::string reason) {
  failure_ = std::move(reason);
  return false;
}

/// An end that no step awaits is a failure if the application failed.
bool player::check_end() {
  look();
  const sim::application &played = session_.application();
  if (played.state() != application_state::ended || is_stopped_ || is_end_seen_ || played.status() == 0)
    return true;
  return fail(request_.file + ": " + end_text());
}

bool player::write_report(std::string &error) const {
  if (request_.junit.empty())
    return true;
  const std::string text = junit_of({request_.file, steps_, seconds_, failure_});
  if (!make_directory(directory_of(request_.junit), error))
    return false;
  tools::pending_file file{request_.junit};
  return file.write({reinterpret_cast<const uint8_t *>(text.data()), text.size()}, error) &&
         file.commit(error);
}

// ------------------------------------------------------------------------------------------- waiting

void player::look() {
  session_.look();
  for (followed_text &text : texts_)
    text.look();
  sound_.look();
}

/// What comes from now on may be the answer to an input.
void player::begin_input() {
  sound_.look();
  sound_.begin();
  screen_.begin();
}

/// `last_seen` describes what there is instead.
template <class Condition, class Describe>
bool player::await(look_at what, Condition holds, Describe last_seen) {
  const clock::time_point deadline = clock::now() + timeout_;
  while (true) {
    session_.look();
    const bool has_ended = session_.has_ended();
    const clock::time_point now = clock::now();
    look();
    if (holds())
      return true;
    if (!failure_.empty())
      return false;
    if (session_.is_interrupted())
      return fail("interrupted");
    if (has_ended)
      return fail(end_text() + last_seen());
    if (now >= deadline)
      return fail("not within " + text_of_time(timeout_) + last_seen());
    session_.wait_until(
        std::min(deadline, now + (what == look_at::screen ? pause_of_screen : pause_of_files)));
  }
}

bool player::pass_until(clock::time_point time) {
  while (look(), clock::now() < time) {
    if (session_.is_interrupted())
      return fail("interrupted");
    if (session_.has_ended() && !is_stopped_ && !is_end_seen_)
      return fail(end_text());
    session_.wait_until(time);
  }
  return true;
}

bool player::pass_time(milliseconds time) {
  return pass_until(clock::now() + time);
}

std::string player::end_text() const {
  const int status = session_.application().status();
  constexpr int signal_status = 128;
  return "the application ended with exit status " + std::to_string(status) +
         (status > signal_status ? ", signal " + std::to_string(status - signal_status) : "");
}

bool player::play(const set_timeout &does) {
  timeout_ = does.time;
  return true;
}

bool player::play(const wait_time &does) {
  return pass_time(does.time);
}

std::string player::last_line_of(text_source source) {
  const std::string line = text_of(source).last_line();
  return line.empty() ? "; nothing came" : "; last line: " + quotation(line);
}

bool player::play(const wait_text &does) {
  followed_text &text = text_of(does.source);
  return await(
      look_at::files, [&] { return text.find_next(does.text); },
      [&] {
        return (text.has_ever(does.text) ? "; it came earlier: " + quotation(text.line_with(does.text, true))
                                         : "") +
               last_line_of(does.source);
      });
}

// ------------------------------------------------------------------------------------------- inputs

bool player::play(const set_input &does) {
  begin_input();
  std::string error;
  if (set_inputs(request_.board, {&does.change, 1}, error) != inputs_result::done)
    return fail(error);
  if (!error.empty())
    tools::warn(error);
  return true;
}

bool player::set_line(uint32_t line, bool is_high) {
  std::string error;
  return set_gpio_line(request_.board, line, is_high, error) || fail(error);
}

bool player::play(const set_key_texts &does) {
  key_texts_ = does;
  return true;
}

/// The report does not move the place from which the text is awaited.
bool player::set_key(uint32_t line, bool is_down) {
  if (!key_texts_)
    return set_line(line, is_down);
  followed_text &text = text_of(key_texts_->source);
  const std::string &report = is_down ? key_texts_->pressed : key_texts_->released;
  text.look();
  const uint64_t place = text.end();
  return set_line(line, is_down) &&
         await(
             look_at::files, [&] { return text.has_since(place, report); },
             [&] { return "; no report " + quotation(report) + last_line_of(key_texts_->source); });
}

/// An application that polls its keys sees a key released before it is pressed again.
bool player::press_down(uint32_t line) {
  const auto released = released_.find(line);
  if (!key_texts_ && released != released_.end() && !pass_until(released->second + usual_press))
    return false;
  begin_input();
  return set_key(line, true);
}

bool player::release(uint32_t line) {
  released_[line] = clock::now();
  return set_key(line, false);
}

bool player::keep_down(const press_keys &does) {
  if (does.until)
    return play(wait_text{does.until->source, does.until->text});
  return pass_time(does.time.value_or(key_texts_ ? 0ms : usual_press));
}

bool player::play(const press_keys &does) {
  return std::ranges::all_of(
      does.lines, [&](uint32_t line) { return press_down(line) && keep_down(does) && release(line); });
}

bool player::play(const hold_key &does) {
  if (does.is_down)
    return press_down(does.line);
  begin_input();
  return release(does.line);
}

bool player::play(const inject_fault &does) {
  begin_input();
  std::string error;
  return sim::inject_fault(request_.board, does.injected, error) || fail(error);
}

bool player::play(const remove_faults &does) {
  begin_input();
  std::string error;
  const bool is_done =
      does.only ? remove_fault(request_.board, *does.only, error) : remove_all_faults(request_.board, error);
  return is_done || fail(error);
}

/// The application may not have opened the port yet.
bool player::play(const type_text &does) {
  begin_input();
  std::string error;
  return await(
      look_at::files,
      [&] {
        const typing_result typed = type_on_console(request_.board, does.text, error);
        return typed == typing_result::done || (typed == typing_result::failed && fail(error));
      },
      [&] { return "; " + error; });
}

bool player::play(const write_file_of_board &does) {
  begin_input();
  std::string error;
  return write_board_file(request_.board, does, error) || fail(error);
}

bool player::play(const remove_file_of_board &does) {
  begin_input();
  std::string error;
  return remove_board_file(request_.board, does.path, error) || fail(error);
}

// ------------------------------------------------------------------------------------------- texts and sound

bool player::play(const wait_file &does) {
  return await(
      look_at::files, [&] { return is_as_wanted(request_.board, does.file); },
      [&] { return "; " + describe_file(request_.board, does.file); });
}

bool player::play(const expect_file &does) {
  return is_as_wanted(request_.board, does.file) || fail(describe_file(request_.board, does.file));
}

bool player::play(const expect_text &does) {
  const followed_text &text = text_of(does.source);
  const bool is_of_all = does.wanted == presence::never;
  const bool is_there = is_of_all ? text.has_ever(does.text) : text.has(does.text);
  if (does.wanted == presence::some)
    return is_there ||
           fail((text.has_ever(does.text) ? "it came before what was awaited last" : "it did not come") +
                last_line_of(does.source));
  return !is_there || fail("it came: " + quotation(text.line_with(does.text, is_of_all)));
}

bool player::play(const wait_sound &) {
  return await(
      look_at::files, [&] { return sound_.find_sound(); }, [] { return "; nothing was played"; });
}

bool player::play(const wait_silence &does) {
  const bool is_silent = await(
      look_at::files, [&] { return sound_.is_silent_for(does.time); },
      [&] { return "; the level of the sound is " + text_of_level(sound_.level_decibels()); });
  sound_.begin_search();
  return is_silent;
}

bool player::play(const expect_level &does) {
  const double level = sound_.level_decibels();
  return (does.is_above ? level > does.decibels : level < does.decibels) ||
         fail("the level is " + text_of_level(level));
}

bool player::play(const expect_no_sound &) {
  return !sound_.has_sound() || fail("the level is " + text_of_level(sound_.level_decibels()));
}

// ------------------------------------------------------------------------------------------- the screen

bool player::play(const wait_change &does) {
  const bool is_seen = await(
      look_at::screen, [&] { return screen_.look() && screen_.has_changed(does.part); },
      [&] { return "; " + (screen_.error().empty() ? "the screen is the same" : screen_.error()); });
  screen_.begin();
  return is_seen;
}

bool player::play(const wait_still &does) {
  screen_.begin_stillness();
  return await(
      look_at::screen, [&] { return screen_.look() && screen_.is_still_for(does.time, does.part); },
      [&] { return "; " + (screen_.error().empty() ? "the screen changes" : screen_.error()); });
}

bool player::renew_picture() {
  if (!screen_.renew())
    return fail(screen_.error());
  std::printf("%s\n", screen_.path().c_str());
  return true;
}

/// A picture that is to be renewed is one of a screen that stands still.
bool player::play(const wait_picture &does) {
  using verdict = followed_screen::verdict;
  if (!screen_.expect(does.picture))
    return fail(screen_.error());
  screen_.begin_stillness();
  verdict found = verdict::missing;
  const auto is_shown = [&] {
    if (!screen_.look())
      return false;
    const bool is_still = screen_.is_still_for(request_.updates ? still_enough : 0ms, does.picture.part);
    found = screen_.compare();
    if (found == verdict::same || (request_.updates && is_still))
      return true;
    return !request_.updates && found != verdict::different && fail(screen_.explain());
  };
  if (!await(look_at::screen, is_shown,
             [&] { return "; " + (screen_.error().empty() ? screen_.explain() : screen_.error()); }))
    return false;
  return found == verdict::same || renew_picture();
}

bool player::play(const expect_picture &does) {
  if (!screen_.expect(does.picture) || !screen_.look())
    return fail(screen_.error());
  if (screen_.compare() == followed_screen::verdict::same)
    return true;
  return request_.updates ? renew_picture() : fail(screen_.explain());
}

bool player::play(const take_shot &does) {
  return screen_.save_shot(does.file) || fail(screen_.error());
}

// ------------------------------------------------------------------------------------------- the end

bool player::needs_application() {
  return session_.application().state() != application_state::none ||
         fail(is_started_ ? "the scenario was played without an application"
                          : "the application has not been started");
}

bool player::play(const start_application &) {
  const application_state state = session_.application().state();
  if (state == application_state::running || state == application_state::restarting)
    return fail("the application runs");
  begin_input();
  is_started_ = true;
  is_stopped_ = is_end_seen_ = false;
  std::string error;
  return session_.start(error) ? needs_application() : fail(error);
}

bool player::play(const stop_application &) {
  if (!needs_application())
    return false;
  begin_input();
  session_.stop();
  is_stopped_ = true;
  return true;
}

bool player::play(const end_of_application &does) {
  const auto has_ended = [&] { return session_.has_ended(); };
  if (!needs_application() || !await(look_at::files, has_ended, [] { return "; the application runs"; }))
    return false;
  is_end_seen_ = true;
  return session_.application().status() == static_cast<int>(does.status) || fail(end_text());
}

} // namespace dravik::sim::scenario
