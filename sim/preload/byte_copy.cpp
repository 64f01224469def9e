// dd on a board, without a program of the host. It uses the calls of an application, so that devices
// and attributes behave as for one.

#include "preload/byte_copy.hpp"
#include "base/heap_block.hpp"
#include "base/unique_fd.hpp"
#include "board/settings_text.hpp"
#include "preload/card_view.hpp"
#include "preload/path_map.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr uint64_t longest_block = uint64_t{64} << 20;
constexpr uint64_t no_limit = std::numeric_limits<uint64_t>::max();

// Conversions (conv=), as bits.
constexpr unsigned keeps_length = 1;
constexpr unsigned pads_blocks = 2;
constexpr unsigned must_exist = 4;
constexpr unsigned must_be_new = 8;
constexpr unsigned flushes = 16;

struct copy_orders {
  const char *from = nullptr;
  const char *to = nullptr;
  uint64_t input_block = 512;
  uint64_t output_block = 512;
  uint64_t block = 0; ///< of both, if specified
  uint64_t count = no_limit;
  uint64_t skip = 0;
  uint64_t seek = 0;
  unsigned conversions = 0;
  bool is_quiet = false; ///< status=none
  bool prints_rate = true;

  uint64_t read_size() const noexcept { return block != 0 ? block : input_block; }
  uint64_t write_size() const noexcept { return block != 0 ? block : output_block; }
};

/// Messages of dd.
class messages {
public:
  explicit messages(const shell_words &command) noexcept : is_printed_(!command.drops_errors()) {}
  [[gnu::format(printf, 2, 3)]] void print(const char *format, ...) const noexcept {
    va_list arguments;
    va_start(arguments, format);
    if (is_printed_)
      ::vdprintf(STDERR_FILENO, format, arguments);
    va_end(arguments);
  }
  /// Report a failure, with the reason in errno.
  int fail(const char *what, const char *name) const noexcept {
    print("dd: %s '%s': %s\n", what, name, std::strerror(errno));
    return 1;
  }

private:
  bool is_printed_;
};

// --------------------------------------------------------------------------------------------- operands

struct unit {
  std::string_view suffix;
  uint64_t bytes;
};
constexpr unit units[] = {
    {"", 1},           {"c", 1},          {"w", 2},        {"b", 512},        {"K", 1U << 10},
    {"k", 1U << 10},   {"KiB", 1U << 10}, {"kB", 1000},    {"KB", 1000},      {"M", 1U << 20},
    {"MiB", 1U << 20}, {"MB", 1000000},   {"G", 1U << 30}, {"GiB", 1U << 30}, {"GB", 1000000000},
};

/// A number with its unit: 4M.
bool read_factor(std::string_view text, uint64_t &number) noexcept {
  const size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  if (digits == 0 || !read_number(std::string_view{text.data(), digits}, number))
    return false;
  text.remove_prefix(digits);
  for (const unit &known : units)
    if (known.suffix == text)
      return !__builtin_mul_overflow(number, known.bytes, &number);
  return false;
}

/// Factors with an x between them: 2x512.
bool read_bytes(std::string_view text, uint64_t &number) noexcept {
  number = 1;
  do {
    uint64_t factor = 0;
    if (!read_factor(take_until(text, 'x'), factor) || __builtin_mul_overflow(number, factor, &number))
      return false;
  } while (!text.empty());
  return true;
}

struct number_operand {
  std::string_view name;
  uint64_t copy_orders::*place;
  bool is_size; ///< of a block: not 0
};
constexpr number_operand number_operands[] = {
    {"bs", &copy_orders::block, true},         {"ibs", &copy_orders::input_block, true},
    {"obs", &copy_orders::output_block, true}, {"count", &copy_orders::count, false},
    {"skip", &copy_orders::skip, false},       {"seek", &copy_orders::seek, false},
};

struct named_conversion {
  std::string_view name;
  unsigned bit;
};
constexpr named_conversion conversions[] = {
    {"notrunc", keeps_length}, {"sync", pads_blocks}, {"nocreat", must_exist},
    {"excl", must_be_new},     {"fsync", flushes},    {"fdatasync", flushes},
};

