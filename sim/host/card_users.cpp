// The processes that use the files of a mounted memory card.

#include "host/card_users.hpp"

#include <array>
#include <climits>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <unistd.h>

namespace dravik::sim {
namespace {

namespace files = std::filesystem;

bool is_at_or_below(std::string_view path, std::string_view directory) {
  return path.starts_with(directory) && (path.size() == directory.size() || path[directory.size()] == '/');
}

bool leads_below(const files::path &link, const std::string &directory) {
  std::array<char, PATH_MAX> target;
  const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
  return length > 0 && is_at_or_below({target.data(), static_cast<size_t>(length)}, directory);
}

bool has_open(const files::path &process, const std::string &directory) {
  std::error_code code;
  for (files::directory_iterator entry{process / "fd", code}; !code && entry != files::directory_iterator{};
       entry.increment(code))
    if (leads_below(entry->path(), directory))
      return true;
  return false;
}

bool has_mapped(const files::path &process, const std::string &directory) {
  std::ifstream maps{process / "maps"};
  for (std::string line; std::getline(maps, line);)
    if (const size_t path = line.find('/');
        path != std::string::npos && is_at_or_below(std::string_view{line}.substr(path), directory))
      return true;
  return false;
}

bool uses(const files::path &process, const std::string &directory) {
  return leads_below(process / "cwd", directory) || leads_below(process / "root", directory) ||
         has_open(process, directory) || has_mapped(process, directory);
}

bool is_other_process(const std::string &name) {
  return name.find_first_not_of("0123456789") == std::string::npos && name != std::to_string(::getpid());
}

} // namespace

bool is_in_use(const std::string &directory) {
  std::error_code code;
  const std::string real = files::canonical(directory, code).string();
  for (files::directory_iterator entry{"/proc", code}; !code && entry != files::directory_iterator{};
       entry.increment(code))
    if (!real.empty() && is_other_process(entry->path().filename().string()) && uses(entry->path(), real))
      return true;
  return false;
}

} // namespace dravik::sim
