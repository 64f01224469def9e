// The launcher as users run it: its commands, its errors, and applications that know nothing of it.

#include "host/host_fonts.hpp"
#include "png/png_file.hpp"
#include "sim/launcher.hpp"
#include "support/board.hpp"
#include "support/emulation.hpp"
#include "support/paths.hpp"
#include "support/played_sound.hpp"
#include "support/tool_rules.hpp"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace dravik::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// A directory for the boards of a test, writable by everyone.
class SimLauncher : public testing::Test {
protected:
  SimLauncher() {
    ::mkdtemp(directory_.data());
    ::chmod(directory_.c_str(), 0777);
  }
  ~SimLauncher() override {
    std::error_code code;
    std::filesystem::remove_all(directory_, code);
  }
  std::string at(const std::string &name) const { return directory_ + "/" + name; }
  std::string text_of(const std::string &name) const {
    FILE *file = std::fopen(at(name).c_str(), "r");
    return file != nullptr ? contents(file) : "";
  }
  void write(const std::string &name, const std::string &text, mode_t mode) const {
    const int file = ::open(at(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, mode);
    EXPECT_EQ(::write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    ::close(file);
  }
  /// Expect one line on standard error that begins so, and no output.
  static void expect_error(const outcome &result, int status, const std::string &beginning) {
    EXPECT_EQ(result.exit_status(), status);
    EXPECT_THAT(result.errors, StartsWith("dravik-sim: " + beginning));
    EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << result.errors;
    EXPECT_EQ(result.output, "");
  }

private:
  std::string directory_ = std::filesystem::temp_directory_path().string() + "/dravik-launcher-XXXXXX";
};

// --- new ---

TEST_F(SimLauncher, CreatesScreenOf640By480) {
  EXPECT_EQ(launch({"new", at("desk")}).exit_status(), 0);
  EXPECT_THAT(text_of("desk/board.conf"),
              HasSubstr("\nxres=640\nyres=480\nxres_virtual=640\nyres_virtual=480\n"
                        "bits_per_pixel=16\nline_length=1280\n"));
  EXPECT_EQ(std::filesystem::file_size(at("desk/dev/fb0")), 614400U);
  EXPECT_TRUE(std::filesystem::is_directory(at("desk/usr/local/dravik/jpg")));
}

TEST_F(SimLauncher, AcceptsEveryGeometry) {
  EXPECT_EQ(launch({"new", at("odd"), "--size", "321x123", "--virtual", "400x300", "--depth", "32",
                    "--line-length", "2000"})
                .exit_status(),
            0);
  EXPECT_THAT(text_of("odd/board.conf"),
              HasSubstr("\nxres=321\nyres=123\nxres_virtual=400\nyres_virtual=300\n"
                        "bits_per_pixel=32\nline_length=2000\n"));
  EXPECT_EQ(std::filesystem::file_size(at("odd/dev/fb0")), 600000U);
}

TEST_F(SimLauncher, UnpacksFontsOfHost) {
  if (!std::filesystem::exists("/usr/share/consolefonts/Lat15-Fixed16.psf.gz"))
    GTEST_SKIP() << "no console fonts on this host";
  EXPECT_EQ(launch({"new", at("desk")}).exit_status(), 0);
  EXPECT_THAT(text_of("desk/usr/local/dravik/font/Lat15-Fixed16.psf"), StartsWith("\x36\x04"));
}

/// The whole of a file of this host; empty when there is none.
std::string host_file(const std::string &path) {
  FILE *file = std::fopen(path.c_str(), "r");
  return file != nullptr ? contents(file) : "";
}

TEST_F(SimLauncher, CopiesFontsForAntiAliasedText) {
  const std::string latin = host_file("/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf");
  const std::string other = host_file("/usr/share/fonts-droid-fallback/truetype/DroidSansFallback.ttf");
  const outcome result = launch({"new", at("desk")});
  EXPECT_EQ(result.exit_status(), 0);
  EXPECT_TRUE(text_of("desk/usr/local/dravik/font/arial.ttf") == latin);
  EXPECT_TRUE(text_of("desk/usr/local/dravik/font/DroidSansFallback.ttf") == other);
  const std::string &warned = result.errors;
  EXPECT_EQ(warned.find("arial.ttf (package fonts-liberation)") == std::string::npos, !latin.empty());
  EXPECT_EQ(warned.find("DroidSansFallback.ttf (package fonts-droid-fallback)") == std::string::npos,
            !other.empty());
  EXPECT_EQ(warned.find("no anti-aliased text") == std::string::npos, !latin.empty() && !other.empty());
  EXPECT_EQ(result.output, "");
}

TEST_F(SimLauncher, WarnsOfMissingConsoleFonts) {
  const bool has_fonts = !host_file("/usr/share/consolefonts/Uni2-Fixed16.psf.gz").empty() &&
                         !host_file("/usr/share/consolefonts/Lat15-TerminusBold16.psf.gz").empty();
  const outcome result = launch({"new", at("desk"), "--card", "0"});
  EXPECT_EQ(result.errors.find("dravik-sim: warning: no console fonts: missing ") == std::string::npos,
            has_fonts)
      << result.errors;
}

TEST_F(SimLauncher, ReportsTheFontsThatAHostDoesNotHave) {
  dravik::sim::missing_fonts missing;
  std::string error;
  std::filesystem::create_directories(at("desk"));
  ASSERT_TRUE(dravik::sim::add_fonts(at("bare-host"), at("desk"), missing, error)) << error;
  EXPECT_EQ(missing.console, "Uni2-Fixed16.psf (package console-setup-linux), "
                             "Lat15-TerminusBold16.psf (package console-setup-linux)");
  EXPECT_EQ(missing.smooth, "arial.ttf (package fonts-liberation), "
                            "DroidSansFallback.ttf (package fonts-droid-fallback)");
  EXPECT_TRUE(std::filesystem::is_empty(at("desk")));
}

TEST_F(SimLauncher, ReportsOneMissingFontAmongOthers) {
  std::filesystem::create_directories(at("host/usr/share/consolefonts"));
  std::filesystem::create_directories(at("host/usr/share/fonts/truetype/liberation"));
  write("host/usr/share/consolefonts/Uni2-Fixed16.psf.gz", "plain is read as it is", 0644);
  write("host/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf", "font", 0644);
  dravik::sim::missing_fonts missing;
  std::string error;
  ASSERT_TRUE(dravik::sim::add_fonts(at("host"), at("desk"), missing, error)) << error;
  EXPECT_EQ(missing.console, "Lat15-TerminusBold16.psf (package console-setup-linux)");
  EXPECT_EQ(missing.smooth, "DroidSansFallback.ttf (package fonts-droid-fallback)");
  EXPECT_EQ(text_of("desk/usr/local/dravik/font/Uni2-Fixed16.psf"), "plain is read as it is");
  EXPECT_EQ(text_of("desk/usr/local/dravik/font/arial.ttf"), "font");
}

TEST_F(SimLauncher, WarnsIfMappingEndsBeforeLastLine) {
  const auto warning = [&](std::vector<std::string> geometry) {
    std::filesystem::remove_all(at("desk"));
    geometry.insert(geometry.begin(), {"new", at("desk"), "--card", "0"});
    const outcome result = launch(geometry);
    EXPECT_EQ(result.exit_status(), 0);
    const size_t found = result.errors.find("dravik-sim: warning: applications");
    return found == std::string::npos ? "" : result.errors.substr(found);
  };
  const auto text = [](const std::string &mapped, const std::string &helps) {
    return "dravik-sim: warning: applications that draw on the last lines crash: the mapping of " + mapped +
           " bytes does not contain them, as on a real device; use --virtual " + helps + "\n";
  };
  EXPECT_EQ(warning({"--size", "800x480", "--line-length", "2048"}), text("768000", "1024x480"));
  EXPECT_EQ(warning({"--size", "800x480", "--line-length", "2048", "--virtual", "1024x480"}), "");
  EXPECT_EQ(warning({"--size", "800x480", "--line-length", "2048", "--virtual", "800x960"}), "")
      << "the second screen's memory is behind the first";
  // 667 pixels of 24 bits and a byte: a line more than 480.
  EXPECT_EQ(warning({"--size", "640x480", "--depth", "24", "--line-length", "2002"}),
            text("921600", "667x481"));
  EXPECT_EQ(warning({"--size", "640x480", "--depth", "24", "--line-length", "2002", "--virtual", "667x481"}),
            "");
  EXPECT_EQ(warning({}), "");
}

TEST_F(SimLauncher, CreatesMemoryCardDirectory) {
  EXPECT_EQ(launch({"new", at("desk")}).exit_status(), 0);
  EXPECT_TRUE(std::filesystem::is_directory(at("desk/tmp/mmcblk0p1")));
  EXPECT_TRUE(std::filesystem::is_empty(at("desk/tmp/mmcblk0p1")));
}

TEST_F(SimLauncher, RejectsInvalidGeometries) {
  expect_error(launch({"new", at("b"), "--size", "0x480"}), 1,
               "new: invalid size; must be at least 1x1 pixels");
  expect_error(launch({"new", at("b"), "--size", "640x0"}), 1,
               "new: invalid size; must be at least 1x1 pixels");
  expect_error(launch({"new", at("b"), "--size", "16385x1"}), 1,
               "new: screen too large; must be at most 16384 pixels per side");
  expect_error(launch({"new", at("b"), "--size", "4294967295x4294967295"}), 1, "new: screen too large");
  expect_error(launch({"new", at("b"), "--virtual", "640x479"}), 1,
               "new: virtual screen too small; must be at least the size");
  expect_error(launch({"new", at("b"), "--virtual", "0x0"}), 1,
               "new: virtual screen too small; must be at least the size");
  expect_error(launch({"new", at("b"), "--line-length", "1279"}), 1,
               "new: line length too small for the pixels of a line");
  expect_error(launch({"new", at("b"), "--depth", "12"}), 1,
               "new: invalid depth; must be 16, 24 or 32 bits per pixel");
  EXPECT_FALSE(std::filesystem::exists(at("b")));
}

TEST_F(SimLauncher, KeepsExistingFiles) {
  EXPECT_EQ(launch({"new", at("desk")}).exit_status(), 0);
  expect_error(launch({"new", at("desk")}), 1, at("desk") + ": exists and is not empty");
  std::filesystem::create_directory(at("empty"));
  EXPECT_EQ(launch({"new", at("empty")}).exit_status(), 0);
  write("file", "", 0644);
  expect_error(launch({"new", at("file")}), 1, at("file") + ": not a directory\n");
}

TEST_F(SimLauncher, ReportsWhereBoardCannotBeCreated) {
  expect_error(launch({"new", "/proc/no-board"}), 1, "/proc/no-board: ");
}

TEST_F(SimLauncher, LeavesNoUnfinishedInputBehind) {
  launch({"new", at("desk"), "--card", "0"});
  const std::string before = text_of_file(at("desk/board.conf"));
  // The pipe keeps the limit of file sizes away from the captured output.
  const std::string limited =
      "(trap '' XFSZ; ulimit -f 0; \"$0\" set \"$1\" accel=1,2,3; echo $?) 2>&1 | cat";
  EXPECT_EQ(run({"sh", "-c", limited, launcher_path, at("desk")}).output,
            "dravik-sim: " + at("desk") + "/board.conf: File too large\n1\n");
  EXPECT_EQ(text_of_file(at("desk/board.conf")), before);
  for (const auto &entry : std::filesystem::directory_iterator{at("desk")})
    EXPECT_THAT(entry.path().filename().string(), testing::Not(HasSubstr(".new-")));
}

TEST_F(SimLauncher, RejectsInvalidArguments) {
  const auto expect_misuse = [](const std::vector<std::string> &given, const std::string &line) {
    expect_error(launch(given), 2, line + "\n");
  };
  const auto hint = [](const std::string &command) { return "; try 'dravik-sim " + command + "--help'"; };
  expect_misuse({}, "missing COMMAND" + hint(""));
  expect_misuse({"frobnicate"}, "unknown command 'frobnicate'" + hint(""));
  expect_misuse({"new"}, "new: missing BOARD" + hint("new "));
  expect_misuse({"new", at("a"), at("b")}, "new: extra argument '" + at("b") + "'" + hint("new "));
  expect_misuse({"new", at("a"), "--size"}, "new: option '--size' requires a value" + hint("new "));
  expect_misuse({"new", at("a"), "--size", "640"}, "new: invalid --size '640'");
  expect_misuse({"new", at("a"), "--size", "-1x5"}, "new: invalid --size '-1x5'");
  expect_misuse({"new", at("a"), "--depth", "16bit"}, "new: invalid --depth '16bit'");
  expect_misuse({"new", at("a"), "--colour", "red"}, "new: unknown option '--colour'" + hint("new "));
  expect_misuse({"run"}, "run: missing BOARD" + hint("run "));
  expect_misuse({"run", at("a"), "--"}, "run: missing APP" + hint("run "));
  expect_misuse({"shot", at("a")}, "shot: missing FILE.png" + hint("shot "));
  expect_misuse({"panel"}, "panel: missing BOARD" + hint("panel "));
  expect_misuse({"card"}, "card: missing BOARD" + hint("card "));
  for (const std::string command : {"new", "panel", "card", "events"})
    expect_misuse({command, ""}, command + ": empty BOARD" + hint(command + " "));
  expect_misuse({"shot", at("a"), ""}, "shot: empty FILE.png" + hint("shot "));
  expect_misuse({"run", "", "--", "true"}, "run: empty BOARD" + hint("run "));
  EXPECT_FALSE(std::filesystem::exists(at("a")));
}

std::string checked_output(const std::vector<std::string> &arguments) {
  const outcome result = launch(arguments);
  EXPECT_EQ(result.exit_status(), 0);
  EXPECT_EQ(result.errors, "");
  return result.output;
}

TEST_F(SimLauncher, PrintsHelpOfCommonForm) {
  expect_help_of_tool("dravik-sim", checked_output);
}

TEST_F(SimLauncher, PrintsTheVersionOfTheProject) {
  EXPECT_EQ(checked_output({"--version"}), "dravik-sim " DRAVIK_VERSION "\n");
}

TEST_F(SimLauncher, HasEveryCommandInAllPlaces) {
  expect_places_of_commands({.overview = checked_output({"--help"}),
                             .sources = "sim/launcher",
                             .build_file = "sim/CMakeLists.txt",
                             .page = "docs/simulated-board.md",
                             .in_page = "dravik-sim ",
                             .tests = "tests/sim",
                             .test_prefix = ""});
}

TEST_F(SimLauncher, LeavesArgumentsOfApplicationAlone) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  launch({"new", at("desk"), "--card", "0"});
  for (const bool has_hyphens : {false, true}) {
    std::vector<std::string> given = {"run", at("desk")};
    if (has_hyphens)
      given.emplace_back("--");
    given.insert(given.end(), {"sh", "-c", "echo \"$@\"", "sh", "--help", "--", "--frob", ""});
    EXPECT_EQ(launch(given).output, "--help -- --frob \n");
  }
}

// --- run ---

TEST_F(SimLauncher, RunsApplicationAndReturnsItsStatus) {
  launch({"new", at("desk"), "--size", "320x240"});
  EXPECT_EQ(launch({"run", at("desk"), "--", draws_a_pixel_path, "3", "2", "f81f"}).exit_status(), 7);
  EXPECT_EQ(text_of("desk/dev/fb0").substr(2 * 640 + 3 * 2, 2), "\x1f\xf8");
  EXPECT_EQ(text_of("desk/tmp/dravik.log"), "drawn\n");
}

TEST_F(SimLauncher, PassesArgumentsAndChildren) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  launch({"new", at("desk")});
  write("desk/proc/modules", "ambad 1 0\n", 0644);
  const outcome result =
      launch({"run", at("desk"), "--", "sh", "-c", "cat /proc/modules; echo \"$1\"", "sh", "two words"});
  EXPECT_EQ(result.output, "ambad 1 0\ntwo words\n");
  EXPECT_EQ(result.errors, "");
}

