// The runtime comes from a server.

#include "Launch.h"
#include "support/LoopbackServer.h"
#include "support/VirtualDisplay.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <filesystem>

namespace kestrav::tests {
namespace {

/// A bundle for which no installed runtime will do.
struct DownloadBundle : AppBundle {
    explicit DownloadBundle(const std::string &location) {
        info["ksv.minVersion"] = "99";
        info["ksv.jreLocation"] = location;
    }
};

TEST(Download, RuntimeIsExtractedAndRuns) {
    const std::string archive = gzip(runtimeBundle().closed());
    const LoopbackServer server(answers({
        {"/gzip", "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n" + archive},
        {"/moved", redirectTo("/gzip")},
    }));
    const DownloadBundle bundle(" \n" + server.url("/moved") + "\t");
    Launch launch(bundle);
    ASSERT_EQ(launch.wait(), 0) << launch.errors();
    EXPECT_EQ(launch.errors(), "");
    EXPECT_TRUE(launch.leftNothing());
    const Report report = launch.report();
    const std::string &java = report.arguments.front();
    const std::string folder = java.substr(0, java.find("/jre.bundle/Contents/Home/bin/java"));
    EXPECT_EQ(std::filesystem::path(folder).parent_path(), launch.folder() / "temporary");
    EXPECT_TRUE(report.has("-Dksv.jreBundle=" + folder + "/jre.bundle"));
    EXPECT_TRUE(report.has("-Dksv.tarFile=" + folder + "/jre.tar.gz"));
}

TEST(Download, FailureEndsWithALogLineAndANotice) {
    const std::string archive = gzip(runtimeBundle().closed());
    const LoopbackServer server(answers({
        {"/short", ok(archive).substr(0, archive.size() - 100)},
        {"/damaged", ok(archive.substr(0, archive.size() / 2))},
    }));
    const std::pair<std::string, const char *> cases[] = {
        {server.url("/short"), "DownloadJreError"},
        {"file:///dev/zero", "DownloadJreError"},
        {"no address", "DownloadJreError"},
        {server.url("/damaged"), "internal error: could not extract the runtime"},
        {" \n\t ", "no runtime: 99, Test"},
    };
    for (const auto &[location, message] : cases) {
        const DownloadBundle bundle(location);
        Launch launch(bundle);
        expectRefusal(launch, message);
        EXPECT_TRUE(launch.leftNothing());
        const std::string line =
            "[^\n]* -\\[AppDelegate download:didFailWithError:\\] \\[Line [0-9]+\\] Download failed! "
            "Error - [^\n]+ " +
            location + "\n[^\n]+\n";
        const bool failed = message == std::string("DownloadJreError");
        EXPECT_EQ(testing::Matches(testing::MatchesRegex(line))(launch.errors()), failed) << launch.errors();
    }
}

TEST(Download, CancelEndsItQuietly) {
    std::atomic<int> requests = 0;
    const LoopbackServer server([&](Connection &connection) {
        static_cast<void>(connection.readRequest());
        connection.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
        ++requests;
        while (connection.send("1\r\nx\r\n")) {
        }
    });
    const DownloadBundle endless(server.url("/endless"));
    for (int run = 0; run < 4; ++run) { // half of them at any moment
        const int before = requests;
        Launch launch(endless, {.environment = {{"KESTRAV_LOG", "yes"}}});
        waitUntil([&] { return launch.errors().find("worker started") != std::string::npos; }, "the worker");
        if (run % 2 == 0) {
            waitUntil([&] { return requests > before; }, "the request");
        }
        expectCancelled(launch);
        EXPECT_THAT(launch.errors(), testing::Not(testing::HasSubstr("Download failed")));
    }
}

TEST(Download, CancelWorksWhileTheDisplayDoesNotAnswer) {
    std::atomic<bool> asked = false;
    const LoopbackServer display([&](Connection &connection) {
        asked = true;
        connection.waitForEnd();
    });
    const DownloadBundle bundle(display.url("/"));
    constexpr int firstPort = 6000; // of display 0
    const std::string name = "127.0.0.1:" + std::to_string(display.port() - firstPort);
    Launch launch(bundle, {.environment = {{"DISPLAY", name}, {"KESTRAV_LOG", "yes"}}});
    waitUntil([&] { return launch.errors().find("waiting for download") != std::string::npos; }, "the worker");
    waitUntil([&] { return asked.load(); }, "the display's client");
    expectCancelled(launch);
}

TEST(Download, GoesOnWithoutItsWindow) {
    const VirtualDisplay display(false); // nobody tells the window's library before it draws
    const std::string search = "xdotool search --onlyvisible --name '^WizardCaption$' ";
    std::atomic<bool> goOn = false;
    const std::string archive = gzip(runtimeBundle().closed());
    const LoopbackServer server([&](Connection &connection) {
        static_cast<void>(connection.readRequest());
        connection.send("HTTP/1.0 200 OK\r\n\r\n" + archive.substr(0, 1)); // the bar moves all the time
        waitUntil([&] { return goOn.load(); }, "the window's end");
        connection.send(archive.substr(1));
    });
    const DownloadBundle bundle(server.url("/"));
    Launch launch(bundle, {.environment = {{"DISPLAY", display.name()}, {"FAKE_EXIT", "5"}}});
    waitUntil([&] { return !display.run(search).empty(); }, "the window");
    static_cast<void>(display.run(search + "windowclose"));
    waitUntil([&] { return display.run(search).empty(); }, "the window's end");
    goOn = true;
    EXPECT_EQ(launch.wait(), 5);
    EXPECT_EQ(launch.errors(), "");
}

} // namespace
} // namespace kestrav::tests
