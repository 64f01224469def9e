// The table of the board and the places that follow it: code, help, documentation and tests.

#include "board/board_table.hpp"
#include "sim/launcher.hpp"
#include "support/board.hpp"
#include "support/tool_rules.hpp"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

using dravik::sim::board_entry;
using dravik::sim::board_table;
using dravik::sim::file_kind;
using dravik::sim::first_state;
using dravik::test::board;
using dravik::test::launch;
using dravik::test::text_of_file;
using testing::HasSubstr;

namespace files = std::filesystem;

constexpr const char *page = "docs/simulated-board.md";

std::string source(const std::string &path) {
  return DRAVIK_SOURCE "/" + path;
}

/// A section of the page, from its heading to the next one.
std::string section(const std::string &heading) {
  const std::string text = text_of_file(source(page));
  const size_t begin = text.find("# " + heading + "\n");
  EXPECT_NE(begin, std::string::npos) << page << " has no section '" << heading << "'";
  return begin == std::string::npos ? "" : text.substr(begin, text.find("\n#", begin) - begin);
}

std::vector<std::string> words(std::string_view list) {
  std::istringstream text{std::string{list}};
  return {std::istream_iterator<std::string>{text}, {}};
}

std::string path_in_directory(const board_entry &entry) {
  return std::string{entry.path.substr(entry.path.starts_with('/') ? 1 : 0)};
}

bool contains(const std::string &text, const std::string &part) {
  return text.find(part) != std::string::npos;
}

/// Whether a list of paths has this one, or all below one of its directories.
bool lists_path(const std::string &list, std::string path) {
  if (contains(list, "`" + path + "`") || contains(list, "`" + path + "*`"))
    return true;
  for (; !path.empty(); path.resize(path.rfind('/')))
    if (contains(list, "`" + path + "/...`"))
      return true;
  return false;
}

/// The text of all tests but this one and the one of paths, which list all.
std::string texts_of_tests() {
  std::string text;
  for (const auto &entry : files::directory_iterator{source("tests/sim")}) {
    const std::string name = entry.path().filename().string();
    if (name.ends_with(".cpp") && name != "board_table_test.cpp" && name != "path_map_test.cpp")
      text += text_of_file(entry.path());
  }
  return text;
}

TEST(SimBoardTable, EveryEntryIsOnThePage) {
  const std::string contents = section("The directory, file by file");
  const std::string paths = section("Paths of the board");
  for (const board_entry &entry : board_table) {
    if (entry.first != first_state::absent) {
      EXPECT_TRUE(contains(contents, "`" + path_in_directory(entry)))
          << path_in_directory(entry) << " is missing in 'The directory, file by file' of " << page;
    }
    if (entry.kind != file_kind::none) {
      EXPECT_TRUE(lists_path(paths, std::string{entry.path}))
          << entry.path << " is missing in 'Paths of the board' of " << page;
    }
  }
}

TEST(SimBoardTable, EveryPrefixOfEventsIsOnThePageAndHasATest) {
  const std::string events = section("Events"), tests = texts_of_tests();
  for (const board_entry &entry : board_table) {
    const std::string prefix = std::string{entry.event} + ": ";
    if (*entry.event == '\0')
      continue;
    EXPECT_TRUE(contains(events, "\n" + prefix)) << prefix << "is missing in 'Events' of " << page;
    EXPECT_TRUE(contains(tests, "\"" + prefix)) << prefix << "is in no test of tests/sim";
  }
}

TEST(SimBoardTable, EveryRequestIsOnThePageAndHasATest) {
  const std::string faults = section("Faults"), tests = texts_of_tests();
  for (const board_entry &entry : board_table)
    for (const std::string &request : words(entry.requests)) {
      const std::string fault = request + " " + std::string{entry.path};
      EXPECT_TRUE(contains(faults, "\n" + fault)) << fault << " is missing in 'Faults' of " << page;
      EXPECT_TRUE(contains(tests, "\"" + request + "\"") || contains(tests, fault))
          << "no test of tests/sim injects " << fault;
    }
}

TEST(SimBoardTable, EveryInputIsInTheHelpAndOnThePageAndHasATest) {
  const std::string help = launch({"set", "--help"}).output;
  const std::string inputs = section("Inputs: dravik-sim set"), tests = texts_of_tests();
  for (const board_entry &entry : board_table)
    for (const std::string &key : words(entry.inputs)) {
      EXPECT_TRUE(contains(help, "\n  " + key)) << key << " is missing in 'dravik-sim set --help'";
      EXPECT_TRUE(contains(inputs, "\n| `" + key)) << key << " is missing in 'Inputs' of " << page;
      EXPECT_TRUE(contains(tests, "\"" + key)) << "no test of tests/sim sets " << key;
    }
}

