#include "platform/OperationQueue.h"
#include "platform/support/DownloadFixture.h"
#include "platform/testing.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <random>

namespace kestrav::platform {
namespace {

namespace fs = std::filesystem;

using ::testing::HasSubstr;
using tests::Connection;
using tests::LoopbackServer;
using tests::ok;
using tests::Recorder;
using tests::redirectTo;
using URLDownloadTests = tests::DownloadFixture;

constexpr const char *okChunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

TEST_F(URLDownloadTests, StoresWhatTheServerSends) {
    const tests::TemporaryDirectory sources;
    const std::string source = sources.write("a b\xC3\xA9%", "from a file");
    const LoopbackServer server(tests::answers({
        {"/plain", ok("content")},
        {"/until-the-end", "HTTP/1.0 200 OK\r\n\r\ncontent"},
        {"/gzip", "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 7\r\n\r\n\x1F\x8B\x08rest"},
        {"/interim", "HTTP/1.1 103 Early Hints\r\n\r\n" + ok("content")},
        {"/%C3%A9?c%20d%2F", ok("content")},
    }));
    const Stored cases[] = {
        {server.url("/plain#fragment"), "content", 7},
        {server.url("/until-the-end"), "content", -1},
        {server.url("/gzip"), "\x1F\x8B\x08rest", 7},
        {server.url("/interim"), "content", 7},
        {server.url("/\xC3\xA9?c d%2F"), "content", 7},
        {"file:" + sources.path() + "/a%20b%C3%A9%25", "from a file", 11},
    };
    for (const Stored &test : cases) {
        // What lies in the way is replaced, and nothing is written through a link.
        fs::remove(file);
        fs::create_symlink(source, file);
        expectStored(test);
        struct stat status {};
        EXPECT_EQ(lstat(file.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode, S_IFREG | S_IRUSR | S_IWUSR);
        EXPECT_EQ(contentsOfFile(source), "from a file");
    }
}

TEST_F(URLDownloadTests, AsksTheSourceItself) {
    std::string request;
    const LoopbackServer server([&](Connection &connection) {
        const std::string target = connection.readRequest(&request);
        connection.send(ok(target));
    });
    setenv("http_proxy", server.url("").c_str(), 1);
    const std::string url = "http://kestrav.invalid/x"; // nobody but the proxy could find it
    expectStored({url, url, static_cast<std::int64_t>(url.size())});
    unsetenv("http_proxy");
    EXPECT_THAT(request, HasSubstr("\r\nCache-Control: no-cache\r\n"));
    EXPECT_THAT(request, ::testing::Not(HasSubstr("Accept-Encoding")));
}

TEST_F(URLDownloadTests, RedirectsLeadToServersAndKeepTheEncryption) {
    const tests::TemporaryDirectory certificates;
    const std::string certificate = tests::makeCertificate(certificates / "good");
    const std::string other = tests::makeCertificate(certificates / "other", "127.0.0.2");
    const LoopbackServer ftp([](Connection &connection) { connection.send("530 closed\r\n"); });
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
        {"/secure-plain", redirectTo(secure.url("/plain", "HTTPS"))},
        {"/loop", redirectTo("/loop")},
    };
    const struct {
        std::string url, failure; // empty: the content comes
    } cases[] = {
        {plain.url("/secure"), ""},
        {secure.url("/secure", "https"), ""},
        {plain.url("/ftp"), "530"}, // the FTP server was asked
        {plain.url("/file"), "not supported"},
        {plain.url("/loop"), "redirects"},
        {secure.url("/plain", "HTTPS"), "not supported"},
        {secure.url("/ftp", "https"), "not supported"},
        {secure.url("/file", "https"), "not supported"},
        {secure.url("/secure-plain", "https"), "not supported"},
        {plain.url("/secure-plain"), "not supported"},
        {stranger.url("/", "https"), "certificate"},
    };
    testing::setEnvironment({{"SSL_CERT_FILE", certificate}});
    for (const auto &[url, failure] : cases) {
        if (failure.empty()) {
            expectStored({url, "content", 7});
            fs::remove(file);
        } else {
            expectFailure(url, failure);
        }
    }
    testing::setEnvironment({{"SSL_CERT_FILE", other}});
    expectFailure(stranger.url("/", "https"), "name"); // trusted, but somebody else's
    testing::setEnvironment({{"SSL_CERT_FILE", certificates / "missing"}});
    expectFailure(secure.url("/", "https"), "certificate");
    ASSERT_EQ(mkfifo((certificates / "fifo").c_str(), 0600), 0);
    testing::setEnvironment({{"SSL_CERT_FILE", certificates / "fifo"}});
    expectFailure(secure.url("/", "https"), "fifo: Not a file");
    testing::setEnvironment({});
    expectFailure(secure.url("/", "https"), "certificate");
}

TEST_F(URLDownloadTests, FTPNeedsNoFarewell) {
    const LoopbackServer data([](Connection &connection) { connection.send("content"); });
    const LoopbackServer control([&](Connection &connection) {
        const std::map<std::string, std::string> replies{{"USER", "230 in"},
                                                         {"PWD", "257 \"/\""},
                                                         {"TYPE", "200 yes"},
                                                         {"SIZE", "213 7"},
                                                         {"EPSV", "229 (|||" + std::to_string(data.port()) + "|)"},
                                                         {"RETR", "150 begun\r\n226 done"}};
        connection.send("220 ready\r\n");
        for (std::string line = connection.readLine(); !line.empty() && line != "QUIT\r\n";
             line = connection.readLine()) {
            const auto reply = replies.find(line.substr(0, line.find_first_of(" \r")));
            connection.send((reply == replies.end() ? "502 what" : reply->second) + "\r\n");
        }
        connection.waitForEnd();
    });
    expectStored({control.url("/file", "ftp"), "content", 7});
}

TEST_F(URLDownloadTests, FailuresAreToldAndLeaveNothing) {
    const LoopbackServer server(tests::answers({
        {"/401", "HTTP/1.1 401 Who\r\nWWW-Authenticate: Basic\r\nContent-Length: 1\r\n\r\nx"},
        {"/short-chunk", std::string(okChunked) + "3\r\ncon\r\n4\r\nte"},
        {"/no-last-chunk", std::string(okChunked) + "3\r\ncon\r\n"},
        {"/nothing", ""},
        {"/no-http", "some text\r\n\r\nand more"},
    }));
    expectFailure(server.url("/401"), "status 401");
    for (const char *path : {"/short-chunk", "/no-last-chunk", "/nothing", "/no-http"}) {
        expectFailure(server.url(path), "");
    }
    expectFailure("http://" + std::string(70, 'x') + ".invalid/", "resolve"); // too long to be asked for
    expectFailure("http://127.0.0.1\r\nX: y/", "");
    expectFailure("dict" + server.url("/x").substr(4), "not supported");

    testing::setMainBundle(directory.path());
    expectFailure(server.url("/"), "download.so");
}

TEST_F(URLDownloadTests, FileThatCannotBeWritten) {
    const LoopbackServer server(tests::answers({{"/", ok(std::string(100'000, 'x'))}}));
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{4096, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    expectFailure(server.url("/"), file + ": File too large");
    setrlimit(RLIMIT_FSIZE, &limit);

    const struct {
        std::string path, failure;
    } cases[] = {
        {directory / "no/where", "No such file or directory"},
        {directory.makeDirectory("folder"), "File exists"},
        {directory.write("old", "old content"), "File exists"},
    };
    for (const auto &[path, failure] : cases) {
        Recorder recorder;
        recorder.download = URLDownload::create({server.url("/")}, recorder);
        recorder.download->setDestination(path, !path.ends_with("old"));
        while (recorder.download) {
            tests::runMainLoop();
        }
        EXPECT_THAT(recorder.failure, HasSubstr(failure));
        EXPECT_EQ(recorder.failingURL, server.url("/"));
    }
    EXPECT_EQ(contentsOfFile(directory / "old"), "old content");
}

TEST_F(URLDownloadTests, SilenceEndsItHoweverLongItTook) {
    std::atomic<int> pause = 0; // milliseconds
    const LoopbackServer server([&](Connection &connection) {
        const std::string target = connection.readRequest();
        connection.send(target == "/" ? "" : okChunked);
        for (int piece = 0; target == "/slow" && piece < 12; ++piece) {
            std::this_thread::sleep_for(std::chrono::milliseconds(pause));
            connection.send("1\r\nx\r\n");
        }
        connection.send(target == "/slow" ? "0\r\n\r\n" : "");
        connection.waitForEnd();
    });
    expectFailure(server.url("/"), "", 0.05);
    expectFailure(server.url("/begun"), "Timeout", 0.05);

    // Longer than the time-out in all, but never silent for so long. A busy machine may add a silence of its own.
    std::int64_t received = 0;
    for (double timeout = 0.5; timeout < 20 && received < 12; timeout *= 2) {
        pause = static_cast<int>(timeout * 1000 / 8);
        Recorder recorder;
        fetch(server.url("/slow"), recorder, timeout);
        received = recorder.calls.back() == 'F' ? recorder.received : 0;
    }
    EXPECT_EQ(received, 12);
}

TEST_F(URLDownloadTests, SmallPiecesAreReportedTogetherAndSoon) {
    constexpr int Count = 20'000;
    const LoopbackServer server([](Connection &connection) {
        connection.readRequest();
        connection.send(okChunked);
        for (int piece = 0; piece < Count; ++piece) {
            connection.send("1\r\nx\r\n");
        }
        connection.waitForEnd();
    });
    const auto begin = std::chrono::steady_clock::now();
    Recorder recorder;
    start(server.url("/"), recorder);
    while (recorder.received < Count) { // the last ones too, though no more follow
        tests::runMainLoop();
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    EXPECT_LE(static_cast<double>(recorder.calls.size()), 50 * seconds.count() + 4);
    EXPECT_EQ(contentsOfFile(file), std::string(Count, 'x'));
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
        run % 2 == 0 ? recorder.download->cancel() : recorder.download.reset();
        const std::string told = recorder.calls;
        EXPECT_FALSE(fs::exists(file));
        OperationQueue::mainQueue().runPending();
        EXPECT_EQ(recorder.calls, told);
    }
    tests::finishDownloads(1); // while the server still accepts
}

} // namespace
} // namespace kestrav::platform
