// What posix/ must not do, and must not get away with.
#include <unistd.h>

int makePipe(int (&ends)[2]) {
    return pipe2(ends, 0);
}
