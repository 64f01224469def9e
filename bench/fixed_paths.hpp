// The fixed paths of the device, led elsewhere by definitions of the C library's calls in the program
// itself. A simulated board would cost each call more than some of the jobs that are measured.
#pragma once

#include <string>

namespace bench {

/// From now on the library finds a file or device of the device here. Before that it finds none.
void lead(const char *fixed_path, const std::string &place);

/// Redirect the event log into the scratch directory, and abort unless the library's lines arrive there:
/// nothing may touch the host's files.
void lead_fixed_paths();

} // namespace bench
