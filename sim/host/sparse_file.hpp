// Files whose blocks of zeros take no space on the host.
#pragma once

namespace dravik::sim {

/// Free the blocks of an open file that hold nothing but zeros. Contents and times remain. Does nothing where
/// the host's file system cannot do it.
void free_zeros(int file);

} // namespace dravik::sim
