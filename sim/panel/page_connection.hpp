// A page of a live board, at the other end of a web socket.
#pragma once

#include "host/followed_file.hpp"
#include "panel/live_board.hpp"
#include "panel/message.hpp"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <array>
#include <memory>
#include <string>

namespace dravik::sim {

/// Sends one message at a time, made when the one before is gone: a slow page is offered less, and nothing is
/// kept for it. While it is one of the board's pages, a read is pending, which ends with an error and removes it.
class page_connection final : public board_page, public std::enable_shared_from_this<page_connection> {
public:
  /// `counted` lives as long as the connection.
  page_connection(boost::beast::tcp_stream &&socket, live_board &board, std::shared_ptr<void> counted);

  /// Answer the request for a web socket, and serve the page.
  void accept(const boost::beast::http::request<boost::beast::http::empty_body> &request);

  void offer() override;
  void report(const std::string &error) override;
  void close() override;

private:
  struct followed_text {
    message::kind kind;
    followed_file file;
    uint32_t restarts = 0;
  };
  /// What the page has of a text with a number.
  struct seen_text {
    const numbered_text &text;
    uint32_t number = 0;
  };

  void read();
  void obey();
  void send(std::string message, bool is_binary);
  bool send_text();
  bool send_file_part();
  bool send_followed(followed_text &text);
  bool send_sound();
  bool send_frame();

  using web_socket = boost::beast::websocket::stream<boost::beast::tcp_stream>;
  using clock = std::chrono::steady_clock;

  web_socket stream_;
  live_board &board_;
  std::shared_ptr<void> counted_;
  boost::beast::flat_buffer input_;
  std::string output_;
  std::string error_; ///< to be reported
  bool is_open_ = false;
  bool is_sending_ = false;
  bool has_sound_ = false;

  std::array<seen_text, 3> texts_;
  std::array<followed_text, 3> files_;
  followed_file sound_;
  uint32_t files_seen_ = 0; ///< texts_number() when there was nothing more to send
  uint32_t frame_sent_ = 0;
  uint32_t frames_on_the_way_ = 0; ///< sent, but not drawn yet
  clock::time_point frame_time_;
};

} // namespace dravik::sim
