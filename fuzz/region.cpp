// The region file, at its own path and at any other.

#include "rig.hpp"

using dravik::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  constexpr uint32_t no_number = DRAVIK_NONE;
  auto &rig = dravik::fuzz::rig::the();
  rig.put("/tmp/add/areacode.bin", {data, size});
  std::array<char, 3> code = {'x', 'x', 'x'};
  const uint32_t number = get_area_code(code.data());
  require(number < 1024 || number == no_number);
  require(code[2] == '\0' && std::strlen(code.data()) == 2);
  require(get_area_id_file(rig.file({data, size})) == number);
  return 0;
}
