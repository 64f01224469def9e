// What a user types on the serial console of a board.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace dravik::sim {

enum class typing_result : uint8_t { done, no_reader, failed };

/// Write to the serial port, which has a reader while an application runs. Sets `error` unless done.
[[nodiscard]] typing_result type_on_console(const std::string &board, std::string_view text,
                                            std::string &error);

} // namespace dravik::sim
