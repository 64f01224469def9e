// A board that pages show live: it is looked at while there are pages, and each page is offered what changed.
#pragma once

#include "host/application.hpp"
#include "host/frame_history.hpp"
#include "panel/board_state.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/thread_pool.hpp>

#include <chrono>
#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace dravik::sim {

/// A connected page.
class board_page {
public:
  virtual void offer() = 0; ///< something may have changed
  virtual void report(const std::string &error) = 0;
  virtual void close() = 0;

protected:
  ~board_page() = default;
};

/// A text with a number that grows when it changes.
struct numbered_text {
  std::string text;
  uint32_t number = 0;

  void set(std::string changed);
};

/// Works in one thread, but for changes of the board's files: a memory card takes seconds to unmount.
class live_board {
public:
  live_board(boost::asio::io_context &context, std::string board, application &runs);

  void add(board_page &page);
  void remove(board_page &page);
  void close_pages();
  /// To be called when the state of the application has changed.
  void look_at_application();

  /// A command of a page, as docs/live-board.md describes it. Errors are reported to the page unless it is gone.
  void obey(std::string_view command, const std::weak_ptr<board_page> &from);

  const std::string &directory() const noexcept { return board_; }
  const frame_history &frames() const noexcept { return frames_; }
  const numbered_text &state() const noexcept { return state_text_; }
  const numbered_text &application() const noexcept { return application_text_; }
  const numbered_text &screen_error() const noexcept { return screen_error_; }
  /// Grows when a file that pages follow has changed.
  uint32_t texts_number() const noexcept { return texts_number_; }

private:
  using clock = std::chrono::steady_clock;
  using change = std::function<bool(std::string &error)>;

  void look();
  bool look_at_files();
  bool look_at_screen();
  void look_again_in(clock::duration pause);
  clock::duration pause_after(clock::duration cost, bool has_changed);
  void order(change work, const std::weak_ptr<board_page> &from);
  change change_of(std::string_view command, std::string_view rest);

  boost::asio::io_context &context_;
  boost::asio::steady_timer timer_;
  std::string board_;
  sim::application &runs_;
  std::set<board_page *> pages_;

  screen_image fresh_;
  frame_history frames_;
  board_state state_;
  numbered_text state_text_;
  numbered_text application_text_;
  numbered_text screen_error_;
  uint64_t texts_seen_ = 0;
  uint32_t texts_number_ = 0;
  clock::time_point last_change_;
  size_t ordered_ = 0; ///< changes that are not done yet

  boost::asio::thread_pool changes_{1}; ///< last: its work ends first
};

} // namespace dravik::sim
