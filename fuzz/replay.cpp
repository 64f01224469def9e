// Run a fuzz target over the files named as arguments, or over those in the directories named: the seeds,
// and inputs that once failed, as an ordinary test.

#include "rig.hpp"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

int replay(const std::filesystem::path &file) {
  std::ifstream stream(file, std::ios::binary);
  const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(stream), {}};
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  return 1;
}

int replay_all(const std::filesystem::path &path) {
  if (!std::filesystem::is_directory(path))
    return replay(path);
  int count = 0;
  for (const auto &entry : std::filesystem::directory_iterator(path))
    count += replay(entry.path());
  return count;
}

} // namespace

int main(int argc, char **argv) {
  int count = 0;
  for (int i = 1; i < argc; ++i)
    count += replay_all(argv[i]);
  std::printf("%d inputs\n", count);
  return count == 0;
}
