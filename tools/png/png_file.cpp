// PNG through libpng's simplified interface.

#include "png/png_file.hpp"

#include <cstdio>
#include <png.h>
#include <unistd.h>

namespace dravik::png {

namespace {

/// Reads up to the pixels. After success the caller finishes reading, or frees.
bool begin(const std::string &path, png_image &image, std::string &error) {
  image = {};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
    error = path + ": " + image.message;
    return false;
  }
  if (is_bearable(image.width, image.height))
    return true;
  error = path + ": " + std::to_string(image.width) + " x " + std::to_string(image.height) + " is too large";
  png_image_free(&image);
  return false;
}

} // namespace

bool read_size(const std::string &path, size &into, std::string &error) {
  png_image image;
  if (!begin(path, image, error))
    return false;
  into = {image.width, image.height};
  png_image_free(&image);
  return true;
}

bool read(const std::string &path, picture &into, std::string &error) {
  png_image image;
  if (!begin(path, image, error))
    return false;
  image.format = PNG_FORMAT_RGBA;
  image.flags |= PNG_IMAGE_FLAG_16BIT_sRGB; // brightness as seen, whatever the depth
  into.width = image.width;
  into.height = image.height;
  into.rgba.resize(PNG_IMAGE_SIZE(image));
  if (png_image_finish_read(&image, nullptr, into.rgba.data(), 0, nullptr) == 0) {
    error = path + ": " + image.message;
    return false;
  }
  return true;
}

bool write(const std::string &path, const picture &from, std::string &error) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  image.width = from.width;
  image.height = from.height;
  image.format = PNG_FORMAT_RGBA;
  const std::string unfinished = path + ".part";
  if (png_image_write_to_file(&image, unfinished.c_str(), 0, from.rgba.data(), 0, nullptr) == 0) {
    error = path + ": " + image.message;
    ::unlink(unfinished.c_str());
    return false;
  }
  if (std::rename(unfinished.c_str(), path.c_str()) != 0) {
    error = path + ": cannot be replaced";
    ::unlink(unfinished.c_str());
    return false;
  }
  return true;
}

} // namespace dravik::png
