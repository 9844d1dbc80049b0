// Stands in for a runtime's bin/unpack200, with that tool's contract: "-r PACKED TARGET" writes the target, removes the
// packed file, and exits with 0 only if both went well.
//   FAKE_UNPACK=fail   exit with a failure
//   FAKE_UNPACK=hang   write the process id to the file FAKE_UNPACK_PID and never end, not even on SIGTERM

#include "packing.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

int main(int argc, char **argv) {
    constexpr unsigned ownLimit = 300; // seconds
    alarm(ownLimit);
    const char *variable = std::getenv("FAKE_UNPACK");
    const std::string mode = variable == nullptr ? "" : variable;
    if (argc != 4 || std::string(argv[1]) != "-r") {
        return 2;
    }
    if (mode == "fail") {
        return 1;
    }
    if (mode == "hang") {
        signal(SIGTERM, SIG_IGN);
        std::ofstream(std::getenv("FAKE_UNPACK_PID")) << getpid() << std::endl;
        for (;;) {
            pause();
        }
    }
    std::ifstream packed(argv[2], std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(packed), {}};
    const auto content = kestrav::tests::unpack(bytes);
    if (!content) {
        return 3;
    }
    std::ofstream target(argv[3], std::ios::binary);
    target << *content;
    target.close();
    std::error_code error;
    return target && std::filesystem::remove(argv[2], error) && !error ? 0 : 1;
}
