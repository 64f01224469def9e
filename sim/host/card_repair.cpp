// Creating, checking and repairing the file system of a card with dosfstools.

#include "host/card_repair.hpp"
#include "host/card.hpp"
#include "host/card_image.hpp"
#include "host/card_in_hand.hpp"
#include "host/card_journal.hpp"
#include "host/host_tool.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <sys/wait.h>

namespace dravik::sim {
namespace {

// Exit statuses of fsck.fat.
constexpr int check_failed = 2;
constexpr int no_such_device = 6;
constexpr int format_failed = 1;

/// The options of a tool that may reach it: none that name files.
struct known_options {
  std::string_view plain;
  std::string_view with_value;
};
constexpr known_options check_options = {"alnprtvVwy", ""};
constexpr known_options format_options = {"aIv", "FfinrRsS"};

bool are_known(const std::vector<std::string> &options, const known_options &known) {
  for (size_t i = 0; i < options.size(); ++i) {
    const std::string &word = options[i];
    if (word.size() < 2 || word[0] != '-')
      return false;
    if (known.with_value.find(word[1]) != known.with_value.npos)
      i += word.size() == 2 ? 1 : 0;
    else if (word.find_first_not_of(known.plain, 1) != word.npos)
      return false;
  }
  return true;
}

/// Return why a tool cannot start, empty if it can.
std::string obstacle(const std::string &board, bool changes_card, bool options_are_known) {
  if (known_partition(board).length == 0)
    return "there is no such partition";
  if (!options_are_known)
    return "not with these options";
  return changes_card && card_is_locked(board) ? "the card is write-protected" : "";
}

int exit_status(int status, int otherwise) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : otherwise;
}

/// fsck.fat requires a file that contains only the partition.
class partition_copy {
public:
  explicit partition_copy(const std::string &board)
      : board_(board), path_(card_files{board}.copy_of_partition()), place_(known_partition(board)),
        copy_(::open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)) {
    const unique_fd card{::open(card_files{board}.image().c_str(), O_RDONLY | O_CLOEXEC)};
    is_whole_ = card && copy_ && ::ftruncate(copy_.get(), static_cast<off_t>(place_.length_bytes())) == 0 &&
                copy_region(card.get(), place_.start_bytes(), copy_.get(), 0, place_.length_bytes());
  }
  ~partition_copy() { ::unlink(path_.c_str()); }
  partition_copy(const partition_copy &) = delete;
  partition_copy &operator=(const partition_copy &) = delete;

  bool is_whole() const { return is_whole_; }
  const std::string &path() const { return path_; }
  bool replaces_partition() const {
    fresh_image image{board_};
    return image.copy_around(place_) &&
           copy_region(copy_.get(), 0, image.file().get(), place_.start_bytes(), place_.length_bytes()) &&
           image.replace_card();
  }

private:
  std::string board_;
  std::string path_;
  partition place_;
  unique_fd copy_;
  bool is_whole_ = false;
};

/// Print the output of fsck.fat with the name of the device instead of that of its copy.
void print_as_of_device(std::string text, const std::string &copy) {
  for (size_t at = text.find(copy); at != text.npos; at = text.find(copy, at + card_partition.size()))
    text.replace(at, copy.size(), card_partition);
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

int check_partition(const std::string &board, const std::vector<std::string> &options, bool only_looks,
                    std::string &error) {
  const partition_copy copy{board};
  std::vector<std::string> command = {"fsck.fat"};
  command.insert(command.end(), options.begin(), options.end());
  command.push_back(copy.path());
  std::string output;
  const int status = copy.is_whole() ? run_tool(command, &output) : -1;
  print_as_of_device(output, copy.path());
  if (status != -1 && (only_looks || copy.replaces_partition()))
    return exit_status(status, check_failed);
  error = status == -1 && copy.is_whole() ? "missing on this host: " + lacking_card_tools()
                                          : std::string{"the card cannot be copied: "} + std::strerror(errno);
  return check_failed;
}

int format_partition(const std::string &board, const std::vector<std::string> &options, std::string &error) {
  const partition place = known_partition(board);
  fresh_image image{board};
  const bool is_ready = image.copy_around(place);
  const int status = is_ready ? make_file_system(image.path(), place, options, nullptr) : -1;
  if (is_ready && (status != 0 || image.replace_card()))
    error = status == -1 ? "missing on this host: " + lacking_card_tools() : "";
  else
    error = std::string{"the card cannot be copied: "} + std::strerror(errno);
  return error.empty() ? exit_status(status, format_failed) : format_failed;
}

} // namespace

int make_file_system(const std::string &image, const partition &place,
                     const std::vector<std::string> &options, std::string *said) {
  std::vector<std::string> command = {"mkfs.vfat", "--offset", std::to_string(place.start)};
  command.insert(command.end(), options.begin(), options.end());
  command.insert(command.end(), {image, std::to_string(place.length / 2)});
  return run_tool(command, said);
}

int check_card(const std::string &board, const std::vector<std::string> &options, std::string &error) {
  const card_in_hand hand{board};
  const bool only_looks = std::ranges::any_of(
      options, [](const std::string &word) { return word.find('n') != std::string::npos; });
  if (finish_interrupted(board, error))
    error = obstacle(board, !only_looks, are_known(options, check_options));
  if (known_partition(board).length == 0)
    return no_such_device;
  return error.empty() ? check_partition(board, options, only_looks, error) : check_failed;
}

int format_card(const std::string &board, const std::vector<std::string> &options, std::string &error) {
  const card_in_hand hand{board};
  if (finish_interrupted(board, error))
    error = read_mount_state(board) != mount_state::none
                ? "contains a mounted file system"
                : obstacle(board, true, are_known(options, format_options));
  return error.empty() ? format_partition(board, options, error) : format_failed;
}

} // namespace dravik::sim
