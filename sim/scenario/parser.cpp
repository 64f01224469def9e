// A scenario from its text.

#include "scenario/parser.hpp"
#include "board/board_table.hpp"
#include "board/fault_errors.hpp"
#include "board/settings_text.hpp"
#include "host/inputs.hpp"
#include "host/keys.hpp"
#include "scenario/arguments.hpp"

#include <algorithm>
#include <iterator>

namespace dravik::sim::scenario {
namespace {

bool take_source(arguments &given, text_source &source) {
  for (size_t i = 0; i < std::size(text_source_names); ++i)
    if (given.accept(text_source_names[i])) {
      source = static_cast<text_source>(i);
      return true;
    }
  return false;
}

bool take_expected(arguments &given, expected_picture &picture) {
  return given.take_picture(picture.file) && given.take_part(picture.part) &&
         (!given.accept("tolerance") || given.take_number("tolerance", 0, 255, picture.tolerance));
}

/// A path, and the text that the file contains.
bool take_file(arguments &given, bool is_wanted, file_condition &file) {
  file.is_wanted = is_wanted;
  return given.take_path(file.path) && (given.is_at_end() || given.take_text("text", file.text));
}

/// Make the step an action, filled by the rest of the arguments.
template <class Action, class Fill> bool make(step &made, Fill fill) {
  Action does{};
  const bool is_filled = fill(does);
  made.does = std::move(does);
  return is_filled;
}

// ------------------------------------------------------------------------------------------- time

bool parse_timeout(arguments &given, step &made) {
  return make<set_timeout>(made, [&](set_timeout &does) { return given.take_time(does.time); });
}

bool parse_wait_screen(arguments &given, step &made) {
  if (given.accept("change"))
    return make<wait_change>(made, [&](wait_change &does) { return given.take_part(does.part); });
  if (given.accept("still"))
    return make<wait_still>(
        made, [&](wait_still &does) { return given.take_time(does.time) && given.take_part(does.part); });
  return make<wait_picture>(made, [&](wait_picture &does) { return take_expected(given, does.picture); });
}

bool parse_wait_file(arguments &given, bool is_wanted, step &made) {
  return make<wait_file>(made, [&](wait_file &does) {
    return (given.accept("file") || given.reject_next("file")) && take_file(given, is_wanted, does.file);
  });
}

bool parse_wait(arguments &given, step &made) {
  text_source source;
  if (take_source(given, source))
    return make<wait_text>(made, [&](wait_text &does) {
      does.source = source;
      return given.take_text("text", does.text);
    });
  if (given.accept("screen"))
    return parse_wait_screen(given, made);
  if (const bool is_absent = given.accept("no"); is_absent || given.next_word() == "file")
    return parse_wait_file(given, !is_absent, made);
  if (given.accept("sound"))
    return make<wait_sound>(made, [](wait_sound &) { return true; });
  if (given.accept("silence"))
    return make<wait_silence>(made, [&](wait_silence &does) { return given.take_time(does.time); });
  if (given.is_at_end())
    return given.reject_next("a time, console, log, event, file, screen, sound, silence or no");
  return make<wait_time>(made, [&](wait_time &does) { return given.take_time(does.time); });
}

// ------------------------------------------------------------------------------------------- inputs

/// `key` and the value as one word of `dravik-sim set`.
bool make_input(arguments &given, const std::string &key, step &made) {
  return make<set_input>(made, [&](set_input &does) {
    std::string value;
    if (!given.take_word("value", value))
      return false;
    does.change = key + "=" + value;
    const std::string reason = why_invalid_input(does.change);
    return reason.empty() || given.reject_last(reason);
  });
}

bool parse_set(arguments &given, step &made) {
  std::string key;
  return given.take_word("key", key) && make_input(given, key, made);
}

bool parse_card(arguments &given, step &made) {
  return make_input(given, "card", made);
}

bool take_key(arguments &given, uint32_t &line) {
  std::string name;
  return given.take_word("key", name) &&
         (find_key_line(name, line) ||
          given.reject_last("invalid key '" + name + "'; must be next, ok or 0 to 255"));
}

bool is_key_next(const arguments &given) {
  uint32_t line;
  return !given.is_text_next() && find_key_line(given.next_word(), line);
}

bool take_keys(arguments &given, std::vector<uint32_t> &lines) {
  do
    if (!take_key(given, lines.emplace_back()))
      return false;
  while (is_key_next(given));
  return true;
}

bool take_reported(arguments &given, reported_text &reported) {
  return (take_source(given, reported.source) || given.reject_next("console, log or event")) &&
         given.take_text("text", reported.text);
}

bool parse_press(arguments &given, step &made) {
  return make<press_keys>(made, [&](press_keys &does) {
    if (!take_keys(given, does.lines))
      return false;
    if (given.accept("until"))
      return take_reported(given, does.until.emplace());
    return given.is_at_end() || given.take_time(does.time.emplace());
  });
}

bool parse_keys(arguments &given, step &made) {
  return make<set_key_texts>(made, [&](set_key_texts &does) {
    return (take_source(given, does.source) || given.reject_next("console, log or event")) &&
           given.take_text("text", does.pressed) && given.take_text("text", does.released);
  });
}

bool parse_hold(arguments &given, step &made) {
  return make<hold_key>(made, [&](hold_key &does) {
    does.is_down = true;
    return take_key(given, does.line);
  });
}

bool parse_release(arguments &given, step &made) {
  return make<hold_key>(made, [&](hold_key &does) { return take_key(given, does.line); });
}

bool is_known_request(std::string_view request) {
  return contains_word(common_requests, request) ||
         std::ranges::any_of(
             board_table, [=](const board_entry &entry) { return contains_word(entry.requests, request); });
}

bool take_request(arguments &given, fault &named) {
  return given.take_word("request", named.request) &&
         (is_known_request(named.request) || given.reject_last("unknown request '" + named.request + "'")) &&
         given.take_word("path", named.target);
}

bool take_error(arguments &given, std::string &error) {
  return given.is_at_end() ||
         (given.take_word("error", error) &&
          (std::ranges::find(fault_errors, error, &fault_error::name) != fault_errors.end() ||
           given.reject_last("unknown error '" + error + "'")));
}

bool parse_fault(arguments &given, step &made) {
  if (given.accept("none"))
    return make<remove_faults>(made, [&](remove_faults &does) {
      return given.is_at_end() || take_request(given, does.only.emplace());
    });
  return make<inject_fault>(made, [&](inject_fault &does) {
    return take_request(given, does.injected) && take_error(given, does.injected.error);
  });
}

bool parse_type(arguments &given, step &made) {
  return make<type_text>(made, [&](type_text &does) { return given.take_text("text", does.text); });
}

bool parse_write(arguments &given, step &made) {
  return make<write_file_of_board>(made, [&](write_file_of_board &does) {
    if (!given.take_path(does.path))
      return false;
    return given.is_text_next() ? given.take_text("text", does.text) : given.take_size(does.bytes);
  });
}

bool parse_remove(arguments &given, step &made) {
  return make<remove_file_of_board>(made,
                                    [&](remove_file_of_board &does) { return given.take_path(does.path); });
}

// ------------------------------------------------------------------------------------------- expectations

bool make_expect_text(arguments &given, presence wanted, step &made) {
  return make<expect_text>(made, [&](expect_text &does) {
    does.wanted = wanted;
    return (take_source(given, does.source) || given.reject_next("console, log or event")) &&
           given.take_text("text", does.text);
  });
}

bool parse_expect_sound(arguments &given, step &made) {
  return make<expect_level>(made, [&](expect_level &does) {
    does.is_above = given.accept("above");
    return (does.is_above || given.accept("below") || given.reject_next("above or below")) &&
           given.take_level(does.decibels);
  });
}

bool make_expect_file(arguments &given, bool is_wanted, step &made) {
  return make<expect_file>(made, [&](expect_file &does) { return take_file(given, is_wanted, does.file); });
}

bool parse_expect_no(arguments &given, step &made) {
  if (given.accept("sound"))
    return make<expect_no_sound>(made, [](expect_no_sound &) { return true; });
  if (given.accept("file"))
    return make_expect_file(given, false, made);
  return make_expect_text(given, presence::none, made);
}

bool parse_expect(arguments &given, step &made) {
  if (given.accept("never"))
    return make_expect_text(given, presence::never, made);
  if (given.accept("no"))
    return parse_expect_no(given, made);
  if (given.accept("file"))
    return make_expect_file(given, true, made);
  if (given.accept("sound"))
    return parse_expect_sound(given, made);
  if (given.accept("screen"))
    return make<expect_picture>(made,
                                [&](expect_picture &does) { return take_expected(given, does.picture); });
  text_source source;
  if (arguments ahead = given; !take_source(ahead, source))
    return given.reject_next("console, log, event, file, screen, sound, no or never");
  return make_expect_text(given, presence::some, made);
}

bool parse_shot(arguments &given, step &made) {
  return make<take_shot>(made, [&](take_shot &does) { return given.take_picture(does.file); });
}

bool parse_start(arguments &, step &made) {
  return make<start_application>(made, [](start_application &) { return true; });
}

bool parse_stop(arguments &, step &made) {
  return make<stop_application>(made, [](stop_application &) { return true; });
}

bool parse_end(arguments &given, step &made) {
  return make<end_of_application>(made, [&](end_of_application &does) {
    return !given.accept("status") || given.take_number("status", 0, 255, does.status);
  });
}

struct statement {
  std::string_view word;
  bool (*parse)(arguments &given, step &made);
};

constexpr statement statements[] = {
    {"timeout", parse_timeout}, {"wait", parse_wait}, {"set", parse_set},         {"keys", parse_keys},
    {"press", parse_press},     {"hold", parse_hold}, {"release", parse_release}, {"card", parse_card},
    {"fault", parse_fault},     {"type", parse_type}, {"write", parse_write},     {"remove", parse_remove},
    {"expect", parse_expect},   {"shot", parse_shot}, {"start", parse_start},     {"stop", parse_stop},
    {"end", parse_end},
};

bool parse_step(std::span<const token> tokens, size_t end_column, step &made, problem &error) {
  const auto *known = std::ranges::find(statements, tokens.front().text, &statement::word);
  if (tokens.front().is_quoted || known == std::end(statements)) {
    error.column = tokens.front().column;
    error.text = "unknown step '" + tokens.front().text + "'";
    return false;
  }
  arguments given{tokens.subspan(1), end_column, error};
  return known->parse(given, made) && given.take_end();
}

bool parse_line(std::string_view line, std::vector<step> &steps, problem &error) {
  std::vector<token> tokens;
  error.column = 1;
  if (line.size() > most_line_bytes)
    error.text = "line too long; must be at most " + std::to_string(most_line_bytes) + " bytes";
  else if (split_line(line, tokens, error) && !tokens.empty() && steps.size() == most_steps)
    error.text = "too many steps; must be at most " + std::to_string(most_steps);
  if (!error.text.empty() || tokens.empty())
    return error.text.empty();
  step made{error.line, std::string{trimmed(line.substr(0, tokens.back().end))}, {}};
  if (!parse_step(tokens, column_of(line, line.size()), made, error))
    return false;
  steps.push_back(std::move(made));
  return true;
}

} // namespace

bool parse(std::string_view text, std::vector<step> &steps, problem &error) {
  error = {1, 1, {}};
  if (text.size() > most_bytes)
    error.text = "scenario too long; must be at most 1 MiB";
  for (; error.text.empty() && !text.empty(); ++error.line) {
    std::string_view line = take_until(text, '\n');
    if (line.ends_with('\r'))
      line.remove_suffix(1);
    if (!parse_line(line, steps, error))
      return false;
  }
  return error.text.empty();
}

} // namespace dravik::sim::scenario
