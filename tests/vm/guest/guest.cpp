#include "guest.hpp"
#include "dravik.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::vm {
namespace {

constexpr const char *control_file = "/proc/ambarella/control";

} // namespace

std::string ask(const std::string &request) {
  std::cout << "@@" << request << std::endl;
  std::string answer;
  std::getline(std::cin, answer);
  return answer;
}

void end_by(const std::string &request) {
  std::cout << "@@" << request << std::endl;
  for (;;)
    ::pause();
}

std::string panel_shows(std::span<const uint16_t> pixels) {
  char crc[16];
  std::snprintf(crc, sizeof crc, "%08x",
                get_data_crc(pixels.data(), static_cast<uint32_t>(pixels.size_bytes())));
  return ask(std::string{"panel "} + crc);
}

int run(const std::string &command) {
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string output_of(const std::string &command) {
  const std::unique_ptr<FILE, int (*)(FILE *)> pipe{::popen(command.c_str(), "r"), ::pclose};
  std::string output;
  for (int byte = std::fgetc(pipe.get()); byte != EOF; byte = std::fgetc(pipe.get()))
    output += static_cast<char>(byte);
  return output;
}

bool exists(const std::string &path) {
  return ::access(path.c_str(), F_OK) == 0;
}

std::string read_text(const std::string &path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  std::string text;
  std::array<char, 65536> block;
  for (ssize_t got = 1; file >= 0 && (got = ::read(file, block.data(), block.size())) > 0;)
    text.append(block.data(), static_cast<size_t>(got));
  ::close(file);
  return text;
}

bool write_text(const std::string &path, const std::string &text) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (file < 0)
    return false;
  const ssize_t written = ::write(file, text.data(), text.size());
  return ::close(file) == 0 && written == static_cast<ssize_t>(text.size());
}

std::vector<std::string> lines_of(const std::string &text) {
  std::istringstream stream{text};
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

bool control(const std::string &command) {
  return write_text(control_file, command);
}

std::vector<std::string> events() {
  return lines_of(read_text("/proc/ambarella/events"));
}

void clear_events() {
  control("clear");
}

} // namespace dravik::vm
