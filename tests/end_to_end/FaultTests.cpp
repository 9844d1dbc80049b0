// System calls that fail: each run either succeeds or ends with a notice, and leaves nothing behind.

#include "Launch.h"
#include "support/LoopbackServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <regex>

namespace kestrav::tests {
namespace {

/// Expects either the Java program's own exit status, or a notice and nothing else.
void expectWholeOrNothing(Launch &run) {
    const int status = run.wait();
    const std::string errors = run.errors();
    EXPECT_TRUE(status == 0 || status == 1) << errors;
    EXPECT_EQ(run.childStarted(), status == 0) << errors;
    EXPECT_EQ(std::regex_search("\n" + errors, std::regex("\n(Test|launcher): ")), status == 1) << errors;
    const bool removalFailed = errors.find("could not remove") != std::string::npos;
    EXPECT_TRUE(removalFailed || run.leftNothing()) << errors;
}

TEST(Faults, AreOvercomeOrTold) {
    const std::string archive = gzip(runtimeBundle().link("Contents/Home/lib", "bin").closed());
    const LoopbackServer server(answers({{"/jre", ok(archive)}}));
    const AppBundle installed;
    AppBundle shipping;
    shipping.folder().write("Test.app/Contents/Resources/app/jre.tar.gz", archive);
    AppBundle keeping;
    keeping.folder().write("Test.app/Contents/Resources/app/jre.tar.gz", archive);
    keeping.info["ksv.keepRuntime"] = true;
    AppBundle downloading;
    downloading.info["ksv.minVersion"] = "99";
    downloading.info["ksv.jreLocation"] = server.url("/jre");
    struct Case {
        const AppBundle &bundle;
        const char *kind;
        std::initializer_list<int> calls; // each fails in its own run; below zero: that one and all later ones
        int error;
    };
    const Case cases[] = {
        {installed, "open", {1, 2, 3}, EMFILE},
        {installed, "read", {1, 2, -1}, EINTR},
        {installed, "write", {1, 2, 3, -1}, EIO},
        {installed, "pipe", {1, 2, 3}, EMFILE},
        {installed, "thread", {1, 2, 3, 4}, EAGAIN},
        {installed, "spawn", {1}, EAGAIN},
        {installed, "wait", {1, 2}, EINVAL},
        {installed, "poll", {1, 2, 3, -1}, EINTR},
        {installed, "malloc", {80, 123, 150, 186, 220, 290}, ENOMEM},
        {shipping, "open", {3, 4, 5, 6, 7, -6, -7, -8}, ENFILE},
        {shipping, "mkdir", {1, 2, 3, 4}, ENOSPC},
        {shipping, "read", {-4}, EINTR},
        {shipping, "write", {2, 3, 4}, ENOSPC},
        {shipping, "link", {1}, ENOSPC},
        {shipping, "chmod", {1, 2, 3}, EIO},
        {keeping, "mkdir", {1, 2, 3, 4, 5, 6, 7, 8, -1}, ENOSPC},
        {keeping, "open", {5, 7, 9, 11, 13, 15, 17, 19, 21}, EROFS},
        {keeping, "write", {1, 2, 3, 4, 5, 6}, ENOSPC},
        {downloading, "open", {5, 6, 7, 8, 9}, EMFILE},
        {downloading, "write", {1, 2, 3, 4, 5, 6, 7}, EIO},
        {downloading, "thread", {1, 2, 3, 4, 5}, EAGAIN},
        {downloading, "socket", {1, -1}, EMFILE},
        {downloading, "connect", {1}, ENETUNREACH},
        {downloading, "send", {1}, ECONNRESET},
        {downloading, "recv", {1, 2, -1}, EINTR},
        {downloading, "poll", {1, 2, 3, 4, -1}, ENOMEM},
    };
    std::vector<std::pair<std::string, std::unique_ptr<Launch>>> runs;
    for (const auto &[bundle, kind, calls, error] : cases) {
        for (const int call : calls) {
            const std::string fault = std::string(kind) + ":" + std::to_string(std::abs(call)) +
                                      (call < 0 ? "+:" : ":") + std::to_string(error);
            const Start start{.environment = {{"LD_PRELOAD", KESTRAV_FAULTS}, {"KESTRAV_FAULT", fault}}};
            const char *scenario = &bundle == &installed  ? "installed "
                                   : &bundle == &shipping ? "shipped "
                                   : &bundle == &keeping  ? "kept "
                                                          : "download ";
            runs.emplace_back(scenario + fault, std::make_unique<Launch>(bundle, start));
        }
    }
    for (const AppBundle *bundle : std::initializer_list<const AppBundle *>{&installed, &shipping, &downloading}) {
        runs.emplace_back("small stack",
                          std::make_unique<Launch>(*bundle, Start{.by = {"/usr/bin/prlimit", "--stack=65536"}}));
    }
    for (const auto &[fault, run] : runs) {
        SCOPED_TRACE(fault);
        expectWholeOrNothing(*run);
    }
}

TEST(Faults, AnotherFolderIsTakenWhereOneIsFull) {
    std::atomic<int> requests = 0;
    const std::string archive = runtimeBundle().closed();
    const LoopbackServer server([&](Connection &connection) { // the length is not announced
        static_cast<void>(connection.readRequest());
        ++requests;
        connection.send("HTTP/1.0 200 OK\r\n\r\n" + archive);
    });
    AppBundle bundle;
    bundle.info["ksv.minVersion"] = "99";
    bundle.info["ksv.jreLocation"] = server.url("/jre");
    bundle.info["ksv.jreUncompressedSize"] = 1'000'000;
    const struct {
        std::string fault;
        bool keeps;
        int requests;
        bool fits;
    } cases[] = {
        {"write:6:" + std::to_string(ENOSPC), true, 2, true}, // while the archive arrives
        {"write:6:" + std::to_string(EDQUOT), true, 2, true},
        {"room:3:0", false, 1, true}, // once it is there
        {"room:3+:0", false, 1, false},
    };
    for (const auto &[fault, keeps, expected, fits] : cases) {
        SCOPED_TRACE(fault);
        requests = 0;
        bundle.info["ksv.keepRuntime"] = keeps;
        Launch run(bundle, {.environment = {{"LD_PRELOAD", KESTRAV_FAULTS}, {"KESTRAV_FAULT", fault}}});
        if (fits) {
            EXPECT_EQ(run.wait(), 0) << run.errors();
            const Report report = run.report();
            const std::string program = report.arguments.front();
            const std::string folder = program.substr(0, program.find("/jre.bundle"));
            EXPECT_EQ(program.starts_with(run.folder() / "home/.cache/kestrav/runtimes/"), keeps) << program;
            EXPECT_FALSE(report.has("-Dksv.tarFile=" + folder + "/jre.tar.gz"));
        } else {
            expectRefusal(run, "it has room for 0.0 MB, but 1.0 MB are needed");
        }
        EXPECT_EQ(requests, expected);
        EXPECT_TRUE(run.leftNothing());
    }
}

TEST(Faults, WithoutMemoryTheTextOfANoticeIsWritten) {
    const AppBundle bundle;
    for (const char *allocations : {"1", "2", "3", "5", "9", "17"}) {
        const std::string fault = std::string("malloc:") + allocations + "+:12";
        Launch run(bundle, {.environment = {{"LD_PRELOAD", KESTRAV_FAULTS}, {"KESTRAV_FAULT", fault}}});
        EXPECT_EQ(run.wait(), 1) << allocations;
        EXPECT_EQ(run.errors().find("launcher: An internal error kept this application from starting: "), 0U)
            << run.errors();
    }
}

} // namespace
} // namespace kestrav::tests