bool read_conversions(std::string_view list, unsigned &bits) noexcept {
  while (!list.empty()) {
    const auto *known = std::ranges::find(conversions, take_until(list, ','), &named_conversion::name);
    if (known == std::end(conversions))
      return false;
    bits |= known->bit;
  }
  return true;
}

bool read_status(std::string_view level, copy_orders &orders) noexcept {
  orders.is_quiet = level == "none";
  orders.prints_rate = level != "noxfer";
  return level == "none" || level == "noxfer" || level == "progress";
}

/// Of several with the same name, the last one is used.
bool read_operand(const char *word, copy_orders &orders) noexcept {
  std::string_view value = word;
  const std::string_view name = take_until(value, '=');
  if (name == "if")
    orders.from = value.data();
  else if (name == "of")
    orders.to = value.data();
  else if (name == "conv")
    return read_conversions(value, orders.conversions);
  else if (name == "status")
    return read_status(value, orders);
  else {
    const auto *known = std::ranges::find(number_operands, name, &number_operand::name);
    return known != std::end(number_operands) && read_bytes(value, orders.*known->place) &&
           (!known->is_size || (orders.*known->place > 0 && orders.*known->place <= longest_block));
  }
  return std::strchr(word, '=') != nullptr;
}

// --------------------------------------------------------------------------------------------- files

bool is_of_board(const char *path) noexcept {
  return board_path{path}.kind() != file_kind::none;
}

bool is_source_of_bytes(std::string_view path) noexcept {
  return path == "/dev/zero" || path == "/dev/urandom" || path == "/dev/null";
}

bool stays_on_board(const copy_orders &orders) noexcept {
  return orders.from != nullptr && orders.to != nullptr && is_of_board(orders.to) &&
         (is_of_board(orders.from) || is_source_of_bytes(orders.from));
}

int flags_for_output(const copy_orders &orders) noexcept {
  const bool is_cut = (orders.conversions & keeps_length) == 0 && orders.seek == 0;
  return O_WRONLY | O_CLOEXEC | ((orders.conversions & must_exist) != 0 ? 0 : O_CREAT) |
         ((orders.conversions & must_be_new) != 0 ? O_EXCL : 0) | (is_cut ? O_TRUNC : 0);
}

bool go_to(int descriptor, uint64_t blocks, uint64_t size) noexcept {
  uint64_t position = 0;
  if (blocks == 0)
    return true;
  if (__builtin_mul_overflow(blocks, size, &position) || position > std::numeric_limits<int64_t>::max()) {
    errno = EOVERFLOW;
    return false;
  }
  return ::lseek64(descriptor, static_cast<off64_t>(position), SEEK_SET) >= 0;
}

/// Truncate the output where writing begins, if the file allows it.
void cut_behind(int descriptor, const copy_orders &orders) noexcept {
  if ((orders.conversions & keeps_length) == 0 && orders.seek != 0 &&
      ::ftruncate64(descriptor, ::lseek64(descriptor, 0, SEEK_CUR)) != 0)
    return; // a device has its own length
}

// --------------------------------------------------------------------------------------------- the copy

struct copy_counts {
  uint64_t read_whole = 0, read_part = 0;
  uint64_t bytes = 0; ///< written
};

/// Write a block completely, unless an error occurs.
bool write_block(int descriptor, const uint8_t *data, size_t size, uint64_t &bytes) noexcept {
  while (size > 0) {
    const ssize_t count = ::write(descriptor, data, size);
    if (count < 0 && errno == EINTR)
      continue;
    if (count <= 0)
      return false;
    bytes += static_cast<uint64_t>(count);
    data += count;
    size -= static_cast<size_t>(count);
  }
  return true;
}

size_t read_block(int descriptor, uint8_t *data, size_t size, bool &failed) noexcept {
  ssize_t count;
  while ((count = ::read(descriptor, data, size)) < 0 && errno == EINTR) {
  }
  failed = count < 0;
  return failed ? 0 : static_cast<size_t>(count);
}

