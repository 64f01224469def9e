// Contents of the mount point of a memory card when it was mounted.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace dravik::sim {

/// Every path below a directory, with its size and time of change; "directory" for directories.
using file_list = std::map<std::string, std::string>;
file_list list_files(const std::string &directory);

/// Return the identity of a state of the card's image: its size and time of modification.
std::string stamp_of_image(const std::string &path);

struct mount_record {
  bool is_writable = false;
  bool was_unclean = false; ///< before it was mounted; only of a writable mount
  std::string image;        ///< stamp_of_image() when the card was mounted
  file_list files;
};

/// Write the record in one rename. Return false and set `error` on failure.
[[nodiscard]] bool save_record(const std::string &path, const mount_record &record, std::string &error);
std::optional<mount_record> load_record(const std::string &path);

} // namespace dravik::sim
