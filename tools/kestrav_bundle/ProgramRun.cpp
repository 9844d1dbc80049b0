#include "ProgramRun.h"

#include "ChildProcess.h"
#include "Interruption.h"
#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/text.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

namespace kestrav::tools {

ProgramRun runProgram(const std::string &program, const std::vector<std::string> &arguments, const std::string &folder,
                      std::chrono::seconds patience) {
    constexpr std::chrono::milliseconds pause(5);
    const std::string output = platform::appendingPathComponent(folder, ".output");
    ChildProcess child({program, arguments, folder, output});
    ProgramRun run;
    if (!child.started()) {
        return run;
    }
    std::optional<int> status;
    const auto start = std::chrono::steady_clock::now();
    while (!(status = child.status()) && std::chrono::steady_clock::now() - start < patience) {
        raiseIfInterrupted();
        std::this_thread::sleep_for(pause);
    }
    run.end = status ? ProgramRun::End::exited : ProgramRun::End::timedOut;
    run.succeeded = status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
    run.output = platform::contentsOfFile(output).value_or("");
    return run;
}

std::vector<std::string> linesIn(std::string_view output) {
    auto lines = platform::componentsSeparatedBy(output, "\r\n");
    std::erase(lines, "");
    return lines;
}

std::optional<std::string> programInPath(const std::string &name) {
    const char *path = std::getenv("PATH"); // NOLINT(concurrency-mt-unsafe): nothing changes the environment
    for (const std::string &folder : platform::componentsSeparatedBy(path == nullptr ? "" : path, ":")) {
        std::error_code unknown;
        const auto program = std::filesystem::absolute(std::filesystem::path(folder) / name, unknown);
        if (!unknown && std::filesystem::is_regular_file(program, unknown) && ::access(program.c_str(), X_OK) == 0) {
            return program.string();
        }
    }
    return std::nullopt;
}

} // namespace kestrav::tools
