// From a start to the program's `main` with a runtime that travels as an archive and is kept: the first start against
// one that keeps nothing, and later ones against the same application with its runtime as a folder. By turns, without a
// window, in memory where there is some.
//
//   kept_bench [ROUNDS]
//
// Ends with status 1 if keeping costs more than it may.

#include "harness.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace {

namespace fs = std::filesystem;
using namespace kestrav::bench;

constexpr double mayTake = 1.05;

/// A folder for everything, removed with this object.
class Folder {
public:
    Folder() {
        const char *memory = "/dev/shm";
        path_ = (::access(memory, W_OK) == 0 ? memory : fs::temp_directory_path().string()) + "/kept-bench-XXXXXX";
        if (::mkdtemp(path_.data()) == nullptr) {
            throw fs::filesystem_error("mkdtemp", path_, std::error_code(errno, std::generic_category()));
        }
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    ~Folder() {
        std::error_code left;
        fs::remove_all(path_, left);
    }
    [[nodiscard]] std::string operator/(const std::string &name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

std::string makeBundle(const std::string &path, const std::vector<std::string> &options) {
    std::vector<std::string> command{KESTRAV_TOOL,        "--installer",  "--identifier",
                                     "org.example.bench", "--main-class", "Started"};
    command.insert(command.end(), {"--jar", KESTRAV_START_WORK "/image/lib/app/started.jar"});
    command.insert(command.end(), {"--runtime", KESTRAV_START_WORK "/image/lib/runtime"});
    command.insert(command.end(), options.begin(), options.end());
    command.push_back(path);
    Process(command).untilEnd();
    return path + "/Contents/MacOS/launcher";
}

bool compare(int rounds) {
    const Folder folder;
    for (const char *name : {"TMPDIR", "HOME", "XDG_CACHE_HOME"}) {
        fs::create_directory(folder / name);
        ::setenv(name, (folder / name).c_str(), 1);
    }
    for (const char *variable : {"DISPLAY", "WAYLAND_DISPLAY", "KESTRAV_LOG"}) {
        ::unsetenv(variable);
    }
    const std::string asFolder = makeBundle(folder / "Folder.app", {"--runtime-form", "folder"});
    const std::string notKept = makeBundle(folder / "Archive.app", {});
    const std::string keeping = makeBundle(folder / "Kept.app", {"--keep-runtime"});
    const auto afresh = [&](const char *name, const std::string &executable) {
        return Contender{name, [=, &folder] {
                             for (const char *place : {"TMPDIR", "XDG_CACHE_HOME"}) { // what the run before has left
                                 fs::remove_all(folder / place);
                                 fs::create_directory(folder / place);
                             }
                             return Process({executable}).untilFirstByte();
                         }};
    };
    std::vector<Contender> first{afresh("archive, not kept", notKept), afresh("archive, kept, first start", keeping)};
    takeTurns(first, rounds);
    printTable("first start to main", first);
    const bool quick = within("first start, of the same without keeping", medianRatio(first[1], first[0]), mayTake);

    constexpr int warmUp = 3;
    std::vector<Contender> later{{"folder", [=] { return Process({asFolder}).untilFirstByte(); }},
                                 {"archive, kept", [=] { return Process({keeping}).untilFirstByte(); }}};
    takeTurns(later, rounds, warmUp);
    printTable("later start to main", later);
    return within("kept, of the folder", medianRatio(later[1], later[0]), mayTake) && quick;
}

} // namespace

int main(int argc, char **argv) {
    constexpr int usualRounds = 30;
    return runMain("kept_bench", [&] { return compare(argc > 1 ? std::atoi(argv[1]) : usualRounds); });
}
