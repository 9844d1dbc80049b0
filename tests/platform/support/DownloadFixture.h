#pragma once

#include "platform/FileManager.h"
#include "platform/URLDownload.h"
#include "platform/support/DownloadSupport.h"
#include "support/LoopbackServer.h"
#include "support/TemporaryDirectory.h"

#include <gmock/gmock.h>

namespace kestrav::tests {

/// Writes down what it is told: "R" response, "D" data, "E" error, "F" finish; "!" if not on the main thread.
struct Recorder : platform::URLDownloadDelegate {
    bool shouldDecodeSourceDataOfMIMEType(std::string_view /*type*/) override { return false; }
    void didReceiveResponse(std::int64_t expectedContentLength) override {
        told('R');
        expected = expectedContentLength;
    }
    void didReceiveDataOfLength(std::int64_t length) override {
        told('D');
        received += length;
    }
    void didFailWithError(const platform::URLError &error) override {
        told('E');
        failure = error.localizedDescription;
        failingURL = error.failingURL.value_or("");
        download.reset();
    }
    void downloadDidFinish() override {
        told('F');
        download.reset();
    }
    void told(char call) { calls += std::this_thread::get_id() == mainThread ? call : '!'; }

    const std::thread::id mainThread = std::this_thread::get_id();
    std::unique_ptr<platform::URLDownload> download; // until its end
    std::string calls, failure, failingURL;
    std::int64_t expected = -2, received = 0;
};

/// Downloads into `file`, alone in its directory.
class DownloadFixture : public testing::Test {
protected:
    struct Stored {
        std::string url, content;
        std::int64_t expected; // the announced length
    };

    DownloadFixture() { prepareDownloads(); }
    void TearDown() override { finishDownloads(); }

    void start(const std::string &url, Recorder &recorder, double timeout = 60) const {
        recorder.download = platform::URLDownload::create({url, timeout}, recorder);
        if (recorder.download) {
            recorder.download->setDeletesFileUponFailure(true);
            recorder.download->setDestination(file, true);
        }
    }
    /// Downloads to the end, whichever it is.
    void fetch(const std::string &url, Recorder &recorder, double timeout = 60) const {
        start(url, recorder, timeout);
        while (recorder.download) {
            runMainLoop();
        }
    }
    void expectStored(const Stored &test) const {
        SCOPED_TRACE(test.url);
        Recorder recorder;
        fetch(test.url, recorder);
        EXPECT_THAT(recorder.calls, testing::MatchesRegex("RD*F")) << recorder.failure;
        EXPECT_EQ(recorder.expected, test.expected);
        EXPECT_EQ(recorder.received, static_cast<std::int64_t>(test.content.size()));
        EXPECT_TRUE(platform::contentsOfFile(file) == test.content);
    }
    void expectFailure(const std::string &url, const std::string &text, double timeout = 60) const {
        SCOPED_TRACE(url);
        Recorder recorder;
        fetch(url, recorder, timeout);
        if (!recorder.calls.empty() || url.find("://") != std::string::npos) { // else there never was a download
            EXPECT_THAT(recorder.calls, testing::MatchesRegex("R?D*E"));
            EXPECT_THAT(recorder.failure, testing::HasSubstr(text));
            EXPECT_NE(recorder.failure, "");
        }
        EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
    }

    const TemporaryDirectory directory;
    const std::string file = directory / "archive";
};

} // namespace kestrav::tests