TEST_F(SimLauncher, LetsShellRewriteAttribute) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  launch({"new", at("desk")});
  launch({"run", at("desk"), "--", "sh", "-c",
          "exec 3>/sys/class/backlight/pwm-backlight.0/brightness; echo 1000 >&3; echo 20 >&3"});
  EXPECT_EQ(text_of("desk/sys/class/backlight/pwm-backlight.0/brightness"), "20\n");
}

TEST_F(SimLauncher, PassesSignals) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  launch({"new", at("desk")});
  const outcome result = launch({"run", at("desk"), "--", "sh", "-c", "kill -USR1 $$"});
  EXPECT_TRUE(WIFSIGNALED(result.status));
  EXPECT_EQ(WTERMSIG(result.status), SIGUSR1);
}

TEST_F(SimLauncher, ReportsDirectoryThatIsNotABoard) {
  expect_error(launch({"run", at("absent"), "--", "true"}), 1,
               at("absent") + ": not a board; create it with 'dravik-sim new " + at("absent") + "'\n");
}

TEST_F(SimLauncher, ReportsApplicationsThatCannotRun) {
  launch({"new", at("desk")});
  write("words", "just words\n", 0755);
  write("script", std::string{"#! "} + linked_statically_path + " -x\n", 0755);
  write("not-executable", "#!/bin/sh\n", 0644);
  write("cut-short",
        "\x7f"
        "ELF",
        0755);
  const auto error = [&](const std::string &application, const std::string &reason) {
    expect_error(launch({"run", at("desk"), "--", application}), 1, application + ": " + reason);
  };
  error("no-such-application", "not found");
  error(at("absent"), "not found");
  error(at("desk"), "not a program");
  error(at("not-executable"), "not executable");
  error(at("words"), "not a program of the host, and not a script");
  error(at("cut-short"), "cannot be read");
  error(linked_statically_path, "statically linked");
  error(at("script"), std::string{"interpreter "} + linked_statically_path + ": statically linked");
}

