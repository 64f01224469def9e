// A film file, encoded by ffmpeg.

#include "film/encoder.hpp"
#include "common/files.hpp"
#include "film/nameless_file.hpp"
#include "host/host_tool.hpp"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <span>
#include <sys/wait.h>
#include <vector>

namespace dravik::sim {
namespace {

using words = std::vector<std::string>;

struct frame_rate {
  int64_t frames, seconds;
  std::string text() const { return std::to_string(frames) + "/" + std::to_string(seconds); }
};

/// A GIF counts its time in hundredths of a second.
constexpr frame_rate film_rate = {60, 1};
constexpr frame_rate gif_rate = {25, 2};

/// Encoders of films require even sides.
constexpr const char *even_sides = "pad=ceil(iw/2)*2:ceil(ih/2)*2";

void add(words &to, const words &more) {
  to.insert(to.end(), more.begin(), more.end());
}

const char *pixel_format(uint32_t bytes_per_pixel) {
  constexpr const char *names[] = {"rgb565le", "bgr24", "bgr0"};
  return names[std::clamp(bytes_per_pixel, 2U, 4U) - 2];
}

words input_of(const screen_image &image, const frame_rate &rate) {
  return {"ffmpeg",
          "-hide_banner",
          "-loglevel",
          "error",
          "-nostdin",
          "-y",
          "-f",
          "rawvideo",
          "-pixel_format",
          pixel_format(image.bytes_per_pixel),
          "-video_size",
          std::to_string(image.width) + "x" + std::to_string(image.height),
          "-framerate",
          rate.text(),
          "-i",
          "pipe:0"};
}

words sound_of(const unique_fd &sound) {
  return {"-f", "s16le", "-ar", "48000", "-ac", "2", "-i", path_of(sound), "-map", "0:v", "-map", "1:a"};
}

words coding_of(film_format format) {
  if (format == film_format::webm)
    return {"-vf",  even_sides, "-c:v", "libvpx-vp9", "-deadline", "realtime", "-cpu-used",
            "8",    "-crf",     "32",   "-b:v",       "0",         "-pix_fmt", "yuv420p",
            "-c:a", "libopus",  "-b:a", "96k",        "-f",        "webm"};
  return {"-vf",     even_sides, "-c:v", "libx264", "-preset", "veryfast",  "-crf",       "20", "-pix_fmt",
          "yuv420p", "-c:a",     "aac",  "-b:a",    "128k",    "-movflags", "+faststart", "-f", "mp4"};
}

/// Becomes ffmpeg; the files of the film stay open.
[[noreturn]] void become(const std::string &ffmpeg, const words &arguments, int input,
                         std::span<const int> files) {
  set_default_signals();
  ::dup2(input, STDIN_FILENO);
  for (const int file : files)
    ::fcntl(file, F_SETFD, 0);
  std::vector<char *> pointers;
  for (const std::string &each : arguments)
    pointers.push_back(const_cast<char *>(each.c_str()));
  pointers.push_back(nullptr);
  ::execv(ffmpeg.c_str(), pointers.data());
  ::_exit(127);
}

bool write_all(int to, std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(to, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR)
      continue;
    if (count <= 0)
      return false;
    bytes = bytes.subspan(static_cast<size_t>(count));
  }
  return true;
}

class encoder {
public:
  encoder(const std::string &ffmpeg, const film_parts &parts, frame_rate rate)
      : ffmpeg_(ffmpeg), parts_(parts), rate_(rate) {}

  /// Let ffmpeg read all frames, with the arguments after its input.
  bool run(const words &rest, std::span<const int> files, std::string &error) {
    parts_.frames.rewind();
    screen_image image;
    if (!parts_.frames.show(parts_.frames.begin(), image)) {
      error = "frames of the film cannot be read";
      return false;
    }
    words arguments = input_of(image, rate_);
    add(arguments, rest);
    return start(arguments, files, error) && finish(send(image), error);
  }

private:
  bool start(const words &arguments, std::span<const int> files, std::string &error) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
      error = "ffmpeg: " + std::string{std::strerror(errno)};
      return false;
    }
    const unique_fd input{ends[0]};
    frames_.reset(ends[1]);
    process_ = ::fork();
    if (process_ == 0)
      become(ffmpeg_, arguments, input.get(), files);
    return true;
  }

  /// A frame shows what the screen showed in the middle of its time.
  bool send(screen_image &image) {
    using std::chrono::nanoseconds;
    const int64_t second_ns = nanoseconds{std::chrono::seconds{1}}.count() * rate_.seconds;
    const int64_t count = std::max<int64_t>(nanoseconds{parts_.length}.count() * rate_.frames / second_ns, 1);
    for (int64_t i = 0; i < count; ++i) {
      const nanoseconds time{(2 * i + 1) * second_ns / (2 * rate_.frames)};
      if (!parts_.frames.show(parts_.frames.begin() + time, image) || !write_all(frames_.get(), image.pixels))
        return false;
    }
    return true;
  }

  bool finish(bool is_sent, std::string &error) {
    frames_.reset();
    int status = 0;
    if (process_ < 0 || ::waitpid(process_, &status, 0) != process_ || status != 0 || !is_sent)
      error = "ffmpeg: the film cannot be encoded";
    return error.empty();
  }

  const std::string &ffmpeg_;
  const film_parts &parts_;
  frame_rate rate_;
  unique_fd frames_;
  pid_t process_ = -1;
};

bool encode_gif(const std::string &ffmpeg, const film_parts &parts, const std::string &directory, int to,
                std::string &error) {
  const unique_fd palette = make_nameless_file(directory, error);
  const int files[] = {palette.get(), to};
  const std::string output = "/dev/fd/" + std::to_string(to);
  encoder gif{ffmpeg, parts, gif_rate};
  return palette &&
         gif.run({"-vf", "palettegen", "-frames:v", "1", "-c:v", "png", "-f", "rawvideo", path_of(palette)},
                 files, error) &&
         gif.run({"-f", "png_pipe", "-i", path_of(palette), "-lavfi",
                  "paletteuse=dither=none:diff_mode=rectangle", "-f", "gif", output},
                 files, error);
}

bool encode(const std::string &ffmpeg, film_format format, const film_parts &parts,
            const std::string &directory, int to, std::string &error) {
  if (format == film_format::gif)
    return encode_gif(ffmpeg, parts, directory, to, error);
  words rest = sound_of(parts.sound);
  add(rest, coding_of(format));
  rest.push_back("/dev/fd/" + std::to_string(to));
  const int files[] = {parts.sound.get(), to};
  return encoder{ffmpeg, parts, film_rate}.run(rest, files, error);
}

} // namespace

bool find_film_format(const std::string &file, film_format &format) {
  constexpr std::pair<const char *, film_format> formats[] = {
      {".mp4", film_format::mp4}, {".webm", film_format::webm}, {".gif", film_format::gif}};
  for (const auto &[ending, known] : formats)
    if (file.ends_with(ending)) {
      format = known;
      return true;
    }
  return false;
}

bool encode_film(const std::string &ffmpeg, const std::string &file, film_format format,
                 const film_parts &parts, std::string &error) {
  tools::pending_file made{file};
  if (!made.open(error))
    return false;
  const std::string directory = std::filesystem::absolute(file).parent_path();
  ::signal(SIGPIPE, SIG_IGN); // an encoder that has failed
  return encode(ffmpeg, format, parts, directory, ::fileno(made.stream()), error) && made.close(error) &&
         made.commit(error);
}

} // namespace dravik::sim
