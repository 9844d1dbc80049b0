#include "platform/URLDownload.h"
#include "platform/support/DownloadSupport.h"
#include "support/LoopbackServer.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <iterator>
#include <thread>

// What a download does on every platform.

namespace kestrav::platform {
namespace {

namespace fs = std::filesystem;

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using tests::Connection;
using tests::LoopbackServer;
using tests::ok;
using tests::redirectTo;

std::string contentOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Writes down what it is told: "R" response, "D" data, "E" error, "F" finish.
struct Recorder : URLDownloadDelegate {
    bool shouldDecodeSourceDataOfMIMEType(std::string_view /*type*/) override { return false; }
    void didReceiveResponse(std::int64_t expectedContentLength) override {
        told('R');
        expected = expectedContentLength;
    }
    void didReceiveDataOfLength(std::int64_t length) override {
        told('D');
        received += length;
    }
    void didFailWithError(const URLError &error) override {
        told('E');
        failure = error.localizedDescription;
        failingURL = error.failingURL.value_or("");
        download.reset();
    }
    void downloadDidFinish() override {
        told('F');
        download.reset();
    }
    void told(char call) {
        calls += call;
        onMainThread = onMainThread && std::this_thread::get_id() == mainThread;
    }

    const std::thread::id mainThread = std::this_thread::get_id();
    std::unique_ptr<URLDownload> download;
    std::string calls;
    bool onMainThread = true;
    std::int64_t expected = -2;
    std::int64_t received = 0;
    std::string failure;
    std::string failingURL;
};

class URLDownloadContract : public ::testing::Test {
protected:
    URLDownloadContract() { tests::prepareDownloads(); }

    /// False if the platform makes no download of it.
    bool start(const std::string &url, Recorder &recorder) {
        recorder.download = URLDownload::create({url, 60}, recorder);
        if (!recorder.download) {
            return false;
        }
        recorder.download->setDeletesFileUponFailure(true);
        recorder.download->setDestination(file, true);
        return true;
    }
    void fetch(const std::string &url, Recorder &recorder) {
        start(url, recorder);
        while (recorder.download) {
            tests::runMainLoop();
        }
    }

    const tests::TemporaryDirectory directory;
    const std::string file = directory / "archive";
};

TEST_F(URLDownloadContract, StoresWhatTheServerSends) {
    const std::string large(3'000'000, 'x');
    const tests::TemporaryDirectory sources;
    const LoopbackServer server(tests::answers({
        {"/plain", ok("content")},
        {"/empty", ok("")},
        {"/large", ok(large)},
        {"/chunked", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\ncon\r\n4\r\ntent\r\n0\r\n\r\n"},
        {"/moved", redirectTo("/plain")},
        {"/a%20b/%C3%A9", ok("content")},
    }));
    const struct {
        std::string url;
        std::string content;
        std::int64_t expected;
    } cases[] = {
        {server.url("/plain"), "content", 7},
        {server.url("/empty"), "", 0},
        {server.url("/large"), large, 3'000'000},
        {server.url("/chunked"), "content", -1},
        {server.url("/moved"), "content", 7},
        {server.url("/a b/\xC3\xA9"), "content", 7},
        {"file://" + sources.write("file", "from a file"), "from a file", 11},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.url);
        directory.write("archive", "what was there before, and longer than most");
        Recorder recorder;
        fetch(test.url, recorder);
        EXPECT_THAT(recorder.calls, MatchesRegex("RD*F")) << recorder.failure;
        EXPECT_TRUE(recorder.onMainThread);
        EXPECT_EQ(recorder.expected, test.expected);
        EXPECT_EQ(recorder.received, static_cast<std::int64_t>(test.content.size()));
        EXPECT_TRUE(contentOf(file) == test.content);
    }
}

TEST_F(URLDownloadContract, FailuresAreToldAndLeaveNothing) {
    int closedPort = 0;
    {
        closedPort = LoopbackServer([](Connection &) {}).port();
    }
    const LoopbackServer server(tests::answers({
        {"/500", "HTTP/1.1 500 Oops\r\nContent-Length: 3\r\n\r\nsad"},
        {"/moved", redirectTo("/missing")},
        {"/file", redirectTo("file:///etc/passwd")},
        {"/short", "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"},
    }));
    const struct {
        std::string url;
        std::string failure;
    } cases[] = {
        {server.url("/missing"), "status 404"},
        {server.url("/500"), "status 500"},
        {server.url("/moved"), "status 404"},
        {server.url("/file"), "not supported"},
        {server.url("/short"), ""},
        {"http://127.0.0.1:" + std::to_string(closedPort) + "/", ""},
        {"file://" + directory / "nowhere", ""},
        {"nonsense", ""},
        {"", ""},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.url);
        Recorder recorder;
        fetch(test.url, recorder);
        if (!recorder.calls.empty()) { // else there never was a download
            EXPECT_THAT(recorder.calls, MatchesRegex("R?D*E"));
            EXPECT_THAT(recorder.failure, HasSubstr(test.failure));
            EXPECT_NE(recorder.failure, "");
        }
        EXPECT_TRUE(!recorder.calls.empty() || test.url.find("://") == std::string::npos);
        EXPECT_TRUE(fs::is_empty(directory.path()));
    }
}

TEST_F(URLDownloadContract, NothingIsToldAfterCancel) {
    const LoopbackServer server([](Connection &connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\nsome");
        for (int piece = 0; piece < 100 && connection.send(std::string(1000, 'x')); ++piece) {
        }
        connection.waitForEnd();
    });
    for (const bool destroyed : {false, true}) {
        Recorder recorder;
        ASSERT_TRUE(start(server.url("/"), recorder));
        while (recorder.received == 0) {
            tests::runMainLoop();
        }
        const std::string told = recorder.calls;
        if (destroyed) {
            recorder.download.reset();
        } else {
            recorder.download->cancel();
            recorder.download->cancel();
        }
        Recorder other; // another one's calls show that the first would have been told by now
        start(server.url("/"), other);
        while (other.received < 50'000) {
            tests::runMainLoop();
        }
        EXPECT_EQ(recorder.calls, told);
        other.download->cancel();
        EXPECT_TRUE(fs::is_empty(directory.path()));
    }
}

} // namespace
} // namespace kestrav::platform
