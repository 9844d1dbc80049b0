// The runtime comes from a server.

#include "Launch.h"
#include "support/ArchiveWriter.h"
#include "support/LoopbackServer.h"
#include "support/VirtualDisplay.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <list>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

constexpr const char *okChunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

/// An archive of a runtime.
std::string makeArchive() {
    return gzip(ArchiveWriter()
                    .directory("Contents/Home/bin/")
                    .file("Contents/Info.plist", runtimeInfo("17.0.9"))
                    .file("Contents/Home/bin/java", contentOf(KESTRAV_FAKE_JAVA), 0755)
                    .closed());
}

/// A bundle for which no installed runtime will do.
struct DownloadBundle : AppBundle {
    explicit DownloadBundle(const std::string &location) {
        info["ksv.minVersion"] = text("99");
        info["ksv.jreLocation"] = text(location);
    }
};

bool leftNothing(const Launch &launch) {
    return fs::is_empty(launch.folder() / "temporary");
}

TEST(Download, RuntimeIsExtractedAndRuns) {
    const std::string archive = makeArchive();
    const TemporaryDirectory files;
    const std::string file = files.write("j r e", archive);
    const LoopbackServer server(answers({
        {"/jre", ok(archive)},
        {"/gzip", "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n" + archive},
        {"/moved", redirectTo("/jre")},
    }));
    std::list<DownloadBundle> bundles;
    Launches launches;
    for (const std::string &location : {server.url("/gzip"), " \n" + server.url("/moved") + "\t", "file://" + file}) {
        launches.push_back(std::make_unique<Launch>(bundles.emplace_back(location)));
    }
    for (const auto &launch : launches) {
        ASSERT_EQ(launch->wait(), 0) << launch->errors();
        EXPECT_EQ(launch->errors(), "");
        EXPECT_TRUE(leftNothing(*launch));
        const Report report = launch->report();
        const std::string suffix = "/jre.bundle/Contents/Home/bin/java";
        ASSERT_THAT(report.arguments.front(), testing::EndsWith(suffix));
        const std::string folder = report.arguments.front().substr(0, report.arguments.front().size() - suffix.size());
        EXPECT_EQ(fs::path(folder).parent_path(), launch->folder() / "temporary");
        EXPECT_TRUE(report.has("-Dksv.jreBundle=" + folder + "/jre.bundle"));
        EXPECT_TRUE(report.has("-Dksv.tarFile=" + folder + "/jre.tar.gz"));
    }
}

TEST(Download, FailureEndsWithALogLineAndANotice) {
    const std::string archive = makeArchive();
    const LoopbackServer server(answers({
        {"/short", ok(archive).substr(0, archive.size() - 100)},
        {"/damaged", ok(archive.substr(0, archive.size() / 2))},
    }));
    for (const std::string &location :
         {server.url("/404"), server.url("/short"), std::string("file:///dev/zero"), std::string("no address")}) {
        SCOPED_TRACE(location);
        const DownloadBundle bundle(location);
        Launch launch(bundle);
        expectRefusal(launch, "DownloadJreError");
        EXPECT_THAT(launch.errors(), MatchesRegex("[^\n]* -\\[AppDelegate download:didFailWithError:\\] "
                                                  "\\[Line [0-9]+\\] Download failed! Error - [^\n]+\n[^\n]+\n"));
        EXPECT_THAT(launch.errors(), HasSubstr(" " + location + "\n"));
        EXPECT_TRUE(leftNothing(launch));
    }
    for (const auto &[location, message] :
         {std::pair{server.url("/damaged"), "internal error: could not extract the runtime"},
          std::pair{std::string(" \n\t "), "no runtime: 99, Test"}}) {
        const DownloadBundle bundle(location);
        Launch launch(bundle);
        expectRefusal(launch, message);
        EXPECT_THAT(launch.errors(), Not(HasSubstr("Download failed")));
        EXPECT_TRUE(leftNothing(launch));
    }
}

TEST(Download, CancelEndsItQuietly) {
    std::atomic<int> requests = 0;
    const LoopbackServer server([&](Connection &connection) {
        static_cast<void>(connection.readRequest());
        connection.send(okChunked);
        ++requests;
        while (connection.send("1\r\nx\r\n")) {
        }
    });
    const DownloadBundle endless(server.url("/endless"));
    for (int run = 0; run < 10; ++run) { // half of them at any moment
        const int before = requests;
        Launch launch(endless, {.environment = {{"KESTRAV_LOG", "yes"}}});
        waitUntil([&] { return launch.errors().find("worker started") != std::string::npos; }, "the worker");
        if (run % 2 == 0) {
            waitUntil([&] { return requests > before; }, "the request");
        }
        launch.sendSignal(SIGTERM);
        EXPECT_EQ(launch.wait(), 1);
        EXPECT_THAT(launch.errors(), HasSubstr("] Cancelled\n"));
        EXPECT_THAT(launch.errors(), Not(HasSubstr("Download failed")));
        EXPECT_THAT(launch.errors(), Not(HasSubstr("\nTest: ")));
        EXPECT_TRUE(leftNothing(launch));
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
    launch.sendSignal(SIGTERM);
    EXPECT_EQ(launch.wait(), 1);
    EXPECT_THAT(launch.errors(), HasSubstr("] Cancelled\n"));
    EXPECT_TRUE(leftNothing(launch));
}

TEST(Download, GoesOnWithoutItsWindow) {
    const VirtualDisplay display(false); // nobody tells the window's library before it draws
    const std::string search = "xdotool search --onlyvisible --name '^WizardCaption$' ";
    std::atomic<bool> goOn = false;
    const std::string archive = makeArchive();
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
