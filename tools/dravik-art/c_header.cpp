// The enum of image names.

#include "dravik-art/c_header.hpp"
#include "common/magics.hpp"

#include <filesystem>
#include <map>

namespace dravik::art {
namespace {

constexpr bool is_digit(char c) noexcept {
  return c >= '0' && c <= '9';
}

/// A file's name without directory and extension, in letters, digits and underscores. ASCII only: the names
/// must not depend on the locale.
std::string plain_name(const std::string &path) {
  std::string name = std::filesystem::path(path).stem().string();
  for (char &c : name)
    if (!(is_digit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')))
      c = '_';
  return name;
}

std::string in_capitals(std::string name) {
  for (char &c : name)
    if (c >= 'a' && c <= 'z')
      c = static_cast<char>(c - 'a' + 'A');
  return name;
}

/// The prefix of all names of a header: a C identifier that is not reserved.
std::string header_prefix(const std::string &path) {
  std::string name = plain_name(path);
  name.erase(0, name.find_first_not_of('_'));
  return name.empty() || is_digit(name.front()) ? "art_" + name : name;
}

} // namespace

bool make_c_header(const std::string &path, std::span<const named_image> images, std::string &text,
                   std::string &error) {
  const std::string prefix = header_prefix(path);
  const std::string capitals = in_capitals(prefix) + "_";
  const std::string guard = capitals + "H", count = capitals + "COUNT";
  std::map<std::string, std::string> taken = {{guard, "the header's guard"}, {count, "the number of images"}};

  text = std::string(tools::art_header_magic) + "; changes are lost when it packs again. */\n#ifndef " +
         guard + "\n#define " + guard + "\n\nenum " + prefix + "_image {\n";
  for (size_t i = 0; i < images.size(); ++i) {
    const named_image &image = images[i];
    const std::string name = capitals + in_capitals(plain_name(image.file));
    const auto [before, is_new] = taken.emplace(name, image.file);
    if (!is_new) {
      error = image.file + ": name " + name + " already used by " + before->second;
      return false;
    }
    text += "  " + name + " = " + std::to_string(i) + ", /* " + std::to_string(image.width) + " x " +
            std::to_string(image.height) + " */\n";
  }
  text += "  " + count + " = " + std::to_string(images.size()) + "\n};\n\n#endif\n";
  return true;
}

} // namespace dravik::art
