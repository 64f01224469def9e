// The converter's report: each channel's line and number, all codes at once, the temperature.

#include "rig.hpp"

#include <algorithm>

using dravik::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  dravik::fuzz::rig::the().put("/proc/ambarella/adc", {data, size});
  for (int32_t channel = -1; channel <= 4; ++channel) {
    std::array<char, 31> line = {'x'};
    require(read_adc_str(channel, line.data()) == 0);
    require(std::strlen(line.data()) < line.size());
    const int32_t code = read_adc_hex(channel);
    require(line[0] == '\0' ? code == -1 : code >= 0 && code <= 1023);
  }
  std::array<uint32_t, 4> codes;
  require(read_adc(codes.data()) == 0);
  require(std::ranges::all_of(codes, [](uint32_t code) { return code <= 1023; }));
  const int32_t temperature = read_temperature();
  require(temperature >= -1000 && temperature <= 117000);
  return 0;
}
