// Scenarios played on a board of the test, with a guest that obeys lines on its serial port.
#pragma once

#include "png/png_file.hpp"
#include "sim/launcher.hpp"
#include "support/board.hpp"
#include "support/paths.hpp"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace dravik::test {

class ScenarioStage : public testing::Test {
protected:
  static constexpr uint32_t width = 64, height = 48;

  ScenarioStage() { ::mkdtemp(directory_.data()); }
  ~ScenarioStage() override {
    std::error_code code;
    std::filesystem::remove_all(directory_, code);
  }

  std::string at(const std::string &name) const { return directory_ + "/" + name; }
  bool exists(const std::string &name) const { return std::filesystem::exists(at(name)); }
  std::string scenario() const { return at("drive.scenario"); }
  void write(const std::string &name, const std::string &text) const { std::ofstream{at(name)} << text; }
  std::string text_of(const std::string &name) const {
    std::ifstream file{at(name)};
    return {std::istreambuf_iterator<char>{file}, {}};
  }

  /// One colour everywhere, but in one pixel.
  png::picture picture(uint32_t columns, uint32_t lines, std::vector<uint8_t> rgba) const {
    png::picture made{columns, lines, {}};
    for (size_t i = 0; i < size_t{columns} * lines; ++i)
      made.rgba.insert(made.rgba.end(), rgba.begin(), rgba.end());
    return made;
  }
  void save(const std::string &name, const png::picture &from) const {
    std::string error;
    ASSERT_TRUE(png::write(at(name), from, error)) << error;
  }
  png::picture saved(const std::string &name) const {
    png::picture read;
    std::string error;
    EXPECT_TRUE(png::read(at(name), read, error)) << error;
    return read;
  }

  outcome launched(const std::vector<std::string> &words) const { return launch_with_application(words); }
  /// With the guest, if it is to run.
  outcome played(const std::string &text, std::vector<std::string> options = {},
                 std::vector<std::string> application = {guest_path}) const {
    write("drive.scenario", text);
    options.insert(options.begin(), {"play", board_.path(), scenario()});
    if (!application.empty())
      options.emplace_back("--");
    options.insert(options.end(), application.begin(), application.end());
    return launched(options);
  }

  /// The lines of the launcher itself.
  static std::string messages(const outcome &result) {
    std::istringstream lines{result.errors};
    std::string found;
    for (std::string line; std::getline(lines, line);)
      if (line.starts_with("dravik-sim: "))
        found += (found.empty() ? "" : "\n") + line;
    return found;
  }

  void expect_held(const std::string &text, std::vector<std::string> options = {}) const {
    const outcome result = played(text, std::move(options));
    EXPECT_EQ(result.exit_status(), 0) << result.errors;
    EXPECT_EQ(messages(result), "");
    EXPECT_EQ(result.output, "");
  }
  /// Expect the failure of the last line, which begins so.
  void expect_failed(const std::string &text, const std::string &reason,
                     std::vector<std::string> application = {guest_path}) const {
    const outcome result = played(text, {}, std::move(application));
    EXPECT_EQ(result.exit_status(), 1);
    const std::string lines = text.ends_with('\n') ? text.substr(0, text.size() - 1) : text;
    const auto count = std::ranges::count(lines, '\n') + 1;
    EXPECT_THAT(messages(result),
                testing::StartsWith("dravik-sim: " + scenario() + ":" + std::to_string(count) + ": " +
                                    lines.substr(lines.rfind('\n') + 1) + ": " + reason));
  }

  const board board_{width, height};

private:
  std::string directory_ = std::filesystem::temp_directory_path().string() + "/dravik-scenario-XXXXXX";
};

} // namespace dravik::test
