// Loaded in front of a program: its files lie on a medium that can little and is slow. It knows no
// files without a name, no rename that spares, no ftruncate, no ':' in a name; and the main
// thread's fsync takes YRA_SYNC_SECONDS, told by a file of the name YRA_SYNC_MARK.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>

int openat(int folder, const char* name, int flags, ...) {
  static int (*real)(int, const char*, int, ...);
  if (real == NULL) *(void**)&real = dlsym(RTLD_NEXT, "openat");
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = va_arg(arguments, mode_t);
  va_end(arguments);
  if ((flags & O_TMPFILE) == O_TMPFILE) return errno = EOPNOTSUPP, -1;
  if ((flags & O_CREAT) != 0 && strchr(name, ':') != NULL) return errno = EINVAL, -1;
  return real(folder, name, flags, mode);
}

int renameat2(int from, const char* old, int to, const char* name, unsigned int flags) {
  (void)from, (void)old, (void)to, (void)name, (void)flags;
  return errno = EINVAL, -1;
}

int ftruncate(int fd, off_t length) {
  (void)fd, (void)length;
  return errno = ENOSYS, -1;
}

int fsync(int fd) {
  (void)fd;
  const char* mark = getenv("YRA_SYNC_MARK");
  const char* seconds = getenv("YRA_SYNC_SECONDS");
  if (gettid() != getpid()) return 0;
  if (mark != NULL) close(open(mark, O_CREAT | O_WRONLY, 0600));
  for (unsigned int left = seconds != NULL ? (unsigned int)atoi(seconds) : 0; left > 0;) {
    left = sleep(left);  // a signal does not make a disk faster
  }
  return 0;
}
