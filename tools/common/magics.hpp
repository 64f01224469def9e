// The first bytes of file formats.
#pragma once

#include <string_view>

namespace dravik::tools {

inline constexpr std::string_view archive_magic = "KORVEXQ7";
inline constexpr std::string_view bmp_magic = "BM";
inline constexpr std::string_view jpeg_magic = "\xFF\xD8";
inline constexpr std::string_view png_magic = "\x89PNG";
inline constexpr std::string_view art_header_magic =
    "/* Made by dravik-art"; ///< of the artwork tool's C headers

} // namespace dravik::tools
