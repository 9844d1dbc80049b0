#include "platform/OperationQueue.h"
#include "platform/Signals.h"
#include "platform/URLDownload.h"
#include "platform/testing.h"
#include "support/LoopbackServer.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <iterator>
#include <random>

namespace kestrav::platform {
namespace {

namespace fs = std::filesystem;

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using tests::Connection;
using tests::LoopbackServer;
using tests::ok;
using tests::redirectTo;

constexpr double noTimeout = 1e6;
constexpr const char *okChunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

std::string contentOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Writes down what it is told: "R" response, "D" data, "E" error, "F" finish.
struct Recorder : URLDownloadDelegate {
    bool shouldDecodeSourceDataOfMIMEType(std::string_view /*type*/) override { return false; }
    void didReceiveResponse(std::int64_t expectedContentLength) override {
        calls += 'R';
        expected = expectedContentLength;
    }
    void didReceiveDataOfLength(std::int64_t length) override {
        calls += 'D';
        received += length;
    }
    void didFailWithError(const URLError &error) override {
        calls += 'E';
        failure = error.localizedDescription;
        failingURL = error.failingURL.value_or("");
        download.reset();
    }
    void downloadDidFinish() override {
        calls += 'F';
        download.reset();
    }

    std::unique_ptr<URLDownload> download;
    std::string calls;
    std::int64_t expected = -2;
    std::int64_t received = 0;
    std::string failure;
    std::string failingURL;
};

class URLDownloadTests : public ::testing::Test {
protected:
    URLDownloadTests() {
        Signals::ignoreWriteSignals();
        for (const char *variable : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}) {
            unsetenv(variable);
        }
        testing::setMainBundle(KESTRAV_TEST_BUNDLE);
        testing::setEnvironment({});
    }
    ~URLDownloadTests() override { testing::setMainBundle(std::nullopt); }

    void start(const std::string &url, Recorder &recorder, double timeout = noTimeout) {
        recorder.download = URLDownload::create({url, timeout}, recorder);
        recorder.download->setDeletesFileUponFailure(true);
        recorder.download->setDestination(file, true);
    }
    /// Downloads to the end, whichever it is.
    Recorder fetch(const std::string &url, double timeout = noTimeout) {
        Recorder recorder;
        start(url, recorder, timeout);
        while (recorder.download) {
            OperationQueue::mainQueue().waitAndRun();
        }
        return recorder;
    }
    void expectFailure(const std::string &url, const std::string &text, double timeout = noTimeout) {
        const Recorder recorder = fetch(url, timeout);
        EXPECT_THAT(recorder.calls, MatchesRegex("R?D*E"));
        EXPECT_THAT(recorder.failure, HasSubstr(text));
        EXPECT_EQ(recorder.failingURL, url);
        EXPECT_TRUE(fs::is_empty(directory.path()));
    }