TEST_F(SimLauncher, ReturnsApplicationNoOtherRights) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  launch({"new", at("desk")});
  if (::geteuid() != 0)
    GTEST_SKIP() << "only root can make such a program";
  std::filesystem::copy_file("/usr/bin/id", at("other"));
  ASSERT_EQ(::chown(at("other").c_str(), 65534, 65534), 0);
  ASSERT_EQ(::chmod(at("other").c_str(), 04755), 0);
  const outcome result = launch({"run", at("desk"), "--", at("other"), "-u"});
  EXPECT_EQ(result.exit_status(), 0);
  EXPECT_EQ(result.output, "0\n");
}

TEST_F(SimLauncher, RunsForAnOrdinaryUser) {
  // In a copy that every user can reach, unlike a build tree below root's home.
  const std::filesystem::path built = launcher_path;
  const std::filesystem::path copied = at("copied");
  std::filesystem::create_directories(copied / "bin");
  std::filesystem::copy(built, copied / "bin");
  std::filesystem::copy(draws_a_pixel_path, copied / "bin");
  std::filesystem::copy(built.parent_path().parent_path() / "lib", copied / "lib",
                        std::filesystem::copy_options::recursive |
                            std::filesystem::copy_options::copy_symlinks);
  std::vector<std::string> as_user;
  if (::geteuid() == 0)
    as_user = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
  as_user.push_back(copied / "bin" / built.filename());
  const auto launch_as_user = [&](const std::vector<std::string> &words) {
    std::vector<std::string> command = as_user;
    command.insert(command.end(), words.begin(), words.end());
    return run(command);
  };
  const std::string application = copied / "bin" / std::filesystem::path{draws_a_pixel_path}.filename();
  EXPECT_EQ(launch_as_user({"new", at("desk")}).exit_status(), 0);
  EXPECT_EQ(launch_as_user({"run", at("desk"), "--", application, "0", "0", "ffff"}).exit_status(), 7);
  EXPECT_EQ(launch_as_user({"shot", at("desk"), at("shot.png")}).exit_status(), 0);
}

