// A board for each test of the board tool, and the tool run on it.
#pragma once

#include "support/application.hpp"
#include "support/bytes.hpp"
#include "support/paths.hpp"
#include "support/program.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace dravik::ctl_test {

using test::words;

struct run_result {
  int status;
  std::string out;
  std::string err;
};

inline std::string text_of(const test::bytes &content) {
  return {content.begin(), content.end()};
}

class CtlTool : public testing::Test {
protected:
  run_result run(const words &given) const {
    test::application tool{board_, dravik_ctl_path, given};
    const int status = tool.finish();
    return {status, tool.output(), tool.errors()};
  }

  /// The output of a command, which must succeed.
  std::string checked_output(const words &given) const {
    const run_result result = run(given);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
  }

  /// The result of jq for the JSON output of a command, one object on one line.
  std::string asked(words given, const std::string &filter) const {
    given.emplace_back("--json");
    return checked_find(checked_output(given), filter);
  }

  std::string checked_find(const std::string &json, const std::string &filter) const {
    EXPECT_EQ(std::ranges::count(json, '\n'), 1) << json;
    EXPECT_TRUE(json.starts_with('{') && json.ends_with("}\n")) << json;
    board_.write("answer.json", json);
    EXPECT_EQ(test::run_program({"jq", "-cr", filter, board_.path("answer.json")}, board_.path("answer")), 0)
        << json;
    std::string answer = board_.read("answer");
    answer.resize(answer.find_last_not_of('\n') + 1);
    return answer;
  }

  /// Expect one line of complaint and nothing else.
  void expect_refusal(const words &given, int status, const std::string &line) const {
    const run_result result = run(given);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "dravik-ctl: " + line + "\n");
  }
  void expect_misuse(const words &given, const std::string &line) const { expect_refusal(given, 2, line); }

  /// Expect a line that ends with the hint at the command's help.
  void expect_usage_error(const words &given, const std::string &line) const {
    expect_misuse(given, given[0] + ": " + line + "; try 'dravik-ctl " + given[0] + " --help'");
  }

  /// Put a file on the board, and gives the name by which programs find it there.
  std::string put(const std::string &name, const std::string &content) const {
    board_.write("usr/local/dravik/" + name, content);
    return "/usr/local/dravik/" + name;
  }
  std::string put(const std::string &name, const test::bytes &content) const {
    return put(name, text_of(content));
  }

  test::board board_;
};

} // namespace dravik::ctl_test
