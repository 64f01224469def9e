// The Debian packages in a directory, unpacked, installed, upgraded and removed in a tree of their own.
// PACKAGES is the directory, in the environment.

#include "first_program.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace {

using dravik::test::expect_first_program_runs;
using dravik::test::expect_success;
using dravik::test::first_program;
using dravik::test::project_of_first_program;
using dravik::test::scratch_directory;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
namespace files = std::filesystem;

const std::vector<std::string> names = {"libdravik0.1.0", "libdravik-dev", "libdravik-tools",
                                        "libdravik-simulator"};

/// The package's file; empty if there is none.
std::string package(const std::string &name, const std::string &architecture) {
  const char *directory = std::getenv("PACKAGES");
  EXPECT_NE(directory, nullptr) << "PACKAGES is not set";
  const std::string path =
      std::string{directory == nullptr ? "" : directory} + "/" + name + "_0.1.0-1_" + architecture + ".deb";
  return files::exists(path) ? path : "";
}

void unpack(const std::string &architecture, const std::string &tree) {
  for (const std::string &name : names)
    if (const std::string path = package(name, architecture); !path.empty())
      expect_success("dpkg-deb -x " + path + " " + tree);
}

std::string flags(const std::string &libraries) {
  std::string found = expect_success("PKG_CONFIG_LIBDIR=" + libraries +
                                     "/pkgconfig:$(pkg-config --variable pc_path pkg-config) "
                                     "pkg-config --cflags --libs dravik");
  std::ranges::replace(found, '\n', ' ');
  return found;
}

TEST(Packages, BuildAndRunTheFirstProgram) {
  const scratch_directory scratch;
  const std::string usr = scratch.at("tree/usr"), libraries = usr + "/lib/x86_64-linux-gnu";
  unpack("amd64", scratch.at("tree"));
  std::ofstream{scratch.at("first.c")} << first_program();
  expect_success("cc " + scratch.at("first.c") + " " + flags(libraries) + " -o " + scratch.at("first"));
  expect_first_program_runs(usr + "/bin/dravik-sim", scratch.at("first"), libraries);
  expect_success(project_of_first_program(scratch.at("project"), "0.1", usr) + " && " CMAKE " --build " +
                 scratch.at("project/build"));
  expect_first_program_runs(usr + "/bin/dravik-sim", scratch.at("project/build/first"), libraries);
  EXPECT_EQ(expect_success("LD_LIBRARY_PATH=" + libraries + " " + usr + "/bin/dravik-ctl --version"),
            "dravik-ctl 0.1.0\n");
}

struct arm {
  const char *architecture, *triplet, *float_abi; ///< the last as readelf prints it
};

class PackagesForArm : public testing::TestWithParam<arm> {};

TEST_P(PackagesForArm, BuildTheFirstProgram) {
  const std::string architecture = GetParam().architecture, triplet = GetParam().triplet;
  const scratch_directory scratch;
  ASSERT_NE(package("libdravik-dev", architecture), "");
  EXPECT_EQ(package("libdravik-simulator", architecture), "");
  const std::string libraries = scratch.at("tree/usr/lib/" + triplet), first = scratch.at("first");
  unpack(architecture, scratch.at("tree"));
  std::ofstream{first + ".c"} << first_program();
  expect_success(triplet + "-gcc --sysroot=" SOURCE "/build/sysroot-" + architecture + " " + first + ".c " +
                 flags(libraries) + " -o " + first);
  EXPECT_THAT(expect_success("readelf -h -d " + first),
              AllOf(HasSubstr(GetParam().float_abi), HasSubstr("[libdravik.so.0.1.0]")));
  for (const std::string &file :
       {std::string{"usr/bin/dravik-ctl"}, "usr/lib/" + triplet + "/libdravik.so.0.1.0"})
    EXPECT_THAT(expect_success("readelf -h " + scratch.at("tree/" + file)), HasSubstr(GetParam().float_abi));
}