TEST_F(SimLauncher, ReturnsApplicationSoundCard) {
  launch({"new", at("desk")});
  const outcome result = launch({"run", at("desk"), "--", plays_a_sound_path});
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.exit_status(), 0);
  EXPECT_THAT(checked_samples(text_of("desk/sound/played.wav")),
              testing::AllOf(testing::SizeIs(2 * 480), testing::Each(1000)));
  EXPECT_FALSE(std::filesystem::exists(at("desk/sound/timeline")));
}

TEST_F(SimLauncher, ReplacesRecordingThatHasGaps) {
  launch({"new", at("desk")});
  write("desk/board.conf", "sound_gaps=on\n", 0644);
  EXPECT_EQ(launch({"run", at("desk"), "--", draws_a_pixel_path, "0", "0", "ffff"}).exit_status(), 7);
  const std::string begin = text_of("desk/sound/timeline");
  EXPECT_THAT(begin, StartsWith("begin_s="));
  EXPECT_EQ(launch({"run", at("desk"), "--", plays_a_sound_path}).exit_status(), 0);
  EXPECT_EQ(text_of("desk/sound/timeline"), begin);
  const auto heard = checked_samples(text_of("desk/sound/played.wav"));
  EXPECT_THAT(heard, testing::SizeIs(testing::Gt(2U * 480)));
  EXPECT_EQ(heard.at(0), 0);
  EXPECT_EQ(heard.back(), 1000);
}

