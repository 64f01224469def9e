// Names of files on the mounted memory card, as a FAT file system has them.
#pragma once

namespace dravik::sim {

/// Replace the names in a path by those that the card has: names that differ in upper and lower case of ASCII letters
/// are the same. `names` is the part of `path` after the mount point.
void use_stored_names(char *path, char *names) noexcept;

/// Whether a file of a name can be created on the card.
bool is_fat_name(const char *name) noexcept;

} // namespace dravik::sim