    const tests::TemporaryDirectory directory;
    const std::string file = directory / "archive";
};

TEST_F(URLDownloadTests, StoresWhatTheServerSends) {
    const std::string zeros(5'000'000, '\0');
    const tests::TemporaryDirectory sources;
    const std::string source = sources.write("a b\xC3\xA9%", "from a file");
    const LoopbackServer server(tests::answers({
        {"/plain", ok("content")},
        {"/empty", ok("")},
        {"/large", ok(zeros)},
        {"/chunked", std::string(okChunked) + "3\r\ncon\r\n4\r\ntent\r\n0\r\n\r\n"},
        {"/until-the-end", "HTTP/1.0 200 OK\r\n\r\ncontent"},
        {"/gzip", "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 7\r\n\r\n\x1F\x8B\x08rest"},
        {"/interim", "HTTP/1.1 103 Early Hints\r\n\r\n" + ok("content")},
        {"/moved", redirectTo("chunked?x")},
        {"/chunked?x", redirectTo("/plain")},
        {"/a%20b/%C3%A9?c%20d%2F", ok("content")},
    }));
    const struct {
        std::string url;
        std::string content;
        std::int64_t expected;
    } cases[] = {
        {server.url("/plain"), "content", 7},
        {server.url("/plain#fragment"), "content", 7},
        {server.url("/empty"), "", 0},
        {server.url("/large"), zeros, 5'000'000},
        {server.url("/chunked"), "content", -1},
        {server.url("/until-the-end"), "content", -1},
        {server.url("/gzip"), "\x1F\x8B\x08rest", 7},
        {server.url("/interim"), "content", 7},
        {server.url("/moved"), "content", 7},
        {server.url("/a b/\xC3\xA9?c d%2F"), "content", 7},
        {"file://" + sources.path() + "/a b\xC3\xA9%25", "from a file", 11},
        {"file:" + sources.path() + "/a%20b%C3%A9%25", "from a file", 11},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.url);
        // What lies in the way is replaced, and nothing is written through a link.
        fs::remove(file);
        fs::create_symlink(source, file);
        const Recorder recorder = fetch(test.url);
        EXPECT_THAT(recorder.calls, MatchesRegex("RD*F")) << recorder.failure;
        EXPECT_EQ(recorder.expected, test.expected);
        EXPECT_EQ(recorder.received, static_cast<std::int64_t>(test.content.size()));
        EXPECT_TRUE(contentOf(file) == test.content);
        struct stat status {};
        EXPECT_EQ(lstat(file.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode, S_IFREG | S_IRUSR | S_IWUSR);
        EXPECT_EQ(contentOf(source), "from a file");
    }
}

TEST_F(URLDownloadTests, AsksTheSourceItself) {
    std::string headers;
    const LoopbackServer server([&](Connection &connection) {
        const std::string target = connection.readRequest(&headers);
        connection.send(ok(target));
    });
    setenv("http_proxy", server.url("").c_str(), 1);
    EXPECT_EQ(fetch("http://kestrav.invalid/x").calls.back(), 'F'); // nobody but the proxy could find it
    unsetenv("http_proxy");
    EXPECT_EQ(contentOf(file), "http://kestrav.invalid/x");
    EXPECT_THAT(headers, HasSubstr("Cache-Control: no-cache\n"));
    EXPECT_THAT(headers, ::testing::Not(HasSubstr("Accept-Encoding")));
}

/// An FTP server with one file.
void serveFtp(Connection &control, const LoopbackServer &data) {
    control.send("220 ready\r\n");
    const std::map<std::string, std::string> replies{
        {"USER", "331 password\r\n"},
        {"PASS", "230 welcome\r\n"},
        {"PWD", "257 \"/\"\r\n"},
        {"EPSV", "229 go on (|||" + std::to_string(data.port()) + "|)\r\n"},
        {"TYPE", "200 yes\r\n"},
        {"SIZE", "213 8\r\n"},
        {"RETR", "150 it comes (8 bytes)\r\n226 done\r\n"},
        {"QUIT", "221 bye\r\n"},
    };
    for (std::string line = control.readLine(); !line.empty(); line = control.readLine()) {
        const auto reply = replies.find(line.substr(0, 4));
        control.send(reply == replies.end() ? "250 yes\r\n" : reply->second);
    }
}

TEST_F(URLDownloadTests, RedirectsLeadToServersAndKeepTheEncryption) {
    const tests::TemporaryDirectory certificates;
    const std::string certificate = tests::makeCertificate(certificates / "good");
    const std::string other = tests::makeCertificate(certificates / "other", "127.0.0.2");
    const LoopbackServer ftpData([](Connection &connection) { connection.send("from ftp"); });
    const LoopbackServer ftp([&](Connection &connection) { serveFtp(connection, ftpData); });
    std::map<std::string, std::string> pages{{"/", ok("secret")}};
    const LoopbackServer::Handler serve = [&](Connection &connection) { tests::answers(pages)(connection); };
    const LoopbackServer secure(serve, certificate);
    const LoopbackServer stranger(serve, other);
    const LoopbackServer plain(serve);
    pages = {
        {"/", ok("content")},
        {"/plain", redirectTo(plain.url("/"))},
        {"/secure", redirectTo(secure.url("/", "https"))},
        {"/ftp", redirectTo(ftp.url("/x", "ftp"))},
        {"/file", redirectTo("file://" + certificate)},
        {"/dict", redirectTo("dict://127.0.0.1:" + std::to_string(plain.port()) + "/x")},
        {"/secure-plain", redirectTo(secure.url("/plain", "HTTPS"))},
        {"/secure-secure-plain", redirectTo(secure.url("/secure-plain", "https"))},
        {"/loop", redirectTo("/loop")},
    };
    const struct {
        std::string url;
        std::string failure; // empty: the file comes
    } cases[] = {
        {plain.url("/plain"), ""},
        {plain.url("/secure"), ""},
        {plain.url("/ftp"), ""},
        {ftp.url("/x", "ftp"), ""},
        {secure.url("/", "https"), ""},
        {secure.url("/secure", "https"), ""},
        {plain.url("/file"), "not supported"},
        {plain.url("/dict"), "not supported"},
        {plain.url("/loop"), "redirects"},
        {secure.url("/plain", "https"), "not supported"},
        {secure.url("/plain", "HTTPS"), "not supported"},
        {secure.url("/ftp", "https"), "not supported"},
        {secure.url("/file", "https"), "not supported"},
        {secure.url("/secure-plain", "https"), "not supported"},
        {plain.url("/secure-plain"), "not supported"},
        {plain.url("/secure-secure-plain"), "not supported"},
        {stranger.url("/", "https"), "certificate"},
    };
    testing::setEnvironment({{"SSL_CERT_FILE", certificate}});
    for (const auto &test : cases) {
        SCOPED_TRACE(test.url);
        if (test.failure.empty()) {
            const Recorder recorder = fetch(test.url);
            EXPECT_EQ(recorder.calls.back(), 'F') << recorder.failure;
            EXPECT_EQ(recorder.expected, recorder.received);
            EXPECT_EQ(contentOf(file), test.url.find("ftp") != std::string::npos ? "from ftp" : "content");
            fs::remove(file);
        } else {
            expectFailure(test.url, test.failure);
        }
    }
    testing::setEnvironment({{"SSL_CERT_FILE", other}});
    expectFailure(secure.url("/", "https"), "certificate");
    expectFailure(stranger.url("/", "https"), "name"); // trusted, but somebody else's
    testing::setEnvironment({{"SSL_CERT_FILE", certificates / "missing"}});
    expectFailure(secure.url("/", "https"), "certificate");
    testing::setEnvironment({});
    expectFailure(secure.url("/", "https"), "certificate");
}

TEST_F(URLDownloadTests, FailuresAreToldAndLeaveNothing) {
    int closedPort = 0;
    {
        closedPort = LoopbackServer([](Connection &) {}).port();
    }
    const tests::TemporaryDirectory sources;
    const LoopbackServer server(tests::answers({
        {"/500", "HTTP/1.1 500 Oops\r\nContent-Length: 0\r\n\r\n"},
        {"/401", "HTTP/1.1 401 Who\r\nWWW-Authenticate: Basic\r\nContent-Length: 1\r\n\r\nx"},
        {"/moved", redirectTo("/missing")},
        {"/short", "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"},
        {"/short-chunk", std::string(okChunked) + "3\r\ncon\r\n4\r\nte"},
        {"/no-last-chunk", std::string(okChunked) + "3\r\ncon\r\n"},
        {"/nothing", ""},
        {"/headers-only", "HTTP/1.1 200 OK\r\nContent-Le"},
        {"/no-http", "some text\r\n\r\nand more"},
        {"/length", "HTTP/1.1 200 OK\r\nContent-Length: many\r\n\r\ncontent"},
    }));
    const struct {
        std::string url;
        std::string failure;
    } cases[] = {
        {server.url("/missing"), "status 404"},
        {server.url("/500"), "status 500"},
        {server.url("/401"), "status 401"},
        {server.url("/moved"), "status 404"},
        {server.url("/short"), ""},
        {server.url("/short-chunk"), ""},
        {server.url("/no-last-chunk"), ""},
        {server.url("/nothing"), ""},
        {server.url("/headers-only"), ""},
        {server.url("/no-http"), ""},
        {server.url("/length"), ""},
        {"http://127.0.0.1:" + std::to_string(closedPort) + "/", "connect"},
        {"http://" + std::string(70, 'x') + ".invalid/", "resolve"}, // too long to be asked for
        {"file://" + sources.path() + "/missing", ""},
        {"file://" + sources.path(), ""},
        {"", ""},
        {"nonsense", ""},
        {"/tmp", ""},
        {"127.0.0.1:" + std::to_string(server.port()) + "/", ""},
        {"http://", ""},
        {"http://127.0.0.1:99999/", ""},
        {"http://a b/", ""},
        {"http://127.0.0.1\r\nX: y/", ""},
        {"dict://127.0.0.1:" + std::to_string(server.port()) + "/x", "not supported"},
        {"unheard-of://127.0.0.1/", ""},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.url);
        expectFailure(test.url, test.failure);
        EXPECT_THAT(fetch(test.url).failure, ::testing::Not(IsEmpty()));
    }

