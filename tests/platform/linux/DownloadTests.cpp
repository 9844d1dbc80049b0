// Downloads as only Linux makes them.

#include "platform/support/DownloadFixture.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>

namespace kestrav::platform {
namespace {

namespace fs = std::filesystem;

using ::testing::HasSubstr;
using tests::Connection;
using tests::LoopbackServer;
using tests::ok;
using tests::redirectTo;
using tests::runMainLoop;
using LinuxDownloads = URLDownloadTests;

TEST_F(LinuxDownloads, GoesWhereThereIsRoom) {
    const LoopbackServer server([](Connection &connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 9007199254740992\r\n\r\nsome");
        connection.waitForEnd();
    });
    Recorder recorder;
    fetch(server.url("/"), recorder);
    EXPECT_THAT(recorder.failure, HasSubstr("MB, but 8589934592.0 MB are needed"));
    EXPECT_EQ(recorder.calls, "E");
    recorder.download = URLDownload::create({server.url("/")}, recorder);
    recorder.download->setOtherDestination([&](std::int64_t bytes) { return sources / std::to_string(bytes); });
    recorder.download->setDestination(file, true);
    while (recorder.received == 0) {
        runMainLoop();
    }
    EXPECT_EQ(contentsOfFile(sources / "9007199254740992"), "some");
    recorder.download->cancel();
    EXPECT_TRUE(fs::is_empty(directory.path()) && fs::is_empty(sources.path()));
}

TEST_F(LinuxDownloads, FailuresAreTold) {
    const LoopbackServer server(tests::answers({
        {"/short-chunk", std::string(okChunked) + "3\r\ncon\r\n4\r\nte"},
        {"/no-last-chunk", std::string(okChunked) + "3\r\ncon\r\n"},
    }));
    expectFailure(server.url("/short-chunk"), "");
    expectFailure(server.url("/no-last-chunk"), "");
    expectFailure("http://" + std::string(70, 'x') + ".invalid/", "resolve"); // too long to be asked for
    expectFailure("http://127.0.0.1\r\nX: y/", "");
    expectFailure("dict" + server.url("/x").substr(4), "not supported");
    testing::replacements().mainBundle = Bundle::create(directory.path());
    expectFailure(server.url("/"), "download.so");
}

TEST_F(LinuxDownloads, AsksTheSourceItself) {
    std::string request;
    const LoopbackServer server([&](Connection &connection) {
        const std::string target = connection.readRequest(&request);
        connection.send(ok(target));
    });
    setenv("http_proxy", server.url("").c_str(), 1);
    const std::string url = "http://kestrav.invalid/x"; // nobody but the proxy could find it
    expectStored(url, url, static_cast<std::int64_t>(url.size()));
    unsetenv("http_proxy");
    EXPECT_THAT(request, HasSubstr("\r\nCache-Control: no-cache\r\n"));
    EXPECT_THAT(request, ::testing::Not(HasSubstr("Accept-Encoding")));
}

TEST_F(LinuxDownloads, RedirectsLeadToServersAndKeepTheEncryption) {
    const std::string certificate = tests::makeCertificate(sources / "good");
    const std::string other = tests::makeCertificate(sources / "other", "127.0.0.2");
    ASSERT_EQ(mkfifo((sources / "fifo").c_str(), 0600), 0);
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
        std::string trusted, url, failure; // empty: the content is received
    } cases[] = {
        {certificate, plain.url("/secure"), ""},
        {certificate, secure.url("/secure", "https"), ""},
        {certificate, plain.url("/ftp"), "530"}, // the FTP server was asked
        {certificate, plain.url("/loop"), "redirects"},
        {certificate, secure.url("/plain", "HTTPS"), "not supported"},
        {certificate, secure.url("/ftp", "https"), "not supported"},
        {certificate, secure.url("/file", "https"), "not supported"},
        {certificate, secure.url("/secure-plain", "https"), "not supported"},
        {certificate, plain.url("/secure-plain"), "not supported"},
        {certificate, stranger.url("/", "https"), "certificate"},
        {other, stranger.url("/", "https"), "name"}, // trusted, but for another name
        {sources / "missing", secure.url("/", "https"), "certificate"},
        {sources / "fifo", secure.url("/", "https"), "fifo: Not a file"},
        {"", secure.url("/", "https"), "certificate"},
    };
    for (const auto &[trusted, url, failure] : cases) {
        testing::setEnvironment({{"SSL_CERT_FILE", trusted}});
        if (failure.empty()) {
            expectStored(url, "content", 7);
            fs::remove(file);
        } else {
            expectFailure(url, failure);
        }
    }
}

TEST_F(LinuxDownloads, FTPNeedsNoFarewell) {
    const LoopbackServer data([](Connection &connection) { connection.send("content"); });
    const LoopbackServer control([&](Connection &connection) {
        const std::map<std::string, std::string> replies{{"USER", "230 in"},
                                                         {"PWD", "257 \"/\""},
                                                         {"TYPE", "200 yes"},
                                                         {"SIZE", "213 7"},
                                                         {"EPSV", "229 (|||" + std::to_string(data.port()) + "|)"},
                                                         {"RETR", "150 begun\r\n226 done"}};
        connection.send("220 ready\r\n");
        for (std::string line; !(line = connection.readTo("\r\n")).empty() && line != "QUIT\r\n";) {
            const auto reply = replies.find(line.substr(0, line.find_first_of(" \r")));
            connection.send((reply == replies.end() ? "502 what" : reply->second) + "\r\n");
        }
        connection.waitForEnd();
    });
    expectStored(control.url("/file", "ftp"), "content", 7);
}

TEST_F(LinuxDownloads, WhatLiesInTheFilesPlace) {
    const LoopbackServer server(tests::answers({{"/", ok(std::string(100'000, 'x'))}}));
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{4096, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    expectFailure(server.url("/"), file + ": File too large");
    setrlimit(RLIMIT_FSIZE, &limit);

    // A link is replaced, and nothing is written through it.
    const std::string old = sources.write("old", "old content");
    fs::create_symlink(old, file);
    expectStored(server.url("/"), std::string(100'000, 'x'), 100'000);
    EXPECT_EQ(fs::symlink_status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(contentsOfFile(old), "old content");

    for (const auto &[path, failure] : {std::pair{sources / "no/where", "No such file or directory"},
                                        {sources.makeDirectory("folder"), "File exists"},
                                        {old, "File exists"}}) {
        file = path;
        Recorder recorder;
        fetch(server.url("/"), recorder, 60, path != old);
        EXPECT_THAT(recorder.failure, HasSubstr(failure));
        EXPECT_EQ(recorder.failingURL, server.url("/"));
    }
    EXPECT_EQ(contentsOfFile(old), "old content");
}

TEST_F(LinuxDownloads, SilenceEndsItHoweverLongItTook) {
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

    // Longer than the time-out in all, but never silent for that long. A busy machine may add a pause of its own.
    std::int64_t received = 0;
    for (double timeout = 0.5; timeout < 20 && received < 12; timeout *= 2) {
        pause = static_cast<int>(timeout * 1000 / 8);
        Recorder recorder;
        fetch(server.url("/slow"), recorder, timeout);
        received = recorder.calls.back() == 'F' ? recorder.received : 0;
    }
    EXPECT_EQ(received, 12);
}

TEST_F(LinuxDownloads, SmallPiecesAreReportedTogetherAndSoon) {
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
    while (recorder.received < Count) { // including the last ones, although no more follow
        runMainLoop();
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    EXPECT_LE(static_cast<double>(recorder.reports), 50 * seconds.count() + 4);
    EXPECT_EQ(contentsOfFile(file), std::string(Count, 'x'));
}

} // namespace
} // namespace kestrav::platform
