// Reports how the devices of a board answer, one line each: "probe: NAME: ANSWER". Run on the simulated board and in a
// virtual machine, it prints the same, except for the lines that docs/simulated-board.md lists. It requests removal and
// insertion of the memory card as the tests of the virtual machine do.

#include "dravik.h"
#include "guest.hpp"
#include "memory_card.hpp"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/fb.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <termios.h>
#include <unistd.h>

namespace {

namespace vm = dravik::vm;

constexpr const char *brightness = "/sys/class/backlight/pwm-backlight.0/brightness";
constexpr unsigned long get_gpio = 0x800464CB, set_gpio = 0x400464CB;

/// "ok" for a result of 0 or more, or else the error's name.
std::string answer(long result) {
  return result >= 0 ? "ok" : ::strerrorname_np(errno);
}

/// A file descriptor for one question.
struct opened {
  opened(const char *path, int flags) : fd(::open(path, flags | O_CLOEXEC, 0644)) {}
  ~opened() { ::close(fd); }
  opened(const opened &) = delete;
  opened &operator=(const opened &) = delete;
  int fd;
};

std::string request(const char *path, unsigned long number, uintptr_t argument) {
  const opened device{path, O_RDWR};
  return answer(::ioctl(device.fd, number, argument));
}

std::string gpio_request(unsigned long number, uint32_t line, uint32_t level) {
  std::array<uint32_t, 2> record = {line, level};
  const std::string result = request("/dev/ambad", number, reinterpret_cast<uintptr_t>(record.data()));
  return result + " " + std::to_string(record[1]);
}

std::string first_line(const char *path) {
  const opened file{path, O_RDONLY};
  std::array<char, 256> text = {};
  if (::read(file.fd, text.data(), text.size() - 1) < 0)
    return ::strerrorname_np(errno);
  return {text.data(), std::strcspn(text.data(), "\n")};
}

std::string write_text(const char *path, const char *text, int flags = O_WRONLY) {
  const opened file{path, flags};
  return file.fd < 0 ? answer(-1) : answer(::write(file.fd, text, std::strlen(text)));
}

std::string status_of(const char *command) {
  return std::to_string(std::system(command));
}

struct statfs card_space() {
  struct statfs space = {};
  ::statfs("/tmp/mmcblk0p1", &space);
  return space;
}

fb_fix_screeninfo fixed_information() {
  fb_fix_screeninfo information = {};
  const opened screen{"/dev/fb0", O_RDWR};
  ::ioctl(screen.fd, FBIOGET_FSCREENINFO, &information);
  return information;
}

std::string i2c_read(long address, uint8_t number) {
  const opened bus{"/dev/i2c-0", O_RDWR};
  ::ioctl(bus.fd, I2C_SLAVE, address);
  uint8_t value = 0;
  if (::write(bus.fd, &number, 1) != 1 || ::read(bus.fd, &value, 1) != 1)
    return answer(-1);
  return std::to_string(value);
}

unsigned long bus_functions() {
  unsigned long functions = 0;
  const opened bus{"/dev/i2c-0", O_RDWR};
  ::ioctl(bus.fd, I2C_FUNCS, &functions);
  return functions & ~static_cast<unsigned long>(I2C_FUNC_SMBUS_PEC);
}

std::string smbus_read(long address, uint8_t number, uint32_t size) {
  const opened bus{"/dev/i2c-0", O_RDWR};
  ::ioctl(bus.fd, I2C_SLAVE, address);
  i2c_smbus_data data = {};
  i2c_smbus_ioctl_data wanted = {I2C_SMBUS_READ, number, size, &data};
  return ::ioctl(bus.fd, I2C_SMBUS, &wanted) == 0 ? std::to_string(data.byte) : answer(-1);
}

std::string combined_read(uint16_t address, uint8_t number) {
  const opened bus{"/dev/i2c-0", O_RDWR};
  uint8_t value = 0;
  i2c_msg messages[] = {{address, 0, 1, &number}, {address, I2C_M_RD, 1, &value}};
  i2c_rdwr_ioctl_data wanted = {messages, 2};
  const int result = ::ioctl(bus.fd, I2C_RDWR, &wanted);
  return result < 0 ? answer(-1) : std::to_string(result) + " " + std::to_string(value);
}

std::string modified(const char *path, time_t seconds) {
  ::close(::open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
  const timespec times[2] = {{seconds, 0}, {seconds, 0}};
  ::utimensat(AT_FDCWD, path, times, 0);
  struct stat status = {};
  ::stat(path, &status);
  return std::to_string(status.st_mtime - seconds);
}

std::string number_of_names(const char *one, const char *other) {
  for (const char *path : {one, other})
    ::close(::open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
  struct stat first = {}, second = {};
  ::stat(one, &first);
  ::stat(other, &second);
  return first.st_ino == second.st_ino ? "one file" : "two files";
}

std::string settings_of_port() {
  const opened port{"/dev/ttyS0", O_RDWR | O_NOCTTY | O_NONBLOCK};
  termios settings = {};
  return answer(::tcgetattr(port.fd, &settings));
}

std::string busy_unmount() {
  const opened held{"/tmp/mmcblk0p1/held", O_WRONLY | O_CREAT};
  return std::system("/bin/umount /dev/mmcblk0p1 2>/dev/null") == 0 ? "unmounted" : "failed";
}

/// The line of the card in the list of mounts.
std::string mount_line() {
  const opened mounts{"/proc/mounts", O_RDONLY};
  std::array<char, 4096> text = {};
  const ssize_t length = ::read(mounts.fd, text.data(), text.size());
  const std::string all(text.data(), static_cast<size_t>(length > 0 ? length : 0));
  const size_t start = all.find("/dev/mmcblk0p1");
  return start == std::string::npos ? "" : all.substr(start, all.find('\n', start) - start);
}

std::string card_check() {
  uint8_t status = 0;
  sd_card_check(&status);
  return std::to_string(status);
}

std::string recordings() {
  rec_file_list list = {};
  const int result = parse_rec_file_list(&list);
  std::array<char, 80> text;
  std::snprintf(text.data(), text.size(), "%d: %d %d %d %d %d %d", result, list.normal_count,
                list.normal_oldest, list.normal_size, list.event_count, list.event_oldest, list.event_next);
  return text.data();
}

// ----------------------------------------------------------------------------------------- the pulled card

/// A file that stays open when its card is pulled. What a kernel has in memory of it can still be read.
int held = -1;

std::string hold_file() {
  held = ::open("/tmp/mmcblk0p1/held", O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  return answer(::write(held, "text", 4)) + " " + answer(::fsync(held));
}

/// A kernel keeps what is written in memory until it is synchronised.
std::string write_held() {
  return answer(::write(held, "text", 4) == 4 ? ::fsync(held) : -1);
}

std::string release_held() {
  ::close(held);
  return status_of("/bin/umount /dev/mmcblk0p1");
}

std::string query_space() {
  struct statfs space = {};
  return answer(::statfs("/tmp/mmcblk0p1", &space));
}

std::string save_screenshot() {
  static const std::array<uint16_t, size_t{640} * 480> pixels = {};
  return answer(fb_get_bmp_file(pixels.data()));
}

std::string done_if(bool is_done) {
  return is_done ? "done" : "failed";
}

// Questions about the pulled card come after all that need the card.
constexpr struct {
  const char *name;
  std::string (*ask)();
} questions[] = {
    {"screen line length", [] { return std::to_string(fixed_information().line_length); }},
    {"screen visual", [] { return std::to_string(fixed_information().visual); }},
    {"screen xpanstep", [] { return std::to_string(fixed_information().xpanstep); }},
    {"screen ypanstep", [] { return std::to_string(fixed_information().ypanstep); }},
    {"screen blank", [] { return request("/dev/fb0", FBIOBLANK, FB_BLANK_NORMAL); }},
    {"screen unblank", [] { return request("/dev/fb0", FBIOBLANK, FB_BLANK_UNBLANK); }},
    {"screen unknown request", [] { return request("/dev/fb0", 0x46FF, 0); }},
    {"screen information without address", [] { return request("/dev/fb0", FBIOGET_VSCREENINFO, 0); }},
    {"gpio get 60", [] { return gpio_request(get_gpio, 60, 7); }},
    {"gpio set 60", [] { return gpio_request(set_gpio, 60, 1); }},
    {"gpio get 60 after set", [] { return gpio_request(get_gpio, 60, 7); }},
    {"gpio get 256", [] { return gpio_request(get_gpio, 256, 7); }},
    {"gpio set 256", [] { return gpio_request(set_gpio, 256, 1); }},
    {"gpio without address", [] { return request("/dev/ambad", get_gpio, 0); }},
    {"gpio unknown request", [] { return request("/dev/ambad", 0x64CC, 0); }},
    {"adc first line", [] { return first_line("/proc/ambarella/adc"); }},
    {"hdmi", [] { return std::to_string(hdmi_detect()); }},
    {"temperature", [] { return std::to_string(read_temperature()); }},
    {"i2c identity", [] { return i2c_read(0x18, 0x0F); }},
    {"i2c absent device", [] { return i2c_read(0x42, 0); }},
    {"i2c slave 127", [] { return request("/dev/i2c-0", I2C_SLAVE, 0x7F); }},
    {"i2c slave 128", [] { return request("/dev/i2c-0", I2C_SLAVE, 0x80); }},
    {"i2c tenbit off", [] { return request("/dev/i2c-0", I2C_TENBIT, 0); }},
    {"i2c tenbit on", [] { return request("/dev/i2c-0", I2C_TENBIT, 1); }},
    {"i2c functionality", [] { return std::to_string(bus_functions()); }},
    {"i2c smbus quick", [] { return smbus_read(0x18, 0, I2C_SMBUS_QUICK); }},
    {"i2c smbus quick absent", [] { return smbus_read(0x42, 0, I2C_SMBUS_QUICK); }},
    {"i2c smbus byte", [] { return smbus_read(0x18, 0x0F, I2C_SMBUS_BYTE_DATA); }},
    {"i2c smbus invalid", [] { return smbus_read(0x18, 0x0F, 99); }},
    {"i2c combined", [] { return combined_read(0x18, 0x0F); }},
    {"i2c combined absent", [] { return combined_read(0x42, 0x0F); }},
    {"i2c functions without address", [] { return request("/dev/i2c-0", I2C_FUNCS, 0); }},
    {"i2c unknown request", [] { return request("/dev/i2c-0", 0x07FF, 0); }},
    {"brightness set 500", [] { return write_text(brightness, "500"); }},
    {"brightness", [] { return first_line(brightness); }},
    {"brightness set 1001", [] { return write_text(brightness, "1001"); }},
    {"brightness set text", [] { return write_text(brightness, "dark"); }},
    {"brightness after them", [] { return first_line(brightness); }},
    {"brightness set 1000", [] { return write_text(brightness, "1000", O_RDWR | O_TRUNC); }},
    {"brightness size",
     [] {
       struct stat status = {};
       ::stat(brightness, &status);
       return std::to_string(status.st_size);
     }},
    {"console settings", settings_of_port},
    {"card status", card_check},
    {"card sectors", [] { return first_line("/sys/block/mmcblk0/size"); }},
    {"card size", [] { return std::to_string(sd_card_get_part_size()); }},
    {"card free space", [] { return std::to_string(sd_card_get_free_space()); }},
    {"card file system type", [] { return std::to_string(card_space().f_type); }},
    {"card block size", [] { return std::to_string(card_space().f_bsize); }},
    {"card name length", [] { return std::to_string(card_space().f_namelen); }},
    {"card mount line", mount_line},
    {"card mount flags", [] { return std::to_string(card_space().f_flags); }},
    {"card recordings", recordings},
    {"card file times", [] { return modified("/tmp/mmcblk0p1/time", 1700000001); }},
    {"card busy", busy_unmount},
    {"card status after that", card_check},
    {"card unmount", [] { return status_of("/bin/umount /dev/mmcblk0p1"); }},
    {"card status unmounted", card_check},
    {"card check", [] { return status_of("/usr/local/bin/dosfsck -a /dev/mmcblk0p1 >/dev/null 2>&1"); }},
    {"card unmount again", [] { return status_of("/bin/umount /dev/mmcblk0p1 2>/dev/null"); }},
    {"card read-only", [] { return status_of("mount -r /dev/mmcblk0p1 /tmp/mmcblk0p1"); }},
    {"card read-only flags", [] { return std::to_string(card_space().f_flags); }},
    {"card write read-only", [] { return write_text("/tmp/mmcblk0p1/new", "x", O_WRONLY | O_CREAT); }},
    {"card read-only unmount", [] { return status_of("/bin/umount /dev/mmcblk0p1"); }},
    {"card mount again", [] { return status_of("mount /dev/mmcblk0p1 /tmp/mmcblk0p1"); }},
    {"card mount of mounted", [] { return status_of("mount /dev/mmcblk0p1 /tmp/mmcblk0p1 2>/dev/null"); }},
    {"card status mounted", card_check},
    {"card check of mounted",
     [] { return status_of("/usr/local/bin/dosfsck -n /dev/mmcblk0p1 >/dev/null 2>&1"); }},
    {"card file names", [] { return number_of_names("/tmp/mmcblk0p1/NAME.TS", "/tmp/mmcblk0p1/name.ts"); }},
    {"card link", [] { return answer(::symlink("file", "/tmp/mmcblk0p1/link")); }},
    {"card directory as file", [] { return write_text("/tmp/mmcblk0p1/REC", "x"); }},
    {"card name with colon", [] { return write_text("/tmp/mmcblk0p1/a:b", "x", O_WRONLY | O_CREAT); }},
    {"card file held", hold_file},
    {"card pulled", [] { return done_if(vm::remove_card()); }},
    {"card pulled status", card_check},
    {"card pulled mount line", mount_line},
    {"card pulled sectors", [] { return first_line("/sys/block/mmcblk0/size"); }},
    {"card pulled space", query_space},
    {"card pulled size", [] { return std::to_string(sd_card_get_part_size()); }},
    {"card pulled recordings", recordings},
    {"card pulled write to open file", write_held},
    {"card pulled screenshot", save_screenshot},
    {"card put in", [] { return done_if(vm::insert_card()); }},
    {"card put in status", card_check},
    {"card put in sectors", [] { return first_line("/sys/block/mmcblk0/size"); }},
    {"card put in space", query_space},
    {"card put in recordings", recordings},
    {"card put in write to open file", write_held},
    {"card put in screenshot", save_screenshot},
    {"card put in busy", [] { return status_of("/bin/umount /dev/mmcblk0p1 2>/dev/null"); }},
    {"card put in unmount", release_held},
    {"card put in status unmounted", card_check},
    {"card put in check",
     [] { return status_of("/usr/local/bin/dosfsck -a /dev/mmcblk0p1 >/dev/null 2>&1"); }},
    {"card put in mount", [] { return status_of("mount /dev/mmcblk0p1 /tmp/mmcblk0p1"); }},
    {"card put in status mounted", card_check},
    {"card put in recordings after it", recordings},
    {"log", [] { return std::to_string(log_printf("probe %d", 1)); }},
    {"microphone", [] { return status_of("amixer cset numid=64 on >/dev/null"); }},
};

} // namespace

int main() {
  gpio_init();
  for (const auto &question : questions) {
    std::printf("probe: %s: %s\n", question.name, question.ask().c_str());
    std::fflush(stdout);
  }
  return 0;
}
