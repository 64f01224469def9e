// PNG through libpng's simplified interface.

#include "png/png_file.hpp"

#include <cstdio>
#include <png.h>
#include <unistd.h>

namespace dravik::png {

bool read(const std::string &path, picture &into, std::string &error) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
    error = path + ": " + image.message;
    return false;
  }
  image.format = PNG_FORMAT_RGBA;
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
