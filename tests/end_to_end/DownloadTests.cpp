// The runtime comes from a server.

#include "Launch.h"
#include "support/ArchiveWriter.h"
#include "support/LoopbackServer.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <list>
#include <random>
#include <thread>

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
                    .directory("Contents/")
                    .file("Contents/Info.plist",
                          propertyList(dictionary({{"JavaVM", dictionary({{"JVMVersion", text("17.0.9")}})}})))
                    .directory("Contents/Home/")
                    .directory("Contents/Home/bin/")
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
    std::string chunked = okChunked;
    for (const char byte : archive) {
        chunked += std::string("1\r\n") + byte + "\r\n";
    }
    const LoopbackServer server(answers({
        {"/jre", ok(archive)},
        {"/chunked", chunked + "0\r\n\r\n"},
        {"/gzip", "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n" + archive},
        {"/moved", redirectTo("/jre")},
    }));
    std::list<DownloadBundle> bundles;
    Launches launches;
    for (const std::string &location : {server.url("/jre"), server.url("/chunked"), server.url("/gzip"),
                                        " \n" + server.url("/moved") + "\t", "file://" + file}) {
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
    const TemporaryDirectory certificates;
    int closedPort = 0;
    {
        closedPort = LoopbackServer([](Connection &) {}).port();
    }
    const LoopbackServer server(answers({
        {"/500", "HTTP/1.1 500 Oops\r\nContent-Length: 0\r\n\r\n"},
        {"/short", ok(archive).substr(0, archive.size() - 100)},
        {"/page", ok("<html>no archive</html>")},
        {"/damaged", ok(archive.substr(0, archive.size() / 2))},
    }));
    const LoopbackServer secure(answers({{"/jre", ok(archive)}}), makeCertificate(certificates / "own"));
    for (const std::string &location :
         {server.url("/404"), server.url("/500"), server.url("/short"), secure.url("/jre", "https"),
          "http://127.0.0.1:" + std::to_string(closedPort) + "/", "http://" + std::string(70, 'x') + ".invalid/",
          std::string("file:///missing/jre.tar.gz"), std::string("no address")}) {
        SCOPED_TRACE(location);
        const DownloadBundle bundle(location);
        Launch launch(bundle);
        expectRefusal(launch, "DownloadJreError");
        EXPECT_THAT(launch.errors(), MatchesRegex("[^\n]* -\\[AppDelegate download:didFailWithError:\\] "
                                                  "\\[Line [0-9]+\\] Download failed! Error - [^\n]+\n[^\n]+\n"));
        EXPECT_THAT(launch.errors(), HasSubstr(" " + location + "\n"));
        EXPECT_TRUE(leftNothing(launch));
    }
    for (const char *path : {"/page", "/damaged"}) {
        const DownloadBundle bundle(server.url(path));
        Launch launch(bundle);
        expectRefusal(launch, "internal error: could not extract the runtime");
        EXPECT_THAT(launch.errors(), Not(HasSubstr("Download failed")));
        EXPECT_TRUE(leftNothing(launch));
    }
    const DownloadBundle blank(" \n\t ");
    Launch launch(blank);
    expectRefusal(launch, "no runtime: 99, Test");
}

TEST(Download, CancelEndsItQuietly) {
    std::atomic<int> requests = 0;
    const LoopbackServer server([&](Connection &connection) {
        const std::string target = connection.readRequest();
        ++requests;
        if (target == "/begun") {
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nsome");
        } else if (target == "/endless") {
            connection.send(okChunked);
            while (connection.send("1\r\nx\r\n")) {
            }
        }
        connection.waitForEnd();
    });
    const auto expectCancelled = [](Launch &launch) {
        launch.sendSignal(SIGTERM);
        EXPECT_EQ(launch.wait(), 1);
        EXPECT_THAT(launch.errors(), HasSubstr("] Cancelled\n"));
        EXPECT_THAT(launch.errors(), Not(HasSubstr("Download failed")));
        EXPECT_THAT(launch.errors(), Not(HasSubstr("\nTest: ")));
        EXPECT_TRUE(leftNothing(launch));
    };
    const Start logged{.environment = {{"KESTRAV_LOG", "yes"}}};
    for (const char *path : {"/silent", "/begun"}) {
        const int before = requests;
        const DownloadBundle bundle(server.url(path));
        Launch launch(bundle, logged);
        waitUntil([&] { return requests > before; }, "the request");
        expectCancelled(launch);
    }
    const DownloadBundle endless(server.url("/endless"));
    std::mt19937 random(20261121);
    std::uniform_int_distribution<int> microseconds(0, 20'000);
    for (int run = 0; run < 40; ++run) {
        Launch launch(endless, logged);
        waitUntil([&] { return launch.errors().find("worker started") != std::string::npos; }, "the worker");
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
        expectCancelled(launch);
    }
}

} // namespace
} // namespace kestrav::tests
