// What every fuzz target needs: a board of its own to keep the library from the host's files, a screen whose
// memory ends where it says, and a file that holds the input.
#pragma once

#include "dravik.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <sys/stat.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace dravik::fuzz {

/// One for each process; made at the first input.
class rig {
public:
  static constexpr uint32_t width = 160;
  static constexpr uint32_t height = 120;

  static rig &the() {
    static rig only;
    return only;
  }

  /// The path, as the library is to be given it, of a file with these bytes.
  const char *file(std::span<const uint8_t> bytes) {
    const std::string on_host = board_ + path_;
    std::FILE *file = std::fopen(on_host.c_str(), "wb");
    if (file == nullptr)
      std::abort();
    if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
      std::abort();
    std::fclose(file);
    return path_;
  }
  static constexpr const char *file_name = "input";

private:
  rig() : pixels_(new uint16_t[width * height + padding_pixels]) {
    const char *folder = is_folder("/dev/shm") ? "/dev/shm" : "/tmp";
    board_ = std::string(folder) + "/dravik-fuzz-XXXXXX";
    if (mkdtemp(board_.data()) == nullptr)
      std::abort();
    for (const char *dir : {"/tmp", "/usr", "/usr/local", "/usr/local/dravik", "/usr/local/dravik/jpg"})
      if (mkdir((board_ + dir).c_str(), 0700) != 0)
        std::abort();
    setenv("DRAVIK_BOARD", board_.c_str(), 1);
    require_simulator();

    fbp = reinterpret_cast<uint8_t *>(pixels_.get());
    fbinfo[FBINFO_LINE_LENGTH] = width * 2;
    fbinfo[FBINFO_XRES] = width;
    fbinfo[FBINFO_YRES] = height;
    fbinfo[FBINFO_SCREEN_SIZE] = width * height * 2;
    set_theme_color(0x0B77);
  }
  ~rig() {
    std::error_code code;
    std::filesystem::remove_all(board_, code);
    if (code)
      std::abort();
  }

  /// A target never touches the host's files: it ends when a file of the board is not seen through its fixed
  /// path.
  void require_simulator() {
    file({});
    struct stat status;
    if (stat(path_, &status) == 0)
      return;
    std::fputs("the simulated board is not in charge\n", stderr);
    std::abort();
  }

  static bool is_folder(const char *folder) {
    struct stat status;
    return stat(folder, &status) == 0 && S_ISDIR(status.st_mode);
  }

  /// A row of odd width that ends with the screen leaves its padding in one pixel more.
  static constexpr size_t padding_pixels = 1;
  static constexpr const char *path_ = "/usr/local/dravik/jpg/input";

  std::string board_;
  std::unique_ptr<uint16_t[]> pixels_;
};

} // namespace dravik::fuzz
