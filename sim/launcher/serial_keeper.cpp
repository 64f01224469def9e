// The other end of the serial port while applications run.

#include "launcher/serial_keeper.hpp"
#include "base/unique_fd.hpp"
#include "board/board_files.hpp"
#include "board/serial_line.hpp"
#include "board/settings_text.hpp"
#include "host/board_directory.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <vector>

namespace dravik::sim {
namespace {

namespace files = std::filesystem;

bool lock(const unique_fd &file, int how = LOCK_EX) {
  int result;
  while ((result = ::flock(file.get(), how)) != 0 && errno == EINTR) {
  }
  return result == 0;
}

// ------------------------------------------------------------------------------------------- the files

bool is_regular(const std::string &path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// The port among the files of its board.
class port_files {
public:
  explicit port_files(const std::string &board)
      : board_(board), directory_(place_in_board(board, "dev")), port_(directory_ + "/ttyS0"),
        text_(board + "/console"), fresh_(port_ + ".new") {}

  unique_fd open_directory() const { return open("dev", O_RDONLY | O_DIRECTORY); }
  unique_fd open_input() const { return open("dev/ttyS0.in", O_RDWR); }
  unique_fd open_list() const { return open("dev/ttyS0.keeper", O_RDWR | O_CREAT | O_APPEND); }
  void remove_list() const { ::unlink((port_ + ".keeper").c_str()); }

  bool is_plain() const { return is_regular(port_); }
  bool leads_to(const std::string &terminal) const {
    std::error_code code;
    return files::read_symlink(port_, code) == terminal && !terminal.empty();
  }

  /// The plain file gets the name of the text, too.
  bool name_text() const {
    ::unlink(fresh_.c_str());
    if (::link(port_.c_str(), fresh_.c_str()) != 0 || ::rename(fresh_.c_str(), text_.c_str()) != 0)
      return false;
    ::unlink(fresh_.c_str()); // is still there when the text had both names already
    return true;
  }

  /// From the plain file, which keeps the name of the text.
  bool lead_to(const std::string &terminal) const {
    return name_text() && ::symlink(terminal.c_str(), fresh_.c_str()) == 0 &&
           ::rename(fresh_.c_str(), port_.c_str()) == 0;
  }

  /// The plain file again; a port that someone has changed meanwhile stays as it is.
  void put_back(const std::string &terminal) const {
    if (!leads_to(terminal))
      return;
    const unique_fd text = open("console", O_WRONLY | O_CREAT);
    ::unlink(fresh_.c_str());
    if (text && is_regular(text_) && ::link(text_.c_str(), fresh_.c_str()) == 0)
      ::rename(fresh_.c_str(), port_.c_str());
  }

private:
  unique_fd open(std::string_view inside, int flags) const {
    return unique_fd{open_in_board(board_, inside, flags)};
  }

  std::string board_;
  std::string directory_; ///< dev, free of links
  std::string port_;
  std::string text_;
  std::string fresh_; ///< what is to replace one of them
};

/// The list of a keeper.
struct keeper_list {
  std::string terminal;
  std::vector<pid_t> processes;
};

keeper_list read_list(const unique_fd &list) {
  std::array<char, 4096> block;
  std::string text;
  ssize_t count;
  while ((count = ::pread(list.get(), block.data(), block.size(), static_cast<off_t>(text.size()))) > 0)
    text.append(block.data(), static_cast<size_t>(count));
  std::string_view lines = text;
  keeper_list read{std::string{take_until(lines, '\n')}, {}};
  while (!lines.empty())
    if (pid_t process; read_number(take_until(lines, '\n'), process))
      read.processes.push_back(process);
  return read;
}

// ------------------------------------------------------------------------------------------- the terminal

struct terminal_pair {
  unique_fd far_end;
  unique_fd terminal; ///< open, so that it lasts and keeps its settings while nobody else has it open
  std::string name;

  bool is_open() const { return static_cast<bool>(terminal); }
};

/// Set up as the port was last.
terminal_pair open_terminal() {
  terminal_pair pair;
  pair.far_end.reset(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  std::array<char, 64> name;
  if (!pair.far_end || ::grantpt(pair.far_end.get()) != 0 || ::unlockpt(pair.far_end.get()) != 0 ||
      ::ptsname_r(pair.far_end.get(), name.data(), name.size()) != 0)
    return {};
  pair.name = name.data();
  pair.terminal.reset(::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  const termios settings = kept_line_settings();
  ::tcsetattr(pair.terminal.get(), TCSANOW, &settings);
  return pair;
}

// ------------------------------------------------------------------------------------------- the keeper

bool has_ended(int process) {
  pollfd end = {process, POLLIN, 0};
  return ::poll(&end, 1, 0) == 1;
}

unique_fd open_process(pid_t process) {
  return unique_fd{static_cast<int>(::syscall(SYS_pidfd_open, process, 0))};
}

void close_all_but(std::vector<int> kept) {
  unsigned first = 0;
  std::ranges::sort(kept);
  for (const int descriptor : kept) {
    const auto next = static_cast<unsigned>(descriptor);
    if (descriptor > static_cast<int>(first))
      ::syscall(SYS_close_range, first, next - 1, 0);
    first = descriptor < 0 ? 0 : next + 1;
  }
  ::syscall(SYS_close_range, first, ~0U, 0);
}

class keeper {
public:
  keeper(port_files files, unique_fd directory, unique_fd list, terminal_pair pair, unique_fd application)
      : files_(std::move(files)), directory_(std::move(directory)), list_(std::move(list)),
        pair_(std::move(pair)), application_(std::move(application)), input_(files_.open_input()) {}

  /// Until the last application has ended.
  void work() {
    leave_the_caller();
    do {
      while (!has_ended(application_.get()))
        hand_on();
      lock(directory_);
    } while (find_next_application());
    finish();
  }

private:
  static constexpr int rounds_of_the_rest = 64; ///< more than a terminal holds; others may still be sending
  static constexpr size_t longest_line = 4096;
  static constexpr size_t longest_block = 4096;
  using line_clock = std::chrono::steady_clock;

  /// Nothing of the caller's stays open or in use, and keys pressed there do not reach this process. Neither
  /// does what ends an application by its name, for that is in the command line of both.
  void leave_the_caller() const {
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM})
      std::signal(signal, SIG_IGN);
    close_all_but({directory_.get(), list_.get(), pair_.far_end.get(), pair_.terminal.get(), input_.get(),
                   application_.get()});
    while (::open("/dev/null", O_RDWR) < STDERR_FILENO) {
    }
    if (::chdir("/") != 0)
      return; // some other directory is in use meanwhile
  }

  void hand_on() {
    const auto pause = std::chrono::ceil<std::chrono::milliseconds>(next_arrival_ - line_clock::now());
    const bool is_pausing = pause.count() > 0;
    std::array<pollfd, 3> awaited = {{
        {application_.get(), POLLIN, 0},
        {pair_.far_end.get(), static_cast<short>((is_pausing ? 0 : POLLIN) | (typed_.empty() ? 0 : POLLOUT)),
         0},
        {typed_.empty() ? input_.get() : -1, POLLIN, 0},
    }};
    ::poll(awaited.data(), awaited.size(), is_pausing ? static_cast<int>(pause.count()) : -1);
    if ((awaited[1].revents & POLLIN) != 0)
      take_at_pace();
    if (awaited[2].revents != 0)
      take_typed();
    if (!typed_.empty())
      pass_typed();
  }

  /// The bytes of one hundredth of a second at a time, where the line has a pace.
  void take_at_pace() {
    const uint32_t bytes_per_second = line_bytes_per_second();
    if (bytes_per_second == 0) {
      take_sent(longest_block);
      return;
    }
    const size_t count = take_sent(std::min<size_t>(bytes_per_second / 100 + 1, longest_block));
    next_arrival_ = std::max(next_arrival_, line_clock::now() - std::chrono::milliseconds{10}) +
                    count * std::chrono::nanoseconds{std::chrono::seconds{1}} / bytes_per_second;
  }

  /// Return the number of bytes; 0 if there are none.
  size_t take_sent(size_t most) {
    std::array<char, longest_block> block;
    const ssize_t count = ::read(pair_.far_end.get(), block.data(), most);
    if (count <= 0)
      return 0;
    const std::string_view text{block.data(), static_cast<size_t>(count)};
    append_to_board_file("console", text);
    line_ += text;
    const size_t whole = line_.size() < longest_line ? line_.rfind('\n') + 1 : line_.size();
    record_sent_lines(std::string_view{line_}.substr(0, whole));
    line_.erase(0, whole);
    return text.size();
  }

  void take_typed() {
    std::array<char, 1024> block;
    const ssize_t count = ::read(input_.get(), block.data(), block.size());
    if (count > 0)
      typed_.assign(block.data(), static_cast<size_t>(count));
    else
      input_.reset(); // is no pipe
  }

  void pass_typed() {
    const ssize_t count = ::write(pair_.far_end.get(), typed_.data(), typed_.size());
    typed_.erase(0, count > 0 ? static_cast<size_t>(count) : 0);
  }

  bool find_next_application() {
    for (const pid_t process : read_list(list_).processes) {
      application_ = open_process(process);
      if (!application_ || has_ended(application_.get()))
        continue;
      lock(directory_, LOCK_UN);
      return true;
    }
    return false;
  }

  void finish() {
    for (int round = 0; round < rounds_of_the_rest && take_sent(longest_block) > 0; ++round) {
    }
    record_sent_lines(line_);
    files_.put_back(pair_.name);
    files_.remove_list();
  }

  port_files files_;
  unique_fd directory_;
  unique_fd list_;
  terminal_pair pair_;
  unique_fd application_;
  unique_fd input_;
  std::string line_;                    ///< that has not ended yet
  line_clock::time_point next_arrival_; ///< when the line has carried what was taken
  std::string typed_;                   ///< that the terminal has not taken yet
};

/// A process that is nobody's child, in a session of its own. False when there can be none.
template <typename Work> bool start_aside(Work work) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::setsid();
    const pid_t aside = ::fork();
    if (aside == 0)
      work();
    ::_exit(aside < 0 ? 1 : 0);
  }
  int status = 0;
  while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return child > 0 && status == 0;
}

/// For this process, on a plain port. False when that stays as it is.
bool start_keeper(const port_files &names, unique_fd &directory, unique_fd &list) {
  terminal_pair pair = open_terminal();
  unique_fd self = open_process(::getpid());
  if (!pair.is_open() || !self || ::ftruncate(list.get(), 0) != 0 ||
      ::dprintf(list.get(), "%s\n%d\n", pair.name.c_str(), ::getpid()) < 0)
    return false;
  const auto work = [&] {
    keeper{names, std::move(directory), std::move(list), std::move(pair), std::move(self)}.work();
  };
  if (names.lead_to(pair.name) && start_aside(work))
    return true;
  names.put_back(pair.name);
  return false;
}

} // namespace

void name_serial_text(const std::string &board) {
  const port_files names{board};
  const unique_fd directory = names.open_directory();
  if (directory && lock(directory) && names.is_plain())
    names.name_text();
}

void keep_serial_port(const std::string &board) {
  const port_files names{board};
  unique_fd directory = names.open_directory();
  if (!directory || !lock(directory))
    return;
  unique_fd list = names.open_list();
  if (list && !lock(list, LOCK_EX | LOCK_NB)) {
    ::dprintf(list.get(), "%d\n", ::getpid()); // its keeper works on
  } else if (list) {
    names.put_back(read_list(list).terminal); // of a keeper that was killed
    if (!names.is_plain() || !start_keeper(names, directory, list))
      names.remove_list();
  }
  lock(directory, LOCK_UN);
}

} // namespace dravik::sim
