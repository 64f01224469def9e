// The server of a live board's pages: HTTP for the page's files, a web socket for each page.

#include "panel/web_server.hpp"
#include "panel/page_connection.hpp"
#include "panel/page_files.hpp"

#include <boost/asio/ip/address.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <algorithm>
#include <fcntl.h>
#include <optional>

namespace dravik::sim {
namespace {

using namespace std::chrono_literals;
namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::ip::tcp;

constexpr int most_connections = 128;
constexpr uint32_t longest_header = 8192;
constexpr auto patience = 10s;
constexpr std::string_view live_path = "/live";

struct refusal {
  http::status status = http::status::ok; ///< ok: none
  std::string_view reason = {};
};

std::string_view view(beast::string_view text) {
  return {text.data(), text.size()};
}

refusal refusal_of(const beast::error_code &error) {
  if (error == http::error::header_limit || error == http::error::buffer_overflow)
    return {http::status::request_header_fields_too_large, "header too long"};
  if (error == http::error::body_limit || error == http::error::unexpected_body)
    return {http::status::payload_too_large, "requests have no body"};
  return {http::status::bad_request, "not an HTTP request"};
}

/// One connection, until it becomes that of a page.
class http_connection : public std::enable_shared_from_this<http_connection> {
public:
  http_connection(tcp::socket &&socket, live_board &board, const own_address &address,
                  const std::string &token, std::shared_ptr<void> counted)
      : stream_(std::move(socket)), board_(board), address_(address), token_(token),
        counted_(std::move(counted)), buffer_(2 * longest_header) {}

  void read() {
    parser_.emplace();
    parser_->header_limit(longest_header);
    parser_->body_limit(0);
    stream_.expires_after(patience);
    http::async_read(
        stream_, buffer_, *parser_,
        [self = shared_from_this()](const beast::error_code &error, size_t) { self->handle(error); });
  }

private:
  using request = http::request<http::empty_body>;

  void handle(const beast::error_code &error) {
    const bool is_gone = error == http::error::end_of_stream || error == beast::error::timeout ||
                         error == asio::error::connection_reset || error == asio::error::operation_aborted;
    if (is_gone)
      return;
    const refusal refused = error ? refusal_of(error) : check(parser_->get());
    if (refused.status != http::status::ok)
      answer(refused.status, "text/plain; charset=utf-8", std::string{refused.reason} + "\n", false);
    else if (beast::websocket::is_upgrade(parser_->get()))
      become_page();
    else
      answer_file();
  }

  refusal check(const request &received) const {
    const std::string_view host = view(received[http::field::host]);
    if (received.count(http::field::host) != 1 || !address_.is_host(host))
      return {http::status::misdirected_request, "Host is not the address of this page"};
    if (received.count(http::field::origin) > 1 ||
        !address_.is_origin(view(received[http::field::origin]), host))
      return {http::status::forbidden, "Origin is not this page"};
    if (received.method() != http::verb::get)
      return {http::status::method_not_allowed, "only GET is served"};
    return check_target(received);
  }

  refusal check_target(const request &received) const {
    const std::string_view target = view(received.target());
    const std::string_view path = target.substr(0, target.find('?'));
    const bool is_file = std::ranges::find(page_files(), path, &page_file::path) != page_files().end();
    if (!is_file && path != live_path)
      return {http::status::not_found, "no such page"};
    if (beast::websocket::is_upgrade(received) != (path == live_path))
      return {http::status::bad_request, "only /live is a web socket"};
    if (path == live_path && !is_same_secret(parameter_of(target, "token"), token_))
      return {http::status::forbidden, "missing or invalid token; use the address that dravik-sim printed"};
    return {};
  }

  void become_page() {
    std::make_shared<page_connection>(std::move(stream_), board_, std::move(counted_))
        ->accept(parser_->get());
  }

  void answer_file() {
    const std::string_view target = view(parser_->get().target());
    const auto file = std::ranges::find(page_files(), target.substr(0, target.find('?')), &page_file::path);
    answer(http::status::ok, file->type, std::string{file->content}, parser_->get().keep_alive());
  }

