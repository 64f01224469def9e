// A film of a run: the screen and the sound of a board while an application runs, or a scenario is played.
#pragma once

#include "film/encoder.hpp"
#include "scenario/player.hpp"

#include <optional>
#include <string>
#include <vector>

namespace dravik::sim {

struct film_request {
  std::string board;
  std::string file;
  film_format format = film_format::mp4;
  std::string ffmpeg;                              ///< path of the program
  std::optional<std::chrono::milliseconds> length; ///< none: until the application ends
  std::vector<std::string> run_arguments;          ///< of `dravik-sim run`; none for no application
};

/// Return false and set `error` on failure.
[[nodiscard]] bool make_film(const film_request &request, std::string &error);

/// The same of a scenario, until it ends. A scenario that fails has a film too.
[[nodiscard]] bool make_film(const film_request &request, const scenario::play_request &played,
                             std::vector<scenario::step> steps, std::string &error);

} // namespace dravik::sim
