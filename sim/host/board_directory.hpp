// Making and reading boards, for the launcher and the tests.
#pragma once

#include "board/screen.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace dravik::sim {

// Return false and set `error` on failure.

/// Make a board in a directory that does not exist or is empty.
[[nodiscard]] bool create_board(const std::string &directory, const screen &shown, std::string &error);

/// Whether a directory is a board: it has a board.conf.
[[nodiscard]] bool is_board(const std::string &directory);

constexpr uint64_t longest_text = 1 << 20; ///< maximum size in bytes of a board's text file

/// Return the path of a file of a board, free of links below the board; empty if they lead out of it.
[[nodiscard]] std::string place_in_board(const std::string &board, std::string_view inside);

/// Open a file of a board, which is untrusted: follow no link out of the board, open no device of the host, do
/// not wait for a pipe. Return -1 with errno on failure.
[[nodiscard]] int open_in_board(const std::string &board, std::string_view inside, int flags);

/// Read the first bytes of a regular file of a board, at most as many. A text must not be longer.
[[nodiscard]] bool read_in_board(const std::string &board, std::string_view inside, uint64_t most_bytes,
                                 std::string &bytes, std::string &error);
/// Read bytes of a regular file of a board from a position on, as many as fit and are there.
[[nodiscard]] bool read_part_in_board(const std::string &board, std::string_view inside, uint64_t position,
                                      std::span<uint8_t> bytes, size_t &count, std::string &error);
[[nodiscard]] bool read_text_in_board(const std::string &board, std::string_view inside, std::string &text,
                                      std::string &error);

/// Replace a file of a board, or the target of its link inside the board, like replace_file().
[[nodiscard]] bool replace_in_board(const std::string &board, std::string_view inside, std::string_view text,
                                    std::string &error);

/// Make a directory and those above it, if they do not exist.
[[nodiscard]] bool make_directory(const std::string &path, std::string &error);

/// Read a file.
[[nodiscard]] bool read_file(const std::string &path, std::string &text, std::string &error);

/// Write a file, with the directories above it.
[[nodiscard]] bool write_file(const std::string &path, std::string_view text, std::string &error);

/// Write a file atomically: applications read the old text or the new one.
[[nodiscard]] bool replace_file(const std::string &path, std::string_view text, std::string &error);

/// Return settings with one value changed, or added if the key is new; comments and order are kept.
[[nodiscard]] std::string with_setting(std::string_view settings, std::string_view key,
                                       std::string_view value);

} // namespace dravik::sim