int copy_blocks(const copy_orders &orders, int from, int to, uint8_t *block, copy_counts &counts,
                const messages &messages) noexcept {
  const auto whole = static_cast<size_t>(orders.read_size()); // that of the block
  for (uint64_t i = 0; i < orders.count; ++i) {
    bool failed = false;
    size_t size = read_block(from, block, whole, failed);
    if (failed)
      return messages.fail("error reading", orders.from);
    if (size == 0)
      break;
    ++(size == whole ? counts.read_whole : counts.read_part);
    if ((orders.conversions & pads_blocks) != 0) {
      std::memset(block + size, 0, whole - size);
      size = whole;
    }
    if (!write_block(to, block, size, counts.bytes))
      return messages.fail("error writing", orders.to);
  }
  return 0;
}

// --------------------------------------------------------------------------------------------- the report

/// A size as dd prints it: 4.2 MB.
struct short_size {
  short_size(double number, double step, const char *const *names) noexcept {
    int power = 0;
    for (; number >= step && power < 5; ++power)
      number /= step;
    std::snprintf(text, sizeof text, number < 9.95 && power > 0 ? "%.1f %s" : "%.0f %s", number,
                  names[power]);
  }
  char text[32];
};
constexpr const char *decimal_names[] = {"B", "kB", "MB", "GB", "TB", "PB"};
constexpr const char *binary_names[] = {"B", "KiB", "MiB", "GiB", "TiB", "PiB"};

double seconds_now() noexcept {
  timespec now;
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void print_rate(uint64_t bytes, double seconds, const messages &messages) noexcept {
  const auto number = static_cast<double>(bytes);
  const short_size decimal{number, 1000, decimal_names};
  const short_size binary{number, 1024, binary_names};
  const auto count = static_cast<unsigned long long>(bytes);
  if (bytes >= 1024)
    messages.print("%llu bytes (%s, %s) copied", count, decimal.text, binary.text);
  else if (bytes >= 1000)
    messages.print("%llu bytes (%s) copied", count, decimal.text);
  else
    messages.print(bytes == 1 ? "%llu byte copied" : "%llu bytes copied", count);
  const short_size rate{number / std::max(seconds, 1e-9), 1000, decimal_names};
  messages.print(", %g s, %s/s\n", seconds, rate.text);
}

void report(const copy_orders &orders, const copy_counts &counts, double seconds,
            const messages &messages) noexcept {
  if (orders.is_quiet)
    return;
  const auto number = [](uint64_t value) { return static_cast<unsigned long long>(value); };
  messages.print("%llu+%llu records in\n%llu+%llu records out\n", number(counts.read_whole),
                 number(counts.read_part), number(counts.bytes / orders.write_size()),
                 number(counts.bytes % orders.write_size() != 0 ? 1 : 0));
  if (orders.prints_rate)
    print_rate(counts.bytes, seconds, messages);
}

int copy(const copy_orders &orders, const messages &messages) noexcept {
  const double start = seconds_now();
  const unique_fd from{::open(orders.from, O_RDONLY | O_CLOEXEC)};
  if (!from)
    return messages.fail("failed to open", orders.from);
  const unique_fd to{::open(orders.to, flags_for_output(orders), 0666)};
  if (!to)
    return messages.fail("failed to open", orders.to);
  const heap_block block = allocate_block(orders.read_size());
  if (block == nullptr || !go_to(from.get(), orders.skip, orders.read_size()))
    return messages.fail("cannot skip in", orders.from);
  if (!go_to(to.get(), orders.seek, orders.write_size()))
    return messages.fail("cannot seek in", orders.to);
  cut_behind(to.get(), orders);
  copy_counts counts;
  const int status = copy_blocks(orders, from.get(), to.get(), block.get(), counts, messages);
  report(orders, counts, seconds_now() - start, messages);
  return status;
}

} // namespace

int copy_bytes(const shell_words &command, std::span<const char *const> operands) noexcept {
  const messages messages{command};
  copy_orders orders;
  for (const char *word : operands)
    if (!read_operand(word, orders)) {
      messages.print("dd: invalid operand '%s'\n", word);
      return 1;
    }
  if (!stays_on_board(orders)) {
    messages.print("dravik-sim: dd: if=FILE and of=FILE must be files of the board\n");
    return 1;
  }
  if (card_is_locked() && std::string_view{orders.to}.starts_with("/dev/mmcblk0")) {
    errno = EROFS;
    return messages.fail("failed to open", orders.to);
  }
  return copy(orders, messages);
}

} // namespace dravik::sim