    testing::setMainBundle(sources.path());
    expectFailure(server.url("/500"), "download.so");
}

TEST_F(URLDownloadTests, FileThatCannotBeWritten) {
    const LoopbackServer server(tests::answers({{"/", ok(std::string(100'000, 'x'))}}));
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{4096, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    expectFailure(server.url("/"), file + ": File too large");
    setrlimit(RLIMIT_FSIZE, &limit);

    Recorder recorder;
    const auto tryAt = [&](const std::string &path, bool allowOverwrite) {
        recorder.download = URLDownload::create({server.url("/"), noTimeout}, recorder);
        recorder.download->setDeletesFileUponFailure(true);
        recorder.download->setDestination(path, allowOverwrite);
        while (recorder.download) {
            OperationQueue::mainQueue().waitAndRun();
        }
        return recorder.failure;
    };
    EXPECT_THAT(tryAt(directory / "no/where", true), HasSubstr("No such file or directory"));
    EXPECT_THAT(tryAt(directory.makeDirectory("folder"), true), HasSubstr("File exists"));
    EXPECT_THAT(tryAt(directory.write("old", "old content"), false), HasSubstr("File exists"));
    EXPECT_EQ(contentOf(directory / "old"), "old content");
}

TEST_F(URLDownloadTests, SilenceEndsItHoweverLongItTook) {
    const LoopbackServer server([](Connection &connection) {
        const std::string target = connection.readRequest();
        if (target == "/begun") {
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf");
        }
        if (target != "/slow") {
            connection.waitForEnd();
        }
    });
    for (const char *path : {"/", "/begun"}) {
        expectFailure(server.url(path), "", 0.05);
    }

    // Longer than the time-out in all, but never silent for so long. A busy machine may add a silence of its own.
    std::atomic<int> pause = 0; // milliseconds
    const LoopbackServer slow([&](Connection &connection) {
        connection.readRequest();
        connection.send(okChunked);
        for (int piece = 0; piece < 12; ++piece) {
            std::this_thread::sleep_for(std::chrono::milliseconds(pause));
            connection.send("1\r\nx\r\n");
        }
        connection.send("0\r\n\r\n");
    });
    Recorder recorder;
    for (double timeout = 0.5; timeout < 20 && recorder.calls.find('F') == std::string::npos; timeout *= 2) {
        pause = static_cast<int>(timeout * 1000 / 8);
        recorder = fetch(slow.url("/"), timeout);
    }
    EXPECT_EQ(recorder.received, 12) << recorder.failure;
}

TEST_F(URLDownloadTests, SmallPiecesAreReportedTogether) {
    constexpr int Count = 20'000;
    const LoopbackServer server([](Connection &connection) {
        connection.readRequest();
        connection.send(okChunked);
        for (int piece = 0; piece < Count; ++piece) {
            connection.send("1\r\nx\r\n");
        }
        connection.send("0\r\n\r\n");
    });
    const auto begin = std::chrono::steady_clock::now();
    const Recorder recorder = fetch(server.url("/"));
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(recorder.received, Count);
    EXPECT_LE(static_cast<double>(recorder.calls.size()), 50 * seconds.count() + 4);
}

TEST_F(URLDownloadTests, BytesAreReportedThoughNoMoreFollow) {
    const LoopbackServer server([](Connection &connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n");
        for (int piece = 0; piece < 5; ++piece) {
            connection.send("x");
        }
        connection.waitForEnd();
    });
    Recorder recorder;
    start(server.url("/"), recorder);
    while (recorder.received < 5) {
        OperationQueue::mainQueue().waitAndRun();
    }
    EXPECT_EQ(contentOf(file), "xxxxx");
    recorder.download->cancel();
    EXPECT_TRUE(fs::is_empty(directory.path()));
}

std::ptrdiff_t threadCount() {
    return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
}

TEST_F(URLDownloadTests, CancelEndsItAtAnyMoment) {
    const LoopbackServer server([](Connection &connection) {
        if (connection.readRequest() == "/silent") {
            connection.waitForEnd();
        }
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 2000\r\n\r\n");
        for (int piece = 0; piece < 20; ++piece) {
            connection.send(std::string(100, 'x'));
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    });
    const auto idle = threadCount();
    std::mt19937 random(20261121);
    std::uniform_int_distribution<int> microseconds(0, 3000);
    for (int run = 0; run < 1000; ++run) {
        Recorder recorder;
        start(server.url(run % 10 == 0 ? "/silent" : "/"), recorder);
        const auto moment = std::chrono::steady_clock::now() + std::chrono::microseconds(microseconds(random));
        while (std::chrono::steady_clock::now() < moment && recorder.download) {
            OperationQueue::mainQueue().runPending();
        }
        if (!recorder.download) { // it was faster
            EXPECT_EQ(recorder.received, 2000) << recorder.failure;
            fs::remove(file);
            continue;
        }
        if (run % 2 == 0) {
            recorder.download->cancel();
        } else {
            recorder.download.reset();
        }
        const std::string told = recorder.calls;
        EXPECT_FALSE(fs::exists(file));
        OperationQueue::mainQueue().runPending();
        EXPECT_EQ(recorder.calls, told);
    }
    while (threadCount() > idle) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_TRUE(fs::is_empty(directory.path()));
}

} // namespace
} // namespace kestrav::platform
