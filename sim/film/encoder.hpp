// A film file, encoded by ffmpeg.
#pragma once

#include "base/unique_fd.hpp"
#include "film/screen_recorder.hpp"

#include <chrono>
#include <cstdint>
#include <string>

namespace dravik::sim {

enum class film_format : uint8_t { mp4, webm, gif };

/// By the ending of a file name. Return false if there is no such format.
[[nodiscard]] bool find_film_format(const std::string &file, film_format &format);

struct film_parts {
  screen_recorder &frames; ///< stopped
  const unique_fd &sound;  ///< of the same length; not part of a GIF
  screen_recorder::clock::duration length;
};

/// Write a film completely or not at all. Return false and set `error` on failure.
[[nodiscard]] bool encode_film(const std::string &ffmpeg, const std::string &file, film_format format,
                               const film_parts &parts, std::string &error);

} // namespace dravik::sim
