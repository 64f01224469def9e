// A file without a name, which is gone when it is closed.

#include "film/nameless_file.hpp"
#include "common/files.hpp"

#include <cstdlib>
#include <fcntl.h>

namespace dravik::sim {

unique_fd make_nameless_file(const std::string &directory, std::string &error) {
  std::string path = directory + "/.dravik-film-XXXXXX";
  unique_fd file{::mkostemp(path.data(), O_CLOEXEC)};
  if (file)
    ::unlink(path.c_str());
  else
    error = tools::system_error(directory);
  return file;
}

} // namespace dravik::sim
