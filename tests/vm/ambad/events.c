// SPDX-License-Identifier: GPL-2.0
/* What the devices were asked to do, one line each, oldest first. */

#include "ambad.h"

#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/slab.h>
#include <linux/spinlock.h>

#define EVENTS_SIZE 16384

static char events[EVENTS_SIZE];
static size_t used;
static DEFINE_SPINLOCK(lock);

void ambad_event(const char *format, ...) {
  va_list arguments;
  unsigned long flags;
  spin_lock_irqsave(&lock, flags);
  va_start(arguments, format);
  used += vscnprintf(events + used, EVENTS_SIZE - used, format, arguments);
  va_end(arguments);
  used += scnprintf(events + used, EVENTS_SIZE - used, "\n");
  spin_unlock_irqrestore(&lock, flags);
}

ssize_t ambad_read_events(char __user *to, size_t size, loff_t *position) {
  unsigned long flags;
  ssize_t result;
  char *copy = kmalloc(EVENTS_SIZE, GFP_KERNEL);
  if (copy == NULL)
    return -ENOMEM;
  spin_lock_irqsave(&lock, flags);
  memcpy(copy, events, used);
  result = (ssize_t)used;
  spin_unlock_irqrestore(&lock, flags);
  result = simple_read_from_buffer(to, size, position, copy, (size_t)result);
  kfree(copy);
  return result;
}

void ambad_clear_events(void) {
  unsigned long flags;
  spin_lock_irqsave(&lock, flags);
  used = 0;
  spin_unlock_irqrestore(&lock, flags);
}
