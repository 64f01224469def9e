// The files of the page, embedded in the program.
#pragma once

#include <span>
#include <string_view>

namespace dravik::sim {

struct page_file {
  std::string_view path; ///< as in a request
  std::string_view type;
  std::string_view content;
};

std::span<const page_file> page_files() noexcept;

} // namespace dravik::sim
