/* What the running system reports: monitor, language, network, time since the start.
 *
 * Build:  cc -std=c99 system.c -o system -ldravik
 * Run:    ./system [INTERFACE] on the device, or on a simulated board:
 *         dravik-sim new board
 *         dravik-sim run board -- ./system lo */
#include <dravik.h>

#include <stdio.h>

static void print_network(const char *interface) {
  uint8_t mac[DRAVIK_MAC_SIZE];
  char ip[DRAVIK_IP_TEXT_SIZE];
  get_netdev_mac(interface, mac);
  printf("%s: %02x:%02x:%02x:%02x:%02x:%02x, %s\n", interface, mac[0], mac[1], mac[2], mac[3], mac[4], mac[5],
         get_netdev_ip(interface, ip) == 0 ? ip : "no address");
}

int main(int argc, char **argv) {
  char language[3];
  const int monitor = hdmi_detect();
  printf("monitor: %s\n", monitor < 0 ? "unknown" : monitor == 1 ? "attached" : "not attached");
  printf("language: %s\n", get_splash_lang(language) == 0 ? language : "unknown");
  print_network(argc > 1 ? argv[1] : "lo");
  printf("running for %u ms\n", (unsigned)get_tick_count());
  return 0;
}
