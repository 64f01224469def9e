// A live board, from its start to its orderly end.

#include "panel/serve_panel.hpp"
#include "common/tool.hpp"
#include "host/application.hpp"
#include "panel/access.hpp"
#include "panel/live_board.hpp"
#include "panel/web_server.hpp"

#include <boost/asio/signal_set.hpp>

#include <csignal>
#include <cstdio>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

using namespace std::chrono_literals;
namespace asio = boost::asio;

constexpr auto shortest_run = 500ms; ///< between two starts after reboots
constexpr auto patience_at_end = 5s; ///< with an application that is to end

/// Starts the user's browser. Its process is nobody's child.
void open_browser(const std::string &address) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::setsid();
    if (::fork() == 0) {
      ::execlp("xdg-open", "xdg-open", address.c_str(), nullptr);
      std::fputs("dravik-sim: panel: --open: xdg-open not found; open the address by hand\n", stderr);
    }
    ::_exit(0);
  }
  ::waitpid(child, nullptr, 0);
}

class panel_server {
public:
  explicit panel_server(const panel_request &request)
      : request_(request), application_(request.run_arguments, request.application),
        board_(context_, request.board, application_), server_(context_, board_) {}

  bool run(std::string &error) {
    if (!listen(error) || !watch_signals(error))
      return false;
    server_.serve(access_.token);
    const std::string address =
        "http://" + own_address{request_.ip, server_.port()}.authority() + "/#" + access_.token;
    std::puts(address.c_str());
    std::fflush(stdout);
    if (request_.opens_browser)
      open_browser(address);
    if (!start(error))
      return false;
    context_.run();
    return true;
  }

private:
  /// The port of the previous run, unless another program uses it now.
  bool listen(std::string &error) {
    if (!load_access(request_.board, access_, error))
      return false;
    const bool is_chosen = request_.port != 0;
    if (!server_.listen(request_.ip, is_chosen ? request_.port : access_.port, error) &&
        (is_chosen || access_.port == 0 || !server_.listen(request_.ip, 0, error)))
      return false;
    error.clear();
    access_.port = server_.port();
    if (!own_address{request_.ip, 0}.is_loopback())
      tools::warn("panel: --listen " + request_.ip + ": others on the network can reach this board");
    return save_access(request_.board, access_, error);
  }

  bool watch_signals(std::string &error) {
    boost::system::error_code code;
    ::signal(SIGPIPE, SIG_IGN);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
      ends_.add(signal, code);
    children_.add(SIGCHLD, code);
    await_end();
    await_child();
    if (code)
      error = code.message();
    return !code;
  }

  void await_child() {
    children_.async_wait([this](const boost::system::error_code &error, int) {
      if (error)
        return;
      if (application_.collect())
        handle_end_of_application();
      await_child();
    });
  }

  void await_end() {
    ends_.async_wait([this](const boost::system::error_code &error, int signal) {
      if (!error)
        end(signal);
    });
  }

  bool start(std::string &error) {
    started_ = std::chrono::steady_clock::now();
    const bool is_started = application_.start(error);
    board_.look_at_application();
    return is_started;
  }

  void handle_end_of_application() {
    board_.look_at_application();
    if (is_ending_)
      return finish();
    if (application_.state() != application_state::restarting)
      return;
    timer_.expires_at(started_ + shortest_run);
    timer_.async_wait([this](const boost::system::error_code &code) {
      std::string error;
      if (!code && !is_ending_ && !start(error))
        tools::warn("panel: " + error);
    });
  }

  /// First the application, while pages still show it; a second signal is for the impatient.
  void end(int signal) {
    const bool is_impatient = std::exchange(is_ending_, true);
    server_.stop();
    if (application_.state() != application_state::running)
      return finish();
    application_.send(is_impatient ? SIGKILL : signal);
    await_end();
    timer_.expires_after(patience_at_end);
    timer_.async_wait([this](const boost::system::error_code &error) {
      if (!error)
        application_.send(SIGKILL);
    });
  }

  void finish() {
    board_.close_pages();
    children_.cancel();
    ends_.cancel();
    timer_.expires_after(200ms); // for the pages to hear of it
    timer_.async_wait([this](const boost::system::error_code &) { context_.stop(); });
  }

  const panel_request &request_;
  asio::io_context context_{1};
  asio::signal_set ends_{context_};
  asio::signal_set children_{context_};
  asio::steady_timer timer_{context_};
  panel_access access_;
  application application_;
  live_board board_;
  web_server server_;
  std::chrono::steady_clock::time_point started_;
  bool is_ending_ = false;
};

} // namespace

bool serve_panel(const panel_request &request, std::string &error) {
  return panel_server{request}.run(error);
}

} // namespace dravik::sim
