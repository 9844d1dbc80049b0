// Included before every source: adds what Apple's headers have and musl's and Debian's libc++ lack, and hides what only
// those have. Declarations only, because nothing is ever linked.

#pragma once

// Without _GNU_SOURCE most names that only Linux has are hidden.
#define _XOPEN_SOURCE 700
#define _DEFAULT_SOURCE

// Apple's integer types, with which overloads and deduction differ from Linux.
typedef long long int64_t, off_t;
typedef unsigned long long uint64_t, ino_t;
typedef unsigned short mode_t, nlink_t;
typedef int dev_t, suseconds_t;
#define __DEFINED_int64_t
#define __DEFINED_uint64_t
#define __DEFINED_off_t
#define __DEFINED_dev_t
#define __DEFINED_ino_t
#define __DEFINED_mode_t
#define __DEFINED_nlink_t
#define __DEFINED_suseconds_t

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <time.h>
#include <unistd.h>

// The remaining names that only Linux has must not be used.
#undef MSG_NOSIGNAL
#undef SOCK_CLOEXEC
#undef SOCK_NONBLOCK
#pragma GCC poison MSG_NOSIGNAL SOCK_CLOEXEC SOCK_NONBLOCK
#pragma GCC poison accept4 clearenv clock_nanosleep close_range dup3 execvpe pipe2 sigtimedwait sigwaitinfo statx
#pragma GCC poison epoll_create epoll_create1 eventfd inotify_init inotify_init1 prctl renameat2 signalfd timerfd_create

// Debian's libc++ does not check which macOS version offers what; here that is the point.
#include <__config_site>
#undef _LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS

// The locale names that libc++ asks for.
typedef unsigned __uint32_t;
enum { _CTYPE_A = 0x100, _CTYPE_C = 0x200, _CTYPE_D = 0x400, _CTYPE_L = 0x1000, _CTYPE_P = 0x2000, _CTYPE_S = 0x4000 };
enum { _CTYPE_U = 0x8000, _CTYPE_X = 0x10000, _CTYPE_B = 0x20000, _CTYPE_R = 0x40000 };
extern "C" {
int asprintf_l(char **, locale_t, const char *, ...);
int snprintf_l(char *, size_t, locale_t, const char *, ...);
int sscanf_l(const char *, locale_t, const char *, ...);
float strtof_l(const char *, char **, locale_t);
double strtod_l(const char *, char **, locale_t);
long double strtold_l(const char *, char **, locale_t);
long long strtoll_l(const char *, char **, int, locale_t);
unsigned long long strtoull_l(const char *, char **, int, locale_t);

// Names that only Apple has.
#define MNT_NOEXEC 0x4
#define POSIX_SPAWN_CLOEXEC_DEFAULT 0x4000
#define RENAME_SWAP 0x2
bool dlopen_preflight(const char *path);
int posix_spawn_file_actions_addinherit_np(posix_spawn_file_actions_t *actions, int descriptor);
int renamex_np(const char *from, const char *to, unsigned flags);
}
