// Fills. Narrow ones store a row in the widest stores of the machine; wide ones call the fill of the C
// library. Machines without wide registers store words.

#include "fb/fill.hpp"
#include "fb/fill_words.hpp"
#include "fb/vectors.hpp"

namespace dravik::fb {
namespace {

using pixels4 = uint64_t;

/// Width from which calling the fill of the C library pays off.
constexpr size_t long_span = 128;

static_assert(sizeof(wchar_t) == sizeof(uint32_t), "wmemset() fills words of two pixels");

/// Fill two pixels at a time, from a 4-byte boundary on.
void fill_long_row(pixel *at, size_t count, uint16_t colour) noexcept {
  if ((reinterpret_cast<uintptr_t>(at) & 2) != 0 && count > 0) {
    *at++ = colour;
    --count;
  }
  std::wmemset(reinterpret_cast<wchar_t *>(at), static_cast<wchar_t>(twice(colour)), count / 2);
  if ((count & 1) != 0)
    at[count - 1] = colour;
}

template <class Row> void each_row(pixel *at, ptrdiff_t pitch, size_t rows, Row fill_row) noexcept {
  for (; rows > 0; --rows, at = step(at, pitch))
    fill_row(at);
}

/// Fill rows with `Stores` stores of eight pixels; the last store may overlap the one before.
template <size_t Stores>
void fill_rows(pixel *at, ptrdiff_t pitch, size_t width, size_t rows, vector_of_8 eight) noexcept {
  each_row(at, pitch, rows, [=](pixel *row) {
    for (size_t i = 0; i + 1 < Stores; ++i)
      store(row + i * 8, eight);
    store(row + width - 8, eight);
  });
}

/// As above, with a loop over the stores.
void fill_rows(pixel *at, ptrdiff_t pitch, size_t width, size_t rows, vector_of_8 eight) noexcept {
  each_row(at, pitch, rows, [=](pixel *row) {
    pixel *const last = row + width - 8;
    for (; row < last; row += 8)
      store(row, eight);
    store(last, eight);
  });
}

/// Fill rows of less than eight pixels.
void fill_narrow_rows(pixel *at, ptrdiff_t pitch, size_t width, size_t rows, uint16_t colour) noexcept {
  const uint32_t two = twice(colour);
  const pixels4 four = pixels4{two} << 32 | two;
  if (width >= 4) {
    each_row(at, pitch, rows, [=](pixel *row) {
      store(row, four);
      store(row + width - 4, four);
    });
  } else if (width >= 2) {
    each_row(at, pitch, rows, [=](pixel *row) {
      store(row, two);
      row[width - 1] = colour;
    });
  } else if (width == 1) {
    fill_column(at, pitch, rows, colour);
  }
}

/// Fill rows of up to `long_span` pixels on machines with wide stores.
void fill_short_rows(pixel *at, ptrdiff_t pitch, size_t width, size_t rows, uint16_t colour) noexcept {
  if (width < 8)
    return fill_narrow_rows(at, pitch, width, rows, colour);
  const vector_of_8 eight = vector_of_8{} + colour;
  switch ((width + 7) / 8) {
  case 1:
    return fill_rows<1>(at, pitch, width, rows, eight);
  case 2:
    return fill_rows<2>(at, pitch, width, rows, eight);
  case 3:
    return fill_rows<3>(at, pitch, width, rows, eight);
  case 4:
    return fill_rows<4>(at, pitch, width, rows, eight);
  default:
    return fill_rows(at, pitch, width, rows, eight);
  }
}

} // namespace

void fill_span(pixel *at, size_t count, uint16_t colour) noexcept {
  fill_block(at, 0, count, 1, colour);
}

void fill_block(pixel *at, ptrdiff_t pitch, size_t width, size_t rows, uint16_t colour) noexcept {
  if (pitch == static_cast<ptrdiff_t>(width * 2)) {
    width *= rows;
    rows = rows != 0;
  }
  if constexpr (!has_wide_registers)
    return fill_block_by_words(at, pitch, width, rows, colour);
  if (width < long_span)
    return fill_short_rows(at, pitch, width, rows, colour);
  each_row(at, pitch, rows, [=](pixel *row) { fill_long_row(row, width, colour); });
}

void fill_column(pixel *at, ptrdiff_t pitch, size_t rows, uint16_t colour) noexcept {
  for (; rows >= 4; rows -= 4, at = step(at, 4 * pitch)) {
    *at = colour;
    *step(at, pitch) = colour;
    *step(at, 2 * pitch) = colour;
    *step(at, 3 * pitch) = colour;
  }
  for (; rows > 0; --rows, at = step(at, pitch))
    *at = colour;
}

} // namespace dravik::fb
