// SPDX-License-Identifier: GPL-2.0
/* "/proc/ambarella": the text files of the ADC and the HDMI socket, which tests may write, and the two files of the
   tests: "control" and "events". */

#include "ambad.h"

#include <linux/fs.h>
#include <linux/mutex.h>
#include <linux/proc_fs.h>
#include <linux/uaccess.h>

#define REPORT_SIZE 1024
#define LINE_SIZE 64

struct report {
  char text[REPORT_SIZE];
  size_t size;
};

static struct report adc = {.text = "adc0 = 0x200\0\nadc1 = 0x1cf\0\nadc2 = 0x200\0\nadc3 = 0x200\0\n",
                            .size = 56};
static struct report hdmi = {.text = "No HDMI\n", .size = 8};
static DEFINE_MUTEX(lock);
static struct proc_dir_entry *directory;

static ssize_t read_report(struct file *file, char __user *to, size_t size, loff_t *position) {
  const struct report *report = pde_data(file_inode(file));
  ssize_t result;
  mutex_lock(&lock);
  result = simple_read_from_buffer(to, size, position, report->text, report->size);
  mutex_unlock(&lock);
  return result;
}

/* Each write is a whole report. */
static ssize_t write_report(struct file *file, const char __user *from, size_t size, loff_t *position) {
  struct report *report = pde_data(file_inode(file));
  const size_t kept = min_t(size_t, size, REPORT_SIZE);
  ssize_t result = (ssize_t)size;
  mutex_lock(&lock);
  if (copy_from_user(report->text, from, kept) != 0)
    result = -EFAULT;
  else
    report->size = kept;
  mutex_unlock(&lock);
  return result;
}

static ssize_t read_events(struct file *file, char __user *to, size_t size, loff_t *position) {
  return ambad_read_events(to, size, position);
}

/* "gpio LINE LEVEL", "register NUMBER VALUE" or "clear". */
static ssize_t control(struct file *file, const char __user *from, size_t size, loff_t *position) {
  char line[LINE_SIZE];
  u32 which, value;
  int result = -EINVAL;
  if (size >= LINE_SIZE || copy_from_user(line, from, size) != 0)
    return -EINVAL;
  line[size] = '\0';
  if (sscanf(line, "gpio %u %u", &which, &value) == 2)
    result = ambad_set_gpio(which, value);
  else if (sscanf(line, "register %i %i", &which, &value) == 2)
    result = ambad_set_register(which, value);
  else if (sysfs_streq(line, "clear")) {
    ambad_clear_events();
    result = 0;
  }
  return result == 0 ? (ssize_t)size : result;
}

static const struct proc_ops report_operations = {.proc_read = read_report, .proc_write = write_report};
static const struct proc_ops event_operations = {.proc_read = read_events};
static const struct proc_ops control_operations = {.proc_write = control};

int ambad_start_reports(void) {
  directory = proc_mkdir("ambarella", NULL);
  if (directory == NULL)
    return -ENOMEM;
  if (proc_create_data("adc", 0644, directory, &report_operations, &adc) != NULL &&
      proc_create_data("hdmi_edid", 0644, directory, &report_operations, &hdmi) != NULL &&
      proc_create("events", 0444, directory, &event_operations) != NULL &&
      proc_create("control", 0200, directory, &control_operations) != NULL)
    return 0;
  ambad_stop_reports();
  return -ENOMEM;
}

void ambad_stop_reports(void) {
  proc_remove(directory);
}
