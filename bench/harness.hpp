// Shared by all benchmarks: the screen, and rows of competitors that do the same job.
#pragma once

#include "dravik.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench {

inline constexpr int screen_width = 640;
inline constexpr int screen_height = 480;
inline constexpr int screen_pitch = 1280;
inline constexpr size_t screen_bytes = size_t{screen_pitch} * screen_height;

/// Drawn with where one colour will do. Its bytes are equal, so that memset() can paint it.
inline constexpr uint16_t ink = 0x4949;
inline constexpr int ink_byte = 0x49;

/// Point the library at the screen in ordinary memory.
void use_screen();

/// The address of a pixel of the screen.
uint16_t *pixel_at(int x, int y);

/// A rectangle of the screen.
struct box {
  int x, y, width, height;

  int right() const { return x + width - 1; }
  int bottom() const { return y + height - 1; }
};

/// The lower bound of filling blocks: memset() of each row.
void set_block(const box &b);

/// Places of boxes of one size, spread over the screen so that all alignments occur.
std::vector<box> spread_boxes(int width, int height, size_t count);

/// The offsets in bytes of the pixels that a job paints, in the order of memory.
std::vector<uint32_t> painted_offsets(const std::function<void()> &job);

/// The lower bound of drawing scattered pixels: stores at offsets computed beforehand.
void store_at(const std::vector<uint32_t> &offsets);

/// Limits of a row: the highest ratio of its median to that of the best reference library and of the lower
/// bound. 0: not judged.
struct targets {
  double peer;
  double floor;
};

enum class role { library, peer, floor };

/// The library, a reference library or the lower bound in a row.
struct contender {
  std::string name;
  role part;
  std::string note; ///< how its job differs from the library's; empty when it paints the same pixels
  std::vector<double> times;
  std::string error;
};

/// A row of the table.
struct row_record {
  std::string name;
  targets limits;
  size_t calls; ///< calls that a measured time covers
  std::vector<std::unique_ptr<contender>> contenders;
};

/// All rows in the order of their making.
std::vector<std::unique_ptr<row_record>> &rows();

/// Whether both jobs leave the same screen.
bool paint_the_same(const std::function<void()> &a, const std::function<void()> &b);

/// A row of the table: a job per item of a series, done by the library, reference libraries and the lower
/// bound. The library comes first, since the others are compared with its pixels.
template <class Item> class row {
public:
  row(std::string name, targets limits, std::vector<Item> items)
      : items_(std::make_shared<const std::vector<Item>>(std::move(items))),
        record_(rows().emplace_back(std::make_unique<row_record>()).get()) {
    *record_ = {std::move(name), limits, items_->size(), {}};
  }

  /// Done outside the measured time before each pass through the series.
  row &before_each_pass(std::function<void()> reset) {
    reset_ = std::move(reset);
    return *this;
  }

  template <class Job> row &library(Job job) {
    library_ = pass(job);
    return add("library", role::library, "", job);
  }
  /// A reference library, whose pixels must be those of the library unless the note names the difference.
  template <class Job> row &peer(const char *name, Job job, const char *note = "") {
    return add(name, role::peer, note, job);
  }
  template <class Job> row &floor(Job job) { return add("floor", role::floor, "as many bytes", job); }

private:
  template <class Job> auto pass(Job job) const {
    return [items = items_, job]() mutable {
      for (const Item &item : *items)
        job(item);
    };
  }

  template <class Job> row &add(const char *name, role part, const char *note, Job job) {
    record_->contenders.push_back(std::make_unique<contender>(contender{name, part, note, {}, {}}));
    const bool must_match = part == role::peer && *note == '\0';
    benchmark::RegisterBenchmark((record_->name + '/' + name).c_str(),
                                 [job = pass(job), reset = reset_, library = library_,
                                  unchecked = must_match](benchmark::State &state) mutable {
                                   if (unchecked && !paint_the_same(library, job))
                                     return state.SkipWithError("paints other pixels than the library");
                                   unchecked = false;
                                   for ([[maybe_unused]] auto once : state) {
                                     if (reset) {
                                       state.PauseTiming();
                                       reset();
                                       state.ResumeTiming();
                                     }
                                     job();
                                     benchmark::ClobberMemory();
                                   }
                                 });
    return *this;
  }

  std::shared_ptr<const std::vector<Item>> items_;
  row_record *record_;
  std::function<void()> reset_;
  std::function<void()> library_;
};

/// Times of single events; the table contains the median and the slowest.
struct distribution {
  std::string name;
  std::vector<double> microseconds;
};

/// All distributions in the order of their making.
std::vector<std::unique_ptr<distribution>> &distributions();

/// Return the distribution of the times that `take` appends in each repetition.
void add_distribution(std::string name, std::function<void(std::vector<double> &microseconds)> take);

/// All rows of a program in the order of its table.
void add_rows();

// The families, each in the file of its name.
void add_clears();
void add_rectangles();
void add_lines();
void add_circles();
void add_artwork();
void add_slots();
void add_bmp_files();
void add_jpeg();
void add_screenshot();
void add_text();
void add_truetype();
void add_numbers();
void add_log();
void add_devices();
void add_recordings();
void add_sound();

} // namespace bench
