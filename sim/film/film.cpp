// A film of a run: the screen and the sound of a board while an application runs, or a scenario is played.

#include "film/film.hpp"
#include "common/tool.hpp"
#include "film/nameless_file.hpp"
#include "film/sound_track.hpp"

#include <filesystem>

namespace dravik::sim {
namespace {

using clock = run_session::clock;

constexpr auto pause_between_looks = std::chrono::milliseconds{500};

std::string directory_of(const film_request &request) {
  return std::filesystem::absolute(request.file).parent_path();
}

/// Record what `run` makes of the session, and encode it.
template <class Run> bool record(const film_request &request, Run run, std::string &error) {
  run_session session{request.board, request.run_arguments};
  sound_track sound{request.board};
  screen_recorder frames{request.board};
  if (!frames.start(directory_of(request), error))
    return false;
  clock::time_point end;
  const bool has_passed = run(session, end, error);
  frames.stop();
  if (!frames.error().empty())
    tools::warn(frames.error());
  if (end <= frames.begin())
    return has_passed;
  std::string film_error;
  const clock::duration length = end - frames.begin();
  const unique_fd track = make_nameless_file(directory_of(request), film_error);
  const bool is_made =
      track && sound.write(track, frames.begin(), length, film_error) &&
      encode_film(request.ffmpeg, request.file, request.format, {frames, track, length}, film_error);
  if (has_passed)
    error = film_error;
  return has_passed && is_made;
}

/// Until the application has ended, the time is over, or the user ends it.
clock::time_point follow(run_session &session, const film_request &request) {
  const clock::time_point deadline =
      request.length ? clock::now() + *request.length : clock::time_point::max();
  while (true) {
    session.look();
    const clock::time_point now = clock::now();
    if (session.application().state() == application_state::ended || session.is_interrupted() ||
        now >= deadline)
      return now;
    session.wait_until(std::min(deadline, now + pause_between_looks));
  }
}

} // namespace

bool make_film(const film_request &request, std::string &error) {
  const auto run = [&](run_session &session, clock::time_point &end, std::string &problem) {
    if (!session.start(problem))
      return false;
    end = follow(session, request);
    if (const sim::application &shown = session.application();
        shown.state() == application_state::ended && shown.status() != 0)
      tools::warn("the application ended with exit status " + std::to_string(shown.status()));
    session.end();
    return true;
  };
  return record(request, run, error);
}

bool make_film(const film_request &request, const scenario::play_request &played,
               std::vector<scenario::step> steps, std::string &error) {
  const auto run = [&](run_session &session, clock::time_point &end, std::string &problem) {
    const bool has_held = scenario::player{played, std::move(steps), session}.play(problem);
    end = clock::now();
    return has_held;
  };
  return record(request, run, error);
}

} // namespace dravik::sim