std::string text_of_scripts() {
  std::string text;
  for (const auto &entry : files::directory_iterator{source("sim/panel/page")})
    if (entry.path().extension() == ".js")
      text += text_of_file(entry.path());
  return text;
}

/// `watched` of board_state.cpp is checked by tests/panel/server_test.py.
TEST(SimBoardTable, EveryInputIsOnTheLiveBoard) {
  const std::string state = text_of_file(source("sim/panel/board_state.cpp")), scripts = text_of_scripts();
  for (const board_entry &entry : board_table)
    for (const std::string &key : words(entry.inputs)) {
      const std::string name = key.substr(0, key.find('.'));
      EXPECT_TRUE(contains(state, "member(\"" + name + "\","))
          << name << " is missing in sim/panel/board_state.cpp";
      EXPECT_TRUE(contains(scripts, "detail." + name)) << name << " is shown by no script of sim/panel/page";
      EXPECT_TRUE(contains(scripts, "set(\"" + name) || contains(scripts, "set(`" + name) ||
                  contains(scripts, "set " + name))
          << name << " is set by no script of sim/panel/page";
    }
}

TEST(SimBoardTable, NewBoardHasEveryFile) {
  const board board;
  for (const board_entry &entry : board_table)
    EXPECT_TRUE(entry.first == first_state::absent || board.exists(path_in_directory(entry))) << entry.path;
}

TEST(SimBoardTable, FaultsOfANewBoardListTheRequests) {
  const std::string text = board{}.read("faults");
  for (const board_entry &entry : board_table)
    if (!entry.requests.empty()) {
      EXPECT_THAT(text,
                  HasSubstr("\n#   " + std::string{entry.path} + ": " + std::string{entry.requests} + "\n"));
    }
}

/// A plain file would fail with ENOTTY as well, but without an event.
TEST(SimBoardTable, EveryDeviceRejectsAnUnknownRequest) {
  for (const board_entry &entry : board_table) {
    if (!has_device(entry))
      continue;
    const board board;
    const int descriptor = ::open(entry.path.data(), O_WRONLY);
    ASSERT_GE(descriptor, 0) << entry.path;
    EXPECT_EQ(::ioctl(descriptor, 0xABCD, 0), -1) << entry.path;
    EXPECT_EQ(errno, ENOTTY) << entry.path;
    EXPECT_THAT(board.events(), testing::ElementsAre(std::string{entry.event} + ": request 0xabcd refused"));
    ::close(descriptor);
  }
}

/// Otherwise the library's requests would go to the devices of the host.
TEST(SimBoardTable, HasEveryPathOfTheLibrary) {
  const std::regex path_text{R"re("(/(dev|proc|sys|tmp|usr/local)/[^"% ]+))re"};
  const auto is_inside = [](const std::string &path, const board_entry &entry) {
    return path.starts_with(entry.path) && entry.kind != file_kind::none &&
           (entry.is_family || path.size() == entry.path.size() || path[entry.path.size()] == '/');
  };
  size_t paths = 0;
  for (const auto &file : files::recursive_directory_iterator{source("src")}) {
    if (!file.is_regular_file())
      continue;
    const std::string text = text_of_file(file.path());
    for (std::sregex_iterator found{text.begin(), text.end(), path_text}; found != std::sregex_iterator{};
         ++found) {
      const std::string path = (*found)[1];
      ++paths;
      EXPECT_TRUE(
          path.starts_with("/usr/local/bin/") || // commands of the board
          std::ranges::any_of(board_table, [&](const board_entry &entry) { return is_inside(path, entry); }))
          << path << " of " << file.path().filename() << " is missing in sim/board/board_table.hpp";
    }
  }
  EXPECT_GT(paths, 20U);
}

/// Of a source: the one of the nearest directory that has one.
files::path build_file_of(files::path directory) {
  while (!files::exists(directory / "CMakeLists.txt"))
    directory = directory.parent_path();
  return directory / "CMakeLists.txt";
}

TEST(SimBoardTable, EverySourceIsBuilt) {
  for (const auto &file : files::recursive_directory_iterator{source("sim")}) {
    const files::path build_file = build_file_of(file.path().parent_path());
    const std::string name = files::relative(file.path(), build_file.parent_path()).string();
    if (name.ends_with(".cpp") || name.ends_with(".c")) {
      EXPECT_THAT(text_of_file(build_file), HasSubstr(name)) << name << " is missing in " << build_file;
    }
  }
}

} // namespace
