// The command line of `dravik-sim run`.

#include "launcher/run_request.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

namespace dravik::sim {
namespace {

constexpr std::pair<std::string_view, bool run_request::*> switches[] = {
    {"--explain", &run_request::explains},
    {"--trust", &run_request::trusts},
    {"--local-sockets", &run_request::has_local_sockets},
};

/// Take one option off the front, or the board. Return false at the application.
bool take_word(arguments &rest, run_request &request, std::string &error) {
  const std::string_view word = rest[0];
  const auto *known =
      std::ranges::find(switches, word, &std::pair<std::string_view, bool run_request::*>::first);
  size_t taken = 1;
  if (known != std::end(switches)) {
    request.*known->second = true;
  } else if (word == "--writable" && rest.size() > 1) {
    request.writable.emplace_back(rest[1]);
    taken = 2;
  } else if (word.starts_with('-')) {
    error = std::string{word} + ": not understood; 'dravik-sim run --help' tells";
  } else if (request.board.empty()) {
    request.board = word;
  } else {
    return false;
  }
  rest = rest.subspan(taken);
  return error.empty();
}

} // namespace

bool read_request(arguments given, run_request &request, std::string &error) {
  const std::string_view end = "--";
  while (!given.empty() && given[0] != end && take_word(given, request, error)) {
  }
  request.application = given.subspan(!given.empty() && given[0] == end ? 1 : 0);
  if (error.empty() && request.board.empty())
    error = "which board? 'dravik-sim run --help' tells";
  if (error.empty() && request.application.empty() && !request.explains)
    error = "which application? 'dravik-sim run --help' tells";
  return error.empty();
}

} // namespace dravik::sim
