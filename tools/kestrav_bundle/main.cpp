// kestrav-bundle: makes an application bundle from the launcher's template, a Java program and, if it is to carry one,
// a runtime.

#include "Application.h"
#include "Check.h"
#include "Cleaning.h"
#include "CommandLine.h"
#include "Interruption.h"
#include "platform/Bundle.h"
#include "platform/text.h"

#include <sys/stat.h>

#include <clocale>
#include <cstdio>
#include <exception>
#include <filesystem>

namespace {

constexpr int failed = 1;

/// A line for people. Names from archives and lists may hold what changes a terminal.
std::string shown(const std::string &line) {
    return kestrav::platform::escapingControlCharacters(line);
}

int complain(const std::string &reason) {
    std::fprintf(stderr, "kestrav-bundle: %s\n", shown(reason).c_str());
    return failed;
}

/// True if all output has arrived.
bool flushed() {
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

std::string reasonOf(const std::exception &error) {
    const auto *ofFile = dynamic_cast<const std::filesystem::filesystem_error *>(&error);
    if (ofFile == nullptr) {
        return error.what();
    }
    const std::string to = ofFile->path2().empty() ? "" : " to " + ofFile->path2().string();
    return ofFile->path1().string() + to + ": " + ofFile->code().message();
}

/// Prints how an application would start; 0 if it would.
int check(const kestrav::tools::Request &request) {
    const auto report = kestrav::tools::examineStart(request);
    for (const std::string &line : kestrav::tools::linesOf(report, request.output)) {
        std::printf("%s\n", shown(line).c_str());
    }
    return flushed() && report.problems.empty() ? 0 : failed;
}

/// The same for a program, which finds an object on standard output even if there is no such application.
int checkForProgram(const kestrav::tools::Request &request) {
    std::string object;
    bool wouldStart = false;
    try {
        const auto report = kestrav::tools::examineStart(request);
        wouldStart = report.problems.empty();
        object = kestrav::tools::jsonOf(report);
    } catch (const kestrav::tools::Interrupted &) {
        throw;
    } catch (const std::exception &error) {
        object = kestrav::tools::jsonOfRefusal(reasonOf(error));
    }
    std::fputs(object.c_str(), stdout);
    return flushed() && wouldStart ? 0 : failed;
}

int makeAsAsked(int argc, char **argv) {
    const auto request = kestrav::tools::parseCommandLine(argc, argv);
    if (request && request->check) {
        return request->asJSON ? checkForProgram(*request) : check(*request);
    }
    if (request && request->clean) {
        const bool whole = kestrav::tools::cleanRuntimes(
            request->output, [](const std::string &line) { std::printf("%s\n", shown(line).c_str()); });
        return flushed() && whole ? 0 : failed;
    }
    if (request) {
        const auto notes =
            kestrav::tools::makeApplication(*request, kestrav::platform::Bundle::mainBundle().bundlePath());
        std::printf(request->dryRun ? "would make %s\n" : "made %s\n", shown(request->output).c_str());
        for (const std::string &note : notes) {
            std::printf("  %s\n", shown(note).c_str());
        }
        static_cast<void>(flushed()); // the application is made, even if its notes cannot be written
        return 0;
    }
    return flushed() ? 0 : complain("The answer could not be written");
}

/// libarchive hands names out in the locale's character set; those in Java archives are UTF-8.
void useUTF8() {
    for (const char *name : {"C.UTF-8", "UTF-8"}) {
        if (std::setlocale(LC_CTYPE, name) != nullptr) { // NOLINT(concurrency-mt-unsafe): there is one thread
            return;
        }
    }
}

} // namespace

int main(int argc, char **argv) {
    try {
        useUTF8();
        ::umask(S_IWGRP | S_IWOTH); // everybody may read an application, whatever its maker's umask is
        kestrav::tools::catchSignals();
        return makeAsAsked(argc, argv);
    } catch (const kestrav::tools::Interrupted &error) {
        complain(error.what());
        kestrav::tools::endBySignal();
    } catch (const std::exception &error) {
        complain(reasonOf(error));
    }
    return failed;
}
