// The text of the ADC driver: line and code of each channel, all codes in one call, the temperature.

#include "rig.hpp"

#include <algorithm>

using dravik::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  dravik::fuzz::rig::the().put("/proc/ambarella/adc", {data, size});
  for (int32_t channel = -1; channel <= DRAVIK_ADC_CHANNELS; ++channel) {
    std::array<char, DRAVIK_ADC_LINE_SIZE> line = {'x'};
    require(read_adc_str(channel, line.data()) == 0);
    require(std::strlen(line.data()) < line.size());
    const int32_t code = read_adc_hex(channel);
    require(line[0] == '\0' ? code == -1 : code >= 0 && code <= DRAVIK_ADC_CODE_MAX);
  }
  std::array<uint32_t, DRAVIK_ADC_CHANNELS> codes;
  require(read_adc(codes.data()) == 0);
  require(std::ranges::all_of(codes, [](uint32_t code) { return code <= DRAVIK_ADC_CODE_MAX; }));
  const int32_t temperature = read_temperature();
  require(temperature >= DRAVIK_TEMPERATURE_MIN && temperature <= DRAVIK_TEMPERATURE_MAX);
  return 0;
}
