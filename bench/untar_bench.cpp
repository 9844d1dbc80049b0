// Compares the extraction of an archive with other programs: bsdtar, GNU tar, and zlib alone, which discards what it
// inflates.
//
//   untar_bench ARCHIVE [ROUNDS]
//
// The contenders run in turn, each in a process of its own, into a fresh directory below TMPDIR. The exit status is 1
// if a limit was missed.

#include "harness.h"
#include "mac_installer/archive/GzipMember.h"
#include "mac_installer/archive/UnTar.h"

#include <zlib.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using namespace kestrav::bench;

int untar(const char *archive, const char *destination) {
    const auto ignore = [](double) {};
    return kestrav::UnTar::untar(archive, destination, 75'000'000, ignore, [] {}).complete ? 0 : 1;
}

int inflateOnly(const char *archive) {
    gzFile file = gzopen(archive, "r");
    std::array<char, 32768> chunk;
    int count = 0;
    gzbuffer(file, 128 * 1024);
    while ((count = gzread(file, chunk.data(), chunk.size())) > 0) {
    }
    return gzclose(file) == Z_OK && count == 0 ? 0 : 1;
}

/// What there is to keep: less for an archive whose members tell their lengths, which many threads inflate.
struct Limits {
    const char *name;
    double wall;   ///< of bsdtar's
    double memory; ///< MiB
};

Limits limitsOf(const std::string &archive) {
    std::string start(kestrav::GzipMember::longestHeader, '\0');
    std::ifstream(archive, std::ios::binary).read(start.data(), static_cast<std::streamsize>(start.size()));
    return kestrav::GzipMember::parse(start) ? Limits{"extraction, own archive", 0.6, 24}
                                             : Limits{"extraction", 0.95, 8};
}

bool compare(const std::string &self, const std::string &archive, int rounds) {
    const std::string destination = (fs::temp_directory_path() / ("untar-bench-" + std::to_string(getpid()))).string();
    const auto extracting = [&](const char *name, std::vector<std::string> command) -> Contender {
        command.push_back(destination);
        return {name, [=] {
                    fs::remove_all(destination);
                    fs::create_directory(destination);
                    return Process(command).untilEnd();
                }};
    };
    std::vector<Contender> contenders{
        extracting("UnTar", {self, "--untar", archive}), extracting("bsdtar", {"bsdtar", "-xf", archive, "-C"}),
        extracting("GNU tar", {"tar", "-xf", archive, "-C"}), extracting("bare zlib", {self, "--inflate", archive})};
    takeTurns(contenders, rounds);
    fs::remove_all(destination);
    printTable("extraction", contenders);
    const Contender &own = contenders[0];
    const Limits limits = limitsOf(archive);
    const std::string name = limits.name;
    bool good = within(name + ", of bsdtar", medianRatio(own, contenders[1]), limits.wall);
    good = within(name + ", of GNU tar", medianRatio(own, contenders[2]), 0.6) && good;
    good = within("user CPU, of bare zlib", medianRatio(own, contenders[3], &Sample::user), 1.2) && good;
    return within("peak memory, MiB", own.quantile(1, &Sample::peak), limits.memory) && good;
}

} // namespace

int main(int argc, char **argv) {
    constexpr int usualRounds = 15;
    const std::string first = argc > 1 ? argv[1] : "";
    if (first == "--untar" && argc == 4) {
        return untar(argv[2], argv[3]);
    }
    if (first == "--inflate" && argc == 4) {
        return inflateOnly(argv[2]);
    }
    if (argc != 2 && argc != 3) {
        std::fputs("usage: untar_bench ARCHIVE [ROUNDS]\n", stderr);
        return 2;
    }
    return runMain("untar_bench",
                   [&] { return compare(argv[0], first, argc == 3 ? std::max(std::atoi(argv[2]), 1) : usualRounds); });
}
