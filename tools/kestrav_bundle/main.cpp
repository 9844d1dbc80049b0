// kestrav-bundle: makes an application bundle from the launcher's template, a Java program and, if it is to carry one,
// a runtime.

#include "Application.h"
#include "CommandLine.h"
#include "platform/Bundle.h"

#include <cstdio>
#include <exception>

namespace {
constexpr int failed = 1;
} // namespace

int main(int argc, char **argv) {
    try {
        const auto request = kestrav::tools::parseCommandLine(argc, argv);
        if (!request) {
            return 0;
        }
        const auto notes =
            kestrav::tools::makeApplication(*request, kestrav::platform::Bundle::mainBundle().bundlePath());
        std::printf("made %s\n", request->output.c_str());
        for (const std::string &note : notes) {
            std::printf("  %s\n", note.c_str());
        }
        return std::fflush(stdout) == 0 ? 0 : failed;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "kestrav-bundle: %s\n", error.what());
    }
    return failed;
}
