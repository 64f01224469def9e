/* Sensors: ADC codes, temperature and acceleration.
 *
 * Build:  cc -std=c99 sensors.c -o sensors -ldravik
 * Run:    ./sensors on the device, or on a simulated board:
 *         dravik-sim new board && dravik-sim set board temperature=41.5 accel=0,-250,1000
 *         dravik-sim run board -- ./sensors */
#include <dravik.h>

#include <stdio.h>

static int print_adc(void) {
  uint32_t codes[DRAVIK_ADC_CHANNELS];
  if (read_adc(codes) != 0)
    return 1; /* the library has written the reason to standard error */
  for (int channel = 0; channel < DRAVIK_ADC_CHANNELS; ++channel)
    printf("ADC channel %d: %u\n", channel, codes[channel]);
  printf("temperature: %.1f degrees Celsius\n", read_temperature() / 1000.0);
  return 0;
}

static int print_acceleration(void) {
  int32_t x, y, z;
  if (gsensor_init() != 0) /* writes its steps to standard error, and the reason of a failure */
    return 1;
  gsensor_check_data_ready();
  gsensor_get_data(&x, &y, &z);
  printf("acceleration: %d, %d, %d mg\n", x, y, z);
  return gsensor_exit() == 0 ? 0 : 1;
}

int main(int argc, char **argv) {
  (void)argc;
  (void)argv;
  const int adc_status = print_adc(), acceleration_status = print_acceleration();
  if (adc_status != 0)
    fprintf(stderr, "sensors: no ADC; run it on a board, or under dravik-sim\n");
  if (acceleration_status != 0)
    fprintf(stderr, "sensors: no accelerometer; run it on a board, or under dravik-sim\n");
  return adc_status != 0 || acceleration_status != 0;
}
