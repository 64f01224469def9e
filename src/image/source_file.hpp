// Image files, read by position.
#pragma once

#include "base/unique_file.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <sys/uio.h>
#include <unistd.h>

namespace dravik::image {

/// RAII owner of an open file. It is opened as a stream and read through the stream's descriptor.
class source_file {
public:
  explicit source_file(const char *path) noexcept : stream_(open_unbuffered(path, "r")) {}

  bool is_open() const noexcept { return stream_ != nullptr; }

  /// Return the length in bytes, or -1.
  int64_t size() const noexcept { return seek_to_end(stream_.get()); }

  /// Read up to `size` bytes from a position; fewer only at the end of the file.
  size_t read(uint8_t *to, size_t size, uint64_t position) const noexcept {
    size_t got = 0;
    while (got < size) {
      const ssize_t n = ::pread(descriptor(), to + got, size - got, static_cast<off_t>(position + got));
      if (n <= 0)
        break;
      got += static_cast<size_t>(n);
    }
    return got;
  }

  /// Read into several pieces of memory by one request. Return the number of bytes, or -1.
  ssize_t read(std::span<const iovec> pieces, uint64_t position) const noexcept {
    return ::preadv(descriptor(), pieces.data(), static_cast<int>(pieces.size()),
                    static_cast<off_t>(position));
  }

private:
  int descriptor() const noexcept { return ::fileno(stream_.get()); }

  unique_file stream_;
};

/// Where equal records are in a file: `count` of them from `position`, in a file of `file_size` bytes.
struct record_range {
  uint64_t position;
  size_t record_size;
  uint64_t count;
  uint64_t file_size;

  /// The bytes that the file has of them.
  uint64_t size() const noexcept {
    return position < file_size ? std::min(count * record_size, file_size - position) : 0;
  }
};

/// Returns records of equal size, which it reads many at a time. After the end of the file it returns `last`,
/// with the contents that reading record after record into it would have left.
class record_reader {
public:
  record_reader(const source_file &file, const record_range &range, uint8_t *last) noexcept
      : file_(file), position_(range.position), left_(range.size()), record_size_(range.record_size),
        last_(last) {}
  ~record_reader() noexcept { keep(); }
  record_reader(const record_reader &) = delete;
  record_reader &operator=(const record_reader &) = delete;

  const uint8_t *next() noexcept {
    if (filled_ - taken_ < record_size_ && left_ != 0)
      refill();
    if (filled_ - taken_ < record_size_)
      return take_rest();
    current_ = chunk_.data() + taken_;
    taken_ += record_size_;
    return current_;
  }

private:
  /// Call when all records read have been returned: a chunk holds whole records, up to the last in the file.
  [[gnu::noinline]] void refill() noexcept {
    keep();
    const auto size =
        static_cast<size_t>(std::min<uint64_t>(chunk_size / record_size_ * record_size_, left_));
    filled_ = file_.read(chunk_.data(), size, position_);
    taken_ = 0;
    position_ += filled_;
    left_ = filled_ < size ? 0 : left_ - size;
  }

  /// The file ends within a record: its start overwrites the previous record.
  [[gnu::noinline]] const uint8_t *take_rest() noexcept {
    keep();
    std::memcpy(last_, chunk_.data() + taken_, filled_ - taken_);
    taken_ = filled_;
    return last_;
  }

  [[gnu::noinline]] void keep() noexcept {
    if (current_ != nullptr)
      std::memcpy(last_, current_, record_size_);
    current_ = nullptr;
  }

  static constexpr size_t chunk_size = 32768;
  static constexpr size_t slack = 4; ///< decoders may load a word that starts in the last pixel

  const source_file &file_;
  uint64_t position_;
  uint64_t left_; ///< bytes still to be read
  size_t record_size_;
  uint8_t *last_;
  const uint8_t *current_ = nullptr;
  size_t filled_ = 0, taken_ = 0;
  std::array<uint8_t, chunk_size + slack> chunk_;
};

} // namespace dravik::image