// --- card ---

TEST_F(SimLauncher, InsertsMountedCard) {
  EXPECT_EQ(launch({"new", at("desk")}).exit_status(), 0);
  EXPECT_EQ(launch({"card", at("desk")}).output,
            "in, 1024 MiB, partition of 1023 MiB at " + at("desk/dev/mmcblk0") + "@@16384, mounted\n");
  EXPECT_EQ(std::filesystem::file_size(at("desk/dev/mmcblk0")), 1U << 30);
}

TEST_F(SimLauncher, CreatesCardsOfOtherSizesOrNone) {
  EXPECT_EQ(launch({"new", at("small"), "--card", "64"}).exit_status(), 0);
  EXPECT_EQ(std::filesystem::file_size(at("small/dev/mmcblk0")), 64U << 20);
  EXPECT_EQ(launch({"new", at("none"), "--card", "0"}).exit_status(), 0);
  EXPECT_FALSE(std::filesystem::exists(at("none/dev/mmcblk0")));
  EXPECT_EQ(launch({"card", at("none")}).output, "none\n");
  expect_error(launch({"card", at("none"), "in"}), 1, "card: " + at("none") + ": has no memory card");
  for (const char *size : {"63", "131073"})
    expect_error(launch({"new", at("b"), "--card", size}), 1,
                 "new: invalid card size; must be 64 to 131072 MiB");
  EXPECT_FALSE(std::filesystem::exists(at("b")));
}

