// PNG through libpng's simplified interface.

#include "png/png_file.hpp"

#include "common/files.hpp"
#include "common/magics.hpp"

#include <array>
#include <png.h>

namespace dravik::png {

namespace {

/// Return why a file cannot be read. libpng has one text, "Read Error", for all files that end too early.
std::string problem(std::FILE *file, const png_image &image) {
  const bool has_ended = std::feof(file) != 0;
  std::array<char, tools::png_magic.size()> start;
  std::rewind(file);
  const size_t got = std::fread(start.data(), 1, start.size(), file);
  if (std::string_view{start.data(), got} != tools::png_magic)
    return "not a PNG file";
  return has_ended ? "truncated" : image.message;
}

/// Read up to the pixels. After success the caller finishes reading, or frees; `file` stays open
/// until then.
bool begin(const std::string &path, const unique_file &file, png_image &image, std::string &error) {
  image = {};
  image.version = PNG_IMAGE_VERSION;
  if (file == nullptr)
    return false;
  if (png_image_begin_read_from_stdio(&image, file.get()) == 0) {
    error = path + ": " + problem(file.get(), image);
    return false;
  }
  if (is_bearable(image.width, image.height))
    return true;
  error = path + ": too large: " + std::to_string(image.width) + " x " + std::to_string(image.height) +
          " pixels; must be at most " + std::to_string(most_pixels) + " pixels";
  png_image_free(&image);
  return false;
}

} // namespace

bool read_size(const std::string &path, size &into, std::string &error) {
  const unique_file file = tools::open_regular(path, error);
  png_image image;
  if (!begin(path, file, image, error))
    return false;
  into = {image.width, image.height};
  png_image_free(&image);
  return true;
}

bool read(const std::string &path, picture &into, std::string &error) {
  const unique_file file = tools::open_regular(path, error);
  png_image image;
  if (!begin(path, file, image, error))
    return false;
  image.format = PNG_FORMAT_RGBA;
  image.flags |= PNG_IMAGE_FLAG_16BIT_sRGB; // brightness as seen, whatever the depth
  into.width = image.width;
  into.height = image.height;
  into.rgba.resize(PNG_IMAGE_SIZE(image));
  if (png_image_finish_read(&image, nullptr, into.rgba.data(), 0, nullptr) == 0) {
    error = path + ": " + problem(file.get(), image);
    return false;
  }
  return true;
}

bool write(std::FILE *stream, const char *name, const picture &from, std::string &error) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  image.width = from.width;
  image.height = from.height;
  image.format = PNG_FORMAT_RGBA;
  if (png_image_write_to_stdio(&image, stream, 0, from.rgba.data(), 0, nullptr) == 0)
    error = std::string{name} + ": " + image.message;
  else if (std::fflush(stream) != 0)
    error = tools::system_error(name);
  return error.empty();
}

bool write(const std::string &path, const picture &from, std::string &error) {
  tools::pending_file file{path};
  return file.open(error) && write(file.stream(), path.c_str(), from, error) && file.close(error) &&
         file.commit(error);
}

} // namespace dravik::png
