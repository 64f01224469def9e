// Making and reading boards, for the launcher and for tests.
#pragma once

#include "board/screen.hpp"

#include <string>
#include <string_view>

namespace dravik::sim {

/// Makes a board in a directory that does not exist yet or is
/// empty. On failure gives false and says why in `error`.
[[nodiscard]] bool create_board(const std::string &directory, const screen &shown, std::string &error);

/// Whether a directory is a board: it has a board.conf.
[[nodiscard]] bool is_board(const std::string &directory);

constexpr uint64_t longest_text = 1 << 20; ///< of a file of a board that people write or read, in bytes

/// Opens a file of a board, which may come from a stranger: no link leads out of the board, no device of the
/// host is opened, no pipe is waited for. Negative with errno when it cannot.
[[nodiscard]] int open_in_board(const std::string &board, std::string_view inside, int flags);

/// The first bytes of a plain file of a board, at most as many; a text that is longer is a failure. On
/// failure gives false and says why in `error`.
[[nodiscard]] bool read_in_board(const std::string &board, std::string_view inside, uint64_t most_bytes,
                                 std::string &bytes, std::string &error);
[[nodiscard]] bool read_text_in_board(const std::string &board, std::string_view inside, std::string &text,
                                      std::string &error);

/// Replaces a file of a board, or what its link inside the board leads to, as replace_file() does.
[[nodiscard]] bool replace_in_board(const std::string &board, std::string_view inside, std::string_view text,
                                    std::string &error);

/// The whole of a file. On failure gives false and says why in `error`.
[[nodiscard]] bool read_file(const std::string &path, std::string &text, std::string &error);

/// Writes a file anew, with the directories above it. On failure gives false and says why in `error`.
[[nodiscard]] bool write_file(const std::string &path, std::string_view text, std::string &error);

/// The same, so that an application reads the old text or the new one and never half of it.
[[nodiscard]] bool replace_file(const std::string &path, std::string_view text, std::string &error);

/// A settings text with one value changed or, where the key is new, added; comments and order stay.
[[nodiscard]] std::string with_setting(std::string_view settings, std::string_view key,
                                       std::string_view value);

} // namespace dravik::sim
