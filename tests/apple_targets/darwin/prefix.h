#pragma once

// Included before every source. Narrows musl's headers to what macOS has too: without _GNU_SOURCE most of Linux's own
// names are gone, and those that remain must not be used.

#define _XOPEN_SOURCE 700
#define _DEFAULT_SOURCE

// Apple's widths and kinds of integers, by which overloads and deduction differ from Linux.
typedef long long int64_t;
typedef unsigned long long uint64_t;
typedef int64_t off_t;
typedef int dev_t;
typedef uint64_t ino_t;
typedef unsigned short mode_t;
typedef unsigned short nlink_t;
typedef int suseconds_t;
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
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

// Apple's own, of <stdio.h>.
#define RENAME_SWAP 0x2
extern "C" int renamex_np(const char *from, const char *to, unsigned flags);

#undef MSG_NOSIGNAL
#undef SOCK_CLOEXEC
#undef SOCK_NONBLOCK

#pragma GCC poison MSG_NOSIGNAL SOCK_CLOEXEC SOCK_NONBLOCK
#pragma GCC poison accept4 clearenv clock_nanosleep close_range dup3 execvpe pipe2 sigtimedwait sigwaitinfo statx
#pragma GCC poison epoll_create epoll_create1 eventfd inotify_init inotify_init1 prctl renameat2 signalfd timerfd_create
