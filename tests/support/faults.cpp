// Preloaded into the launcher: makes the n-th call of a kind fail.
//   KESTRAV_FAULT=KIND:N:ERRNO    that call alone
//   KESTRAV_FAULT=KIND:N+:ERRNO   that call and all later ones
// The kinds are the names below. Programs that the launcher starts are left alone, and so are calls that the C library
// makes itself.

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

char kind[32];
long wanted = 0; // 0 means no fault
bool andAllLater = false;
int error = 0;
std::atomic<long> count{0};

__attribute__((constructor)) void readFault() {
    char all = 0;
    const char *fault = std::getenv("KESTRAV_FAULT");
    if (fault == nullptr || std::strcmp(program_invocation_short_name, "launcher") != 0) {
        return;
    }
    if (std::sscanf(fault, "%31[^:]:%ld%c", kind, &wanted, &all) != 3) {
        std::abort();
    }
    andAllLater = all == '+';
    error = std::atoi(std::strrchr(fault, ':') + 1);
}

/// True, with errno set, if this call has to fail.
bool fails(const char *name) {
    if (wanted == 0 || std::strcmp(kind, name) != 0) {
        return false;
    }
    const long number = ++count;
    if (number != wanted && (!andAllLater || number < wanted)) {
        return false;
    }
    errno = error;
    return true;
}

/// What the system answers for a full file system.
int noRoom(int result, struct statvfs64 *space) {
    space->f_bavail = 0;
    return result;
}

template <class Function> Function *real(Function * /*type*/, const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)

/// Defines a function that fails as requested and otherwise calls the original.
#define FAULTY(KIND, FAILURE, RESULT, NAME, PARAMETERS, ARGUMENTS, ...)                                                \
    extern "C" RESULT NAME PARAMETERS __VA_ARGS__ {                                                                    \
        static auto *const original = real(&NAME, #NAME);                                                              \
        return fails(KIND) ? (FAILURE) : original ARGUMENTS;                                                           \
    }

#define FAULTY_OPEN(NAME, PARAMETERS, ...)                                                                             \
    extern "C" int NAME PARAMETERS {                                                                                   \
        static auto *const original = real(&NAME, #NAME);                                                              \
        va_list list;                                                                                                  \
        va_start(list, flags);                                                                                         \
        const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, mode_t) : 0;                           \
        va_end(list);                                                                                                  \
        return fails("open") ? -1 : original(__VA_ARGS__, mode);                                                       \
    }

FAULTY_OPEN(open, (const char *path, int flags, ...), path, flags)
FAULTY_OPEN(open64, (const char *path, int flags, ...), path, flags)
FAULTY_OPEN(openat, (int folder, const char *path, int flags, ...), folder, path, flags)
FAULTY_OPEN(openat64, (int folder, const char *path, int flags, ...), folder, path, flags)

FAULTY("read", -1, ssize_t, read, (int file, void *bytes, size_t size), (file, bytes, size))
FAULTY("read", -1, ssize_t, pread64, (int file, void *bytes, size_t size, off64_t at), (file, bytes, size, at))
FAULTY("write", -1, ssize_t, write, (int file, const void *bytes, size_t size), (file, bytes, size))
FAULTY("mkdir", -1, int, mkdir, (const char *path, mode_t mode), (path, mode), noexcept)
FAULTY("mkdir", -1, int, mkdirat, (int folder, const char *path, mode_t mode), (folder, path, mode), noexcept)
FAULTY("link", -1, int, symlinkat, (const char *to, int folder, const char *path), (to, folder, path), noexcept)
FAULTY("chmod", -1, int, fchmod, (int file, mode_t mode), (file, mode), noexcept)
FAULTY("pipe", -1, int, pipe, (int *ends), (ends), noexcept)
FAULTY("socket", -1, int, socket, (int domain, int type, int protocol), (domain, type, protocol), noexcept)
FAULTY("connect", -1, int, connect, (int socket, const sockaddr *address, socklen_t size), (socket, address, size))
FAULTY("send", -1, ssize_t, send, (int socket, const void *bytes, size_t size, int flags), (socket, bytes, size, flags))
FAULTY("recv", -1, ssize_t, recv, (int socket, void *bytes, size_t size, int flags), (socket, bytes, size, flags))
FAULTY("poll", -1, int, poll, (pollfd * entries, nfds_t size, int milliseconds), (entries, size, milliseconds))
FAULTY("wait", -1, int, waitid, (idtype_t type, id_t id, siginfo_t *info, int options), (type, id, info, options))
FAULTY("wait", -1, pid_t, waitpid, (pid_t process, int *status, int options), (process, status, options))
FAULTY("spawn", errno, int, posix_spawn,
       (pid_t * process, const char *path, const posix_spawn_file_actions_t *actions,
        const posix_spawnattr_t *attributes, char *const *arguments, char *const *environment),
       (process, path, actions, attributes, arguments, environment))
FAULTY("room", noRoom(original(file, space), space), int, fstatvfs64, (int file, struct statvfs64 *space),
       (file, space), noexcept)
FAULTY("thread", errno, int, pthread_create,
       (pthread_t * thread, const pthread_attr_t *attributes, void *(*body)(void *), void *argument),
       (thread, attributes, body, argument), noexcept)

// Looking up the original functions may allocate memory, so the allocator's originals are called by other names.
extern "C" void *__libc_malloc(size_t size);                // NOLINT(bugprone-reserved-identifier): their names
extern "C" void *__libc_calloc(size_t number, size_t size); // NOLINT(bugprone-reserved-identifier)
extern "C" void *__libc_realloc(void *memory, size_t size); // NOLINT(bugprone-reserved-identifier)

extern "C" void *malloc(size_t size) noexcept {
    return fails("malloc") ? nullptr : __libc_malloc(size);
}
extern "C" void *calloc(size_t number, size_t size) noexcept {
    return fails("malloc") ? nullptr : __libc_calloc(number, size);
}
extern "C" void *realloc(void *memory, size_t size) noexcept {
    return fails("malloc") ? nullptr : __libc_realloc(memory, size);
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
