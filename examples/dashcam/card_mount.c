#define _GNU_SOURCE

#include "card_mount.h"

#include "tell.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <string.h>
#include <sys/mount.h>
#include <unistd.h>

enum { NAME = 64, PROCESS_PATH = 300 };

static const char mount_point[] = "/tmp/mmcblk0p1";

/* ------------------------------------------------------------------------------------------- who uses it */

/* Where a link leads, or "". */
static void read_link(const char *link, char target[PATH_MAX]) {
  const ssize_t length = readlink(link, target, PATH_MAX - 1);
  target[length > 0 ? length : 0] = '\0';
}

/* The kernel's name of the mount point: a directory above it may be a link. */
static void find_mount_point(char path[PATH_MAX]) {
  char link[NAME];
  const int directory = open(mount_point, O_PATH | O_DIRECTORY | O_CLOEXEC);
  snprintf(link, sizeof link, "/proc/self/fd/%d", directory);
  read_link(link, path);
  if (directory >= 0)
    close(directory);
}

static int leads_below(const char *link, const char *path) {
  char target[PATH_MAX];
  const size_t length = strlen(path);
  read_link(link, target);
  return length > 0 && strncmp(target, path, length) == 0 &&
         (target[length] == '/' || target[length] == '\0');
}

static int has_open_file(const char *process, const char *path) {
  char name[PROCESS_PATH], link[2 * PROCESS_PATH];
  int has = 0;
  snprintf(name, sizeof name, "/proc/%s/fd", process);
  DIR *files = opendir(name);
  for (const struct dirent *file; !has && files != NULL && (file = readdir(files)) != NULL;) {
    snprintf(link, sizeof link, "%s/%s", name, file->d_name);
    has = leads_below(link, path);
  }
  if (files != NULL)
    closedir(files);
  return has;
}

static int uses(const char *process, const char *path) {
  char link[PROCESS_PATH];
  snprintf(link, sizeof link, "/proc/%s/cwd", process);
  return leads_below(link, path) || has_open_file(process, path);
}

static void read_program(const char *process, char program[NAME]) {
  char path[PROCESS_PATH];
  snprintf(path, sizeof path, "/proc/%s/comm", process);
  FILE *file = fopen(path, "r");
  if (file == NULL || fgets(program, NAME, file) == NULL)
    strcpy(program, "a program");
  program[strcspn(program, "\n")] = '\0';
  if (file != NULL)
    fclose(file);
}

/* The first process that uses the card, as far as this one may inspect it. */
static void name_user(char reason[CARD_REASON]) {
  char path[PATH_MAX], program[NAME];
  int is_found = 0;
  find_mount_point(path);
  DIR *processes = opendir("/proc");
  for (const struct dirent *process;
       !is_found && processes != NULL && (process = readdir(processes)) != NULL;) {
    is_found =
        strspn(process->d_name, "0123456789") == strlen(process->d_name) && uses(process->d_name, path);
    if (!is_found)
      continue;
    read_program(process->d_name, program);
    snprintf(reason, CARD_REASON, "busy, in use by %.32s (%.20s)", program, process->d_name);
  }
  if (processes != NULL)
    closedir(processes);
}

/* -------------------------------------------------------------------------------------------- the mount */

int card_unmount(char reason[CARD_REASON]) {
  if (umount2(mount_point, 0) == 0)
    return 0;
  const int error = errno;
  snprintf(reason, CARD_REASON, "cannot be unmounted: %s", strerror(error));
  if (error == EBUSY)
    name_user(reason);
  return -1;
}

void card_detach(void) {
  if (umount2(mount_point, MNT_DETACH) == 0)
    tell("card: unmounted after its removal");
}

void card_mount(void) {
  const char *const device = "/dev/mmcblk0p1";
  if (mount(device, mount_point, "vfat", 0, NULL) == 0 ||
      mount(device, mount_point, "vfat", MS_RDONLY, NULL) == 0)
    tell("card: mounted");
  else
    tell("card: cannot be mounted: %s", strerror(errno));
}

int card_is_readable(void) {
  const int file = open(mount_point, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR *directory = file < 0 ? NULL : fdopendir(file);
  if (directory == NULL)
    return 0;
  do
    errno = 0;
  while (readdir(directory) != NULL);
  const int is_read = errno == 0;
  closedir(directory);
  return is_read;
}