TEST_F(SimLauncher, HandlesCardManually) {
  launch({"new", at("desk"), "--card", "64"});
  const auto state = [&] { return launch({"card", at("desk")}).output; };
  EXPECT_EQ(launch({"card", at("desk"), "out"}).exit_status(), 0);
  EXPECT_EQ(state(), "out, still mounted\n");
  EXPECT_EQ(launch({"card", at("desk"), "locked"}).exit_status(), 0);
  EXPECT_THAT(state(),
              testing::AllOf(StartsWith("locked, 64 MiB, "), HasSubstr(", mount of a removed card\n")));
  EXPECT_EQ(launch({"card", at("desk"), "umount"}).exit_status(), 0);
  EXPECT_EQ(launch({"card", at("desk"), "mount"}).exit_status(), 0);
  EXPECT_THAT(state(), testing::AllOf(StartsWith("locked, 64 MiB, "), HasSubstr(", mounted read-only\n")));
  EXPECT_EQ(launch({"card", at("desk"), "umount"}).exit_status(), 0);
  EXPECT_EQ(launch({"card", at("desk"), "out"}).exit_status(), 0);
  EXPECT_EQ(state(), "out\n");
  EXPECT_EQ(launch({"card", at("desk"), "in"}).exit_status(), 0);
  EXPECT_THAT(state(), HasSubstr(", not mounted\n"));
  EXPECT_EQ(launch({"card", at("desk"), "mount"}).exit_status(), 0);
  EXPECT_THAT(state(), HasSubstr(", mounted\n"));
  EXPECT_EQ(launch({"card", at("desk"), "umount"}).exit_status(), 0);
  EXPECT_THAT(state(), HasSubstr(", not mounted\n"));
  const auto expect_mount_error = [](const outcome &result, const std::string &line) {
    EXPECT_EQ(result.exit_status(), line.starts_with("umount") ? 1 : 255) << "of BusyBox";
    EXPECT_EQ(result.errors, line + "\n") << "in the form of mount(8)";
  };
  expect_mount_error(launch({"card", at("desk"), "umount"}), "umount: /tmp/mmcblk0p1: is not mounted");
  EXPECT_EQ(launch({"card", at("desk"), "mount", "-r"}).exit_status(), 0);
  EXPECT_THAT(state(), HasSubstr(", mounted read-only\n"));
  expect_error(launch({"card", at("desk"), "format"}), 1,
               "mkfs.vfat: /dev/mmcblk0p1: contains a mounted file system");
  expect_mount_error(launch({"card", at("desk"), "mount"}), "mount: /dev/mmcblk0p1: is mounted already");
  expect_error(launch({"card", at("desk"), "eat"}), 2,
               "card: unknown action 'eat'; try 'dravik-sim card --help'\n");
  for (const std::string action : {"in", "locked", "out", "restart"})
    expect_error(launch({"card", at("desk"), action, "now"}), 2,
                 "card: extra argument 'now'; try 'dravik-sim card --help'\n");
  expect_error(launch({"card", at("absent")}), 1,
               at("absent") + ": not a board; create it with 'dravik-sim new " + at("absent") + "'\n");
}

TEST_F(SimLauncher, LetsShellReadPartitionOfCard) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  launch({"new", at("desk"), "--card", "64"});
  const outcome result = launch(
      {"run", at("desk"), "--", "sh", "-c", "head -c 90 /dev/mmcblk0p1 | tail -c 8; echo x >/dev/mmcblk0p1"});
  EXPECT_EQ(result.output, "FAT32   ");
  EXPECT_THAT(result.errors, HasSubstr("Read-only file system"));
}

// --- shot ---

struct depth {
  const char *bits;
  const char *pixel;                    ///< as the application stores it, hexadecimal
  std::array<uint8_t, 4> expected_rgba; ///< as the image shows it
};

void PrintTo(const depth &shown, std::ostream *to) {
  *to << shown.bits << " bits";
}

class SimShot : public SimLauncher, public testing::WithParamInterface<depth> {};

TEST_P(SimShot, ShowsAPixelOfAPaddedScreen) {
  launch({"new", at("desk"), "--size", "30x20", "--virtual", "40x40", "--line-length", "200", "--depth",
          GetParam().bits});
  ASSERT_EQ(launch({"run", at("desk"), "--", draws_a_pixel_path, "29", "19", GetParam().pixel}).exit_status(),
            7);
  ASSERT_EQ(launch({"shot", at("desk"), at("shot.png")}).exit_status(), 0);
  dravik::png::picture picture;
  std::string error;
  ASSERT_TRUE(dravik::png::read(at("shot.png"), picture, error)) << error;
  EXPECT_EQ(picture.width, 30U);
  EXPECT_EQ(picture.height, 20U);
  std::vector<uint8_t> expected((30 * 20 - 1) * 4);
  for (size_t i = 3; i < expected.size(); i += 4)
    expected[i] = 255;
  expected.insert(expected.end(), GetParam().expected_rgba.begin(), GetParam().expected_rgba.end());
  EXPECT_EQ(picture.rgba, expected);
}