INSTANTIATE_TEST_SUITE_P(All, PackagesForArm,
                         testing::Values(arm{"armhf", "arm-linux-gnueabihf", "hard-float ABI"},
                                         arm{"armel", "arm-linux-gnueabi", "soft-float ABI"}),
                         [](const auto &one) { return std::string{one.param.architecture}; });

/// The page of the live board is in its program, and the man page and the completion come from its help.
TEST(Packages, ContainTheLiveBoard) {
  const scratch_directory scratch;
  unpack("amd64", scratch.at("tree"));
  const std::string usr = scratch.at("tree/usr");
  const std::string page = expect_success("zcat " + usr + "/share/man/man1/dravik-sim.1.gz");
  EXPECT_THAT(page, AllOf(HasSubstr("\n.SS panel\n"), HasSubstr("\n.SS press\n")));
  EXPECT_THAT(expect_success(usr + "/bin/dravik-sim panel --help"), HasSubstr("--open"));
  EXPECT_THAT(expect_success("readelf -d " + usr + "/bin/dravik-sim"), Not(HasSubstr("libboost")));
  EXPECT_THAT(expect_success("dpkg-deb -f " + package("libdravik-simulator", "amd64") + " Suggests"),
              HasSubstr("xdg-utils"));
  EXPECT_TRUE(files::exists(usr + "/share/doc/libdravik-dev/docs/live-board.md"));
}

// The second list is that of Debian's own tool, which knows the libraries of this machine.
TEST(Packages, DependOnWhatTheirProgramsLink) {
  const scratch_directory scratch;
  unpack("amd64", scratch.at("tree"));
  files::create_directories(scratch.at("debian"));
  std::ofstream{scratch.at("debian/control")}
      << "Source: libdravik\n\nPackage: libdravik0.1.0\nArchitecture: any\n";
  const std::string names_only = " | tr ',' '\\n' | sed 's/.*Depends=//; s/^ *//; s/ (.*//' | sort";
  const std::string ours =
      expect_success("dpkg-deb -f " + package("libdravik0.1.0", "amd64") + " Depends" + names_only);
  const std::string debians = expect_success("cd " + scratch.at("") + " && dpkg-shlibdeps -O " +
                                             scratch.at("tree/usr/lib/x86_64-linux-gnu/libdravik.so.0.1.0") +
                                             " 2>/dev/null" + names_only);
  EXPECT_EQ(ours, debians);
}

/// What a dpkg of its own does in a tree; it runs no scripts, since the packages have none.
void dpkg(const std::string &tree, const std::string &arguments) {
  expect_success("dpkg --root=" + tree +
                 " --force-depends --force-not-root --force-architecture --log=/dev/null " + arguments);
}

TEST(Packages, AreUpgradedAndRemovedWithoutATrace) {
  const scratch_directory scratch;
  const std::string tree = scratch.at("tree");
  std::string packages, upgrades, all;
  for (const std::string &name : names) {
    const std::string upgrade = scratch.at(name + ".deb");
    expect_success(SOURCE "/tests/installed/next_release.sh " + package(name, "amd64") + " " + upgrade);
    packages += " " + package(name, "amd64");
    upgrades += " " + upgrade;
    all += " " + name;
  }
  files::create_directories(tree + "/var/lib/dpkg/updates");
  files::create_directories(tree + "/var/lib/dpkg/info");
  std::ofstream{tree + "/var/lib/dpkg/status"};
  dpkg(tree, "-i" + packages);
  EXPECT_TRUE(files::exists(tree + "/usr/include/dravik.h"));
  dpkg(tree, "-i" + upgrades);
  EXPECT_THAT(expect_success("dpkg-query --admindir=" + tree + "/var/lib/dpkg -W"),
              AllOf(HasSubstr("libdravik0.1.0\t0.1.0-2"), Not(HasSubstr("0.1.0-1"))));
  dpkg(tree, "-P" + all);
  EXPECT_THAT(expect_success("find " + tree + " -path " + tree + "/var -prune -o ! -type d -print"),
              IsEmpty());
  EXPECT_THAT(expect_success("find " + tree + " -name '*dravik*'"), IsEmpty());
  EXPECT_FALSE(files::exists(tree + "/usr"));
}

} // namespace
