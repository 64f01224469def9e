/* A library that reports the size of files below /sys as sysfs does: 4096 bytes, whatever they contain. */
#define _GNU_SOURCE

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

/* The names that the C library's headers give a call: other ones on 32-bit machines, where times are of 64 bits. */
#ifdef __USE_TIME_BITS64
#define FSTAT "__fstat64_time64"
#else
#define FSTAT "fstat"
#endif

enum { PAGE = 4096 };

static int is_attribute(int file) {
  char link[32], name[4096];
  snprintf(link, sizeof link, "/proc/self/fd/%d", file);
  const ssize_t length = readlink(link, name, sizeof name - 1);
  name[length > 0 ? length : 0] = '\0';
  return strstr(name, "/sys/class/") != NULL;
}

/* The C library's, or that of a sanitizer. */
static void *next(const char *call) {
  return dlsym(RTLD_NEXT, call);
}

int fstat(int file, struct stat *status) {
  const int result = ((int (*)(int, struct stat *))next(FSTAT))(file, status);
  if (result == 0 && is_attribute(file))
    status->st_size = PAGE;
  return result;
}

#ifndef __USE_TIME_BITS64
int fstat64(int file, struct stat64 *status) {
  const int result = ((int (*)(int, struct stat64 *))next("fstat64"))(file, status);
  if (result == 0 && is_attribute(file))
    status->st_size = PAGE;
  return result;
}
#endif
