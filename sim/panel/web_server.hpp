// The server of a live board's pages: HTTP for the page's files, a web socket for each page.
#pragma once

#include "panel/live_board.hpp"
#include "panel/request_rules.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <memory>
#include <string>

namespace dravik::sim {

class web_server {
public:
  web_server(boost::asio::io_context &context, live_board &board) : acceptor_(context), board_(board) {}

  /// Port 0 is any. Return false and set `error` on failure.
  [[nodiscard]] bool listen(const std::string &ip, uint16_t port, std::string &error);
  uint16_t port() const;

  void serve(const std::string &token);
  void stop();

private:
  void accept();

  boost::asio::ip::tcp::acceptor acceptor_;
  live_board &board_;
  own_address address_{"", 0};
  std::string token_;
  std::shared_ptr<int> connections_ = std::make_shared<int>(0);
};

} // namespace dravik::sim