// 565: 0x8410 has red 16 of 31 (131.6), green 32 of 63 (129.5), blue 16 of 31.
INSTANTIATE_TEST_SUITE_P(
    Depths, SimShot,
    testing::Values(depth{"16", "f81f", {255, 0, 255, 255}}, depth{"16", "8410", {132, 130, 132, 255}},
                    depth{"24", "102030", {16, 32, 48, 255}}, depth{"32", "00ff8001", {255, 128, 1, 255}}),
    [](const auto &tested) { return std::string{"of"} + tested.param.bits + "_" + tested.param.pixel; });

TEST_F(SimLauncher, RejectsAddressesOfPanelThatAreNone) {
  launch({"new", at("desk"), "--card", "0"});
  for (const std::string address : {"localhost", "", "127.0.0.1:", "127.0.0.1:0", "127.0.0.1:65536", "1.2.3",
                                    "[::1", "::1:8080:x", "127.0.0.1:80 "})
    expect_error(launch({"panel", at("desk"), "--listen", address}), 2,
                 "panel: invalid --listen '" + address + "'; must be an IP address, or IP:PORT\n");
  expect_error(launch({"panel", at("desk"), "--listen", "192.0.2.1"}), 1, "192.0.2.1:0: ");
  EXPECT_FALSE(std::filesystem::exists(at("desk/panel.access")));
}

TEST_F(SimLauncher, ShowsBlackWhilePanelIsBlanked) {
  launch({"new", at("desk"), "--size", "10x10", "--virtual", "10x20"});
  launch({"run", at("desk"), "--", draws_a_pixel_path, "0", "10", "ffff"});
  const auto first_byte = [&](const char *state) {
    write("desk/panel", state, 0644);
    EXPECT_EQ(launch({"shot", at("desk"), at("shot.png")}).exit_status(), 0);
    dravik::png::picture picture;
    std::string error;
    EXPECT_TRUE(dravik::png::read(at("shot.png"), picture, error)) << error;
    return picture.rgba.at(0);
  };
  EXPECT_EQ(first_byte("yoffset=0\n"), 0);
  EXPECT_EQ(first_byte("yoffset=10\n"), 255);
  EXPECT_EQ(first_byte("yoffset=10\nblank=1\n"), 0);
}

TEST_F(SimLauncher, ShowsVisiblePartOfPaddedScreen) {
  launch({"new", at("desk"), "--size", "4x3", "--virtual", "10x6"});
  launch({"run", at("desk"), "--", draws_a_pixel_path, "7", "4", "ffff"});
  write("desk/panel", "xoffset=5\nyoffset=2\n", 0644);
  EXPECT_EQ(launch({"shot", at("desk"), at("shot.png")}).exit_status(), 0);
  png::picture picture;
  std::string error;
  ASSERT_TRUE(png::read(at("shot.png"), picture, error)) << error;
  ASSERT_EQ(picture.rgba.size(), 4U * 3 * 4);
  for (size_t pixel = 0; pixel < 12; ++pixel)
    EXPECT_EQ(picture.rgba[pixel * 4], pixel == 2 * 4 + 2 ? 255 : 0) << pixel;
}

TEST_F(SimLauncher, WritesShotToStandardOutput) {
  launch({"new", at("desk"), "--size", "10x10"});
  ASSERT_EQ(launch({"shot", at("desk"), at("shot.png")}).exit_status(), 0);
  const outcome piped = launch({"shot", at("desk"), "-"});
  EXPECT_EQ(piped.exit_status(), 0) << piped.errors;
  EXPECT_EQ(piped.output, text_of_file(at("shot.png")));
  expect_error(run({"sh", "-c", std::string{launcher_path} + " shot \"$0\" - >/dev/full", at("desk")}), 1,
               "standard output: ");
}

TEST_F(SimLauncher, ReplacesPngFilesOnlyByShot) {
  launch({"new", at("desk"), "--size", "10x10", "--card", "0"});
  EXPECT_EQ(launch({"shot", at("desk"), at("shot.png")}).exit_status(), 0);
  EXPECT_EQ(launch({"shot", at("desk"), at("shot.png")}).exit_status(), 0);
  write("first.c", "int main(void) { return 0; }\n", 0644);
  expect_error(launch({"shot", at("desk"), at("first.c")}), 1,
               at("first.c") + ": exists in another format; not replaced\n");
  EXPECT_EQ(text_of_file(at("first.c")), "int main(void) { return 0; }\n");
}

