// A page of a live board, at the other end of a web socket.

#include "panel/page_connection.hpp"
#include "panel/frame_message.hpp"

#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <algorithm>
#include <string_view>

namespace dravik::sim {
namespace {

using namespace std::chrono_literals;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;

constexpr size_t longest_command = 8192;
constexpr size_t longest_error = 500;
constexpr size_t part_bytes = 32768;
constexpr uint64_t first_text_bytes = 65536; ///< of a file that is there already
constexpr size_t wav_header_bytes = 44;
constexpr size_t sound_frame_bytes = 4;
constexpr int most_silent_parts = 256; ///< that are skipped at a time
constexpr uint32_t most_frames_on_the_way = 2;
constexpr auto shortest_frame_time = 20ms; ///< less than between two looks at the board

bool is_silent(std::string_view samples) {
  return samples.find_first_not_of('\0') == std::string_view::npos;
}

} // namespace

page_connection::page_connection(beast::tcp_stream &&socket, live_board &board, std::shared_ptr<void> counted)
    : stream_(std::move(socket)), board_(board), counted_(std::move(counted)),
      input_(longest_command), texts_{{{board.application()}, {board.state()}, {board.screen_error()}}},
      files_{{{message::kind::console, {board.directory(), "console", first_text_bytes}},
              {message::kind::log, {board.directory(), "tmp/dravik.log", first_text_bytes}},
              {message::kind::events, {board.directory(), "events", first_text_bytes}}}},
      sound_(board.directory(), "sound/played.wav", 0) {}

void page_connection::accept(const beast::http::request<beast::http::empty_body> &request) {
  beast::get_lowest_layer(stream_).expires_never(); // the web socket has times of its own
  beast::error_code ignored;
  beast::get_lowest_layer(stream_).socket().set_option(boost::asio::ip::tcp::no_delay{true}, ignored);
  stream_.set_option(websocket::stream_base::timeout{10s, 30s, true});
  stream_.read_message_max(longest_command);
  stream_.auto_fragment(false);
  stream_.async_accept(request, [self = shared_from_this()](const beast::error_code &error) {
    if (error)
      return;
    self->is_open_ = true;
    self->read();
    self->board_.add(*self);
  });
}

void page_connection::read() {
  stream_.async_read(input_, [self = shared_from_this()](const beast::error_code &error, size_t) {
    if (error)
      return self->board_.remove(*self);
    self->obey();
    self->input_.consume(self->input_.size());
    self->read();
  });
}

void page_connection::obey() {
  const std::string command = beast::buffers_to_string(input_.data());
  if (command == "seen")
    frames_on_the_way_ -= std::min(frames_on_the_way_, 1U);
  else if (command == "sound on")
    has_sound_ = true;
  else if (command == "sound off")
    has_sound_ = false;
  else
    board_.obey(command, weak_from_this());
  offer();
}

void page_connection::report(const std::string &error) {
  error_ = error.substr(0, longest_error);
  offer();
}

void page_connection::close() {
  board_.remove(*this);
  is_open_ = false;
  stream_.async_close(websocket::close_code::going_away,
                      [self = shared_from_this()](const beast::error_code &) {});
}

void page_connection::send(std::string message, bool is_binary) {
  is_sending_ = true;
  output_ = std::move(message);
  stream_.binary(is_binary);
  stream_.async_write(boost::asio::buffer(output_),
                      [self = shared_from_this()](const beast::error_code &error, size_t) {
                        self->is_sending_ = false;
                        if (error)
                          return self->board_.remove(*self);
                        self->offer();
                      });
}

void page_connection::offer() {
  if (is_sending_ || !is_open_)
    return;
  if (!send_text() && !send_frame())
    send_file_part();
}

bool page_connection::send_text() {
  if (!error_.empty()) {
    send(message::error(std::exchange(error_, {})), false);
    return true;
  }
  for (seen_text &seen : texts_) {
    if (seen.number == seen.text.number)
      continue;
    seen.number = seen.text.number;
    const bool is_error = &seen.text == &board_.screen_error();
    if (is_error && seen.text.text.empty() && seen.number == 1)
      continue;
    send(is_error ? message::screen_error(seen.text.text) : seen.text.text, false);
    return true;
  }
  return false;
}

bool page_connection::send_frame() {
  const clock::time_point now = clock::now();
  if (frame_sent_ == board_.frames().number() || frames_on_the_way_ >= most_frames_on_the_way ||
      now - frame_time_ < shortest_frame_time)
    return false;
  std::string changes = message::changes_since(board_.frames(), frame_sent_);
  frame_sent_ = board_.frames().number();
  frame_time_ = now;
  ++frames_on_the_way_;
  send(std::move(changes), true);
  return true;
}

/// The second byte is 1 if the file began again.
bool page_connection::send_followed(followed_text &text) {
  const std::string part = text.file.next(part_bytes);
  const bool has_restarted = std::exchange(text.restarts, text.file.restarts()) != text.file.restarts();
  if (part.empty() && !has_restarted)
    return false;
  send(std::string{static_cast<char>(text.kind), static_cast<char>(has_restarted ? 1 : 0)} + part, true);
  return true;
}

/// Long silence is not sent: a recording may contain minutes of it.
bool page_connection::send_sound() {
  for (int i = 0; i < most_silent_parts; ++i) {
    std::string part = sound_.next(part_bytes);
    if (part.size() < sound_frame_bytes)
      return false;
    if (part.starts_with("RIFF")) // the file's header
      part.erase(0, wav_header_bytes);
    if (!has_sound_ || part.empty() || (part.size() == part_bytes && is_silent(part)))
      continue;
    send(std::string{static_cast<char>(message::kind::sound), 0, 0, 0} + part, true);
    return true;
  }
  return true;
}

bool page_connection::send_file_part() {
  const uint32_t number = board_.texts_number();
  if (files_seen_ == number)
    return false;
  if (send_sound() ||
      std::ranges::any_of(files_, [this](followed_text &text) { return send_followed(text); }))
    return true;
  files_seen_ = number;
  return false;
}

} // namespace dravik::sim