  /// The page runs nothing but its own files, and no other page frames it.
  std::string policy() const {
    return "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob:; "
           "connect-src 'self' ws://" +
           std::string{view(parser_->get()[http::field::host])} +
           "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
  }

  void answer(http::status status, std::string_view type, std::string body, bool keeps_alive) {
    response_ = {};
    response_.result(status);
    response_.set(http::field::content_type, beast::string_view{type.data(), type.size()});
    response_.set(http::field::cache_control, "no-store");
    response_.set("X-Content-Type-Options", "nosniff");
    response_.set("Referrer-Policy", "no-referrer");
    response_.set("Cross-Origin-Resource-Policy", "same-origin");
    if (status == http::status::ok)
      response_.set("Content-Security-Policy", policy());
    if (status == http::status::method_not_allowed)
      response_.set(http::field::allow, "GET");
    response_.keep_alive(keeps_alive);
    response_.body() = std::move(body);
    response_.prepare_payload();
    write();
  }

  void write() {
    stream_.expires_after(patience);
    http::async_write(stream_, response_,
                      [self = shared_from_this()](const beast::error_code &error, size_t) {
                        if (error)
                          return;
                        if (self->response_.keep_alive())
                          return self->read();
                        self->end();
                      });
  }

  /// Later input of the client is dropped for a moment: closing immediately would reset the connection, and the
  /// client might lose the answer.
  void end() {
    beast::error_code ignored;
    stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
    stream_.expires_after(1s);
    drop();
  }

  void drop() {
    if (dropped_ > most_dropped)
      return;
    buffer_.clear();
    stream_.async_read_some(buffer_.prepare(longest_header),
                            [self = shared_from_this()](const beast::error_code &error, size_t count) {
                              self->dropped_ += count;
                              if (!error)
                                self->drop();
                            });
  }

  static constexpr size_t most_dropped = 1 << 20;

  beast::tcp_stream stream_;
  live_board &board_;
  const own_address &address_;
  const std::string &token_;
  std::shared_ptr<void> counted_;
  beast::flat_buffer buffer_;
  std::optional<http::request_parser<http::empty_body>> parser_;
  http::response<http::string_body> response_;
  size_t dropped_ = 0;
};

/// Programs that the server starts do not inherit its sockets.
void close_on_exec(int descriptor) {
  ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

} // namespace

bool web_server::listen(const std::string &ip, uint16_t port, std::string &error) {
  beast::error_code code;
  const tcp::endpoint endpoint{asio::ip::make_address(ip, code), port};
  if (!code)
    acceptor_.open(endpoint.protocol(), code);
  if (!code)
    acceptor_.set_option(tcp::acceptor::reuse_address{true}, code);
  if (!code)
    acceptor_.bind(endpoint, code);
  if (!code)
    acceptor_.listen(tcp::acceptor::max_listen_connections, code);
  if (code) {
    error = ip + ":" + std::to_string(port) + ": " + code.message();
    acceptor_.close(code);
    return false;
  }
  close_on_exec(acceptor_.native_handle());
  address_ = {ip, this->port()};
  return true;
}

uint16_t web_server::port() const {
  beast::error_code ignored;
  return acceptor_.local_endpoint(ignored).port();
}

void web_server::serve(const std::string &token) {
  token_ = token;
  accept();
}

void web_server::stop() {
  beast::error_code ignored;
  acceptor_.close(ignored);
}

void web_server::accept() {
  acceptor_.async_accept([this](const beast::error_code &error, tcp::socket socket) {
    if (error == asio::error::operation_aborted)
      return;
    if (!error && *connections_ < most_connections) {
      close_on_exec(socket.native_handle());
      ++*connections_;
      const std::shared_ptr<void> counted{connections_.get(), [all = connections_](void *) { --*all; }};
      std::make_shared<http_connection>(std::move(socket), board_, address_, token_, counted)->read();
    }
    accept();
  });
}

} // namespace dravik::sim