TEST_F(SimLauncher, ReportsProblemsOfShot) {
  launch({"new", at("desk")});
  expect_error(launch({"shot", at("absent"), at("shot.png")}), 1,
               at("absent") + ": not a board; create it with 'dravik-sim new " + at("absent") + "'\n");
  expect_error(launch({"shot", at("desk"), at("absent/shot.png")}), 1, at("absent/shot.png") + ": ");
  write("desk/board.conf", "xres=0\n", 0644);
  expect_error(launch({"shot", at("desk"), at("shot.png")}), 1,
               at("desk") + "/board.conf: invalid size; must be at least 1x1 pixels");
  write("desk/board.conf", "xres=10\nyres=10\n", 0644);
  write("desk/panel", "yoffset=1\n", 0644);
  expect_error(launch({"shot", at("desk"), at("shot.png")}), 1,
               at("desk") + "/panel: beyond frame buffer memory");
}

// --- boards from strangers ---

class SimStrangeBoard : public SimLauncher {
protected:
  SimStrangeBoard() { launch({"new", at("desk"), "--size", "10x10", "--card", "0"}); }
  void link(const std::string &target, const std::string &inside) const {
    std::filesystem::remove(at("desk/" + inside));
    std::filesystem::create_symlink(target, at("desk/" + inside));
  }
};

TEST_F(SimStrangeBoard, ShowsScreenOfHugeMemory) {
  std::filesystem::resize_file(at("desk/dev/fb0"), uint64_t{40} << 30);
  EXPECT_EQ(launch({"shot", at("desk"), at("shot.png")}).exit_status(), 0);
}

TEST_F(SimStrangeBoard, RejectsHugeText) {
  std::filesystem::resize_file(at("desk/board.conf"), uint64_t{40} << 30);
  expect_error(launch({"shot", at("desk"), at("shot.png")}), 1, at("desk") + "/board.conf: larger than");
  expect_error(launch({"set", at("desk"), "accel=0,0,0"}), 1, at("desk") + "/board.conf: larger than");
}

TEST_F(SimStrangeBoard, LetsApplicationOpenTooLargeMemory) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  write("desk/board.conf", "xres=10\nyres=10\nline_length=4000000000\nyres_virtual=4000000000\n", 0644);
  launch({"run", at("desk"), "--", "sh", "-c", "head -c 1 /dev/fb0 >/dev/null"});
  EXPECT_EQ(std::filesystem::file_size(at("desk/dev/fb0")), uint64_t{1} << 30);
}

TEST_F(SimStrangeBoard, PrintsEventsWithoutControlCharacters) {
  write("desk/events", "led: \x1b]0;title\x07red\r\n", 0644);
  EXPECT_EQ(launch({"events", at("desk"), "--once"}).output, "led: \\x1b]0;title\\x07red\\x0d\n");
}

TEST_F(SimStrangeBoard, StartsEventsAtEndOfHugeFile) {
  std::filesystem::resize_file(at("desk/events"), uint64_t{40} << 30);
  EXPECT_EQ(launch({"events", at("desk"), "--once"}).output.size(), size_t{16} << 22); // NULs as \x00
}

TEST_F(SimStrangeBoard, FollowsNoLinksOutOfBoard) {
  write("secret", "xres=10\nyres=10\n", 0644);
  link(at("secret"), "events");
  EXPECT_EQ(launch({"events", at("desk"), "--once"}).output, "");
  link(at("secret"), "dev/fb0");
  EXPECT_EQ(launch({"shot", at("desk"), at("shot.png")}).exit_status(), 1);
  link(at("secret"), "gpio/68");
  launch({"set", at("desk"), "gpio.68=1"});
  link(at(""), "sound");
  launch({"run", at("desk"), "--", plays_a_sound_path});
  EXPECT_EQ(text_of("secret"), "xres=10\nyres=10\n");
  EXPECT_FALSE(std::filesystem::exists(at("played.wav")));
}

TEST_F(SimStrangeBoard, DoesNotWaitForPipeInPlaceOfFile) {
  std::filesystem::remove(at("desk/dev/fb0"));
  ASSERT_EQ(::mkfifo(at("desk/dev/fb0").c_str(), 0666), 0);
  EXPECT_EQ(launch({"shot", at("desk"), at("shot.png")}).exit_status(), 1);
}

} // namespace
} // namespace dravik::test
