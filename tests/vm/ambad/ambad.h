/* The parts of the test machine's driver. Each start function returns 0 or a negative error; its stop function must
   be called once only, after a success. */
#ifndef AMBAD_H
#define AMBAD_H

#include <linux/types.h>

struct device;

/* Append a line to the list of events, "/proc/ambarella/events". May be called in any context. */
__printf(1, 2) void ambad_event(const char *format, ...);

int ambad_start_reports(void);
void ambad_stop_reports(void);

int ambad_start_gpio(void);
void ambad_stop_gpio(void);
struct device *ambad_device(void);
int ambad_set_gpio(u32 line, u32 level);

int ambad_start_i2c(void);
void ambad_stop_i2c(void);
int ambad_set_register(u32 number, u32 value);

int ambad_start_backlight(void);
void ambad_stop_backlight(void);

int ambad_start_panel(void);
void ambad_stop_panel(void);

int ambad_start_codec(void);
void ambad_stop_codec(void);

/* The contents of "/proc/ambarella/events". Both return the number of bytes, or a negative error. */
ssize_t ambad_read_events(char __user *to, size_t size, loff_t *position);
void ambad_clear_events(void);

#endif
