#pragma once

#include "platform/FileManager.h"
#include "platform/URLDownload.h"
#include "platform/support/DownloadSupport.h"
#include "platform/testing.h"
#include "support/LoopbackServer.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

namespace kestrav::platform {

/// Records the calls: "R" response, "C" continued, "D" data, "T" tried again, "E" error, "F" finish; "!" if not on the
/// main thread. Successive pieces of data count as one.
struct Recorder : URLDownloadDelegate {
    bool shouldDecodeSourceDataOfMIMEType(std::string_view /*type*/) override { return false; }
    void didReceiveResponse(std::int64_t expectedContentLength) override {
        told('R');
        expected = expectedContentLength;
        received = 0;
    }
    void willResumeFromByte(std::int64_t fromByte, std::int64_t expectedContentLength) override {
        EXPECT_TRUE(received == fromByte || calls.empty()); // the figure never jumps back
        told('C');
        expected = expectedContentLength;
        received = fromByte;
    }
    void willTryAgain(const URLError & /*error*/, double afterSeconds) override {
        told('T');
        pauses += afterSeconds;
        if (cancelsWhileWaiting) {
            download.reset();
        }
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
        if (call != 'D' || !calls.ends_with('D')) {
            calls += std::this_thread::get_id() == mainThread ? call : '!';
        }
        reports += call == 'D' ? 1 : 0;
    }

    const std::thread::id mainThread = std::this_thread::get_id();
    std::unique_ptr<URLDownload> download; // until its end
    std::string calls, failure, failingURL;
    std::int64_t expected = -2, received = 0, reports = 0;
    double pauses = 0; // seconds
    bool cancelsWhileWaiting = false;
};

/// Downloads into `file`, alone in its directory.
class URLDownloadTests : public ::testing::Test {
protected:
    URLDownloadTests() {
        tests::prepareDownloads();
        testing::replacements().sleep = [](std::int64_t) {};
    }
    void TearDown() override { tests::finishDownloads(); }

    void start(const std::string &url, Recorder &recorder, double timeout = 60, bool overwrite = true) const {
        recorder.download = URLDownload::create({url, timeout}, recorder);
        if (recorder.download) {
            recorder.download->setDeletesFileUponFailure(!keepsPart);
            recorder.download->setDestination(file, overwrite);
        }
    }
    /// Downloads until the end or a failure.
    void fetch(const std::string &url, Recorder &recorder, double timeout = 60, bool overwrite = true) const {
        start(url, recorder, timeout, overwrite);
        while (recorder.download) {
            tests::runMainLoop();
        }
    }
    /// Expects this content, with its length announced or not (-1).
    void expectStored(const std::string &url, const std::string &content, std::int64_t expected) const {
        SCOPED_TRACE(url);
        Recorder recorder;
        fetch(url, recorder);
        EXPECT_THAT(recorder.calls, ::testing::MatchesRegex("RD?F")) << recorder.failure;
        EXPECT_EQ(recorder.expected, expected);
        EXPECT_EQ(recorder.received, static_cast<std::int64_t>(content.size()));
        EXPECT_TRUE(contentsOfFile(file) == content);
    }
    void expectFailure(const std::string &url, const std::string &text, double timeout = 60) const {
        SCOPED_TRACE(url);
        Recorder recorder;
        fetch(url, recorder, timeout);
        if (!recorder.calls.empty() || url.find("://") != std::string::npos) { // otherwise no download was created
            EXPECT_THAT(recorder.calls, ::testing::MatchesRegex("(RD?T?)*E"));
            EXPECT_THAT(recorder.failure, ::testing::HasSubstr(text));
            EXPECT_NE(recorder.failure, "");
        }
        EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
    }

    bool keepsPart = false;
    const tests::TemporaryDirectory directory, sources;
    std::string file = directory / "archive";
};

inline constexpr const char *okChunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

} // namespace kestrav::platform
