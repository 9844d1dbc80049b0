// How a download that broke goes on, in the same run or a later one.

#include "platform/support/DownloadFixture.h"

#include <algorithm>
#include <functional>
#include <regex>

namespace kestrav::platform {
namespace {

namespace fs = std::filesystem;

using tests::Connection;
using tests::LoopbackServer;

/// A server that sends the next answer for each request and closes the connection.
class BreakingServer {
public:
    explicit BreakingServer(std::vector<std::string> answers) : answers_(std::move(answers)) {}
    [[nodiscard]] std::string url() const { return server_.url("/"); }
    /// What the requests asked for, "|" before each.
    [[nodiscard]] const std::string &asked() const { return asked_; }

private:
    void answer(const Connection &connection) {
        std::string request;
        connection.readRequest(&request);
        asked_ += "|";
        std::smatch value;
        for (const char *header : {"Range: bytes=", "If-Range: "}) {
            if (std::regex_search(request, value, std::regex(std::string("\r\n") + header + "(.*)\r\n"))) {
                asked_ += value[1];
            }
        }
        connection.send(next_ < answers_.size() ? answers_[next_++] : "");
    }

    const std::vector<std::string> answers_;
    std::size_t next_ = 0;
    std::string asked_;
    const LoopbackServer server_{[this](const Connection &connection) { answer(connection); }};
};

constexpr const char *digits = "0123456789";
const std::string tagged = "ETag: \"a\"\r\n", changed = "Last-Modified: Sat, 21 Nov 2026 10:00:00 GMT\r\n";

/// The first bytes of a file of ten bytes; the connection breaks after them.
std::string first(std::size_t length, const std::string &headers) {
    return "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n" + headers + "\r\n" + std::string(digits, length);
}
/// Some bytes of the same file.
std::string part(std::size_t from, std::size_t length, const std::string &range, const std::string &headers = "") {
    return "HTTP/1.1 206 Part\r\nContent-Range: bytes " + range + "\r\nContent-Length: " + std::to_string(10 - from) +
           "\r\n" + headers + "\r\n" + std::string(digits + from, length);
}

TEST_F(URLDownloadTests, WhatBreaksGoesOn) {
    const std::string whole = first(10, tagged), rest = part(4, 6, "4-9/10"), got = first(4, tagged);
    const std::string later = "Date: Sat, 21 Nov 2026 10:00:01 GMT\r\n", same = "Date:" + changed.substr(14);
    const std::string busy = "HTTP/1.1 503 Busy\r\nContent-Length: 4\r\n\r\nbusy";
    const struct {
        std::vector<std::string> answers;
        const char *calls, *asked;
    } cases[] = {
        {{got, part(4, 3, "4-9/10"), part(7, 3, "7-9/10", tagged)}, "RDTCDTCDF", "||4-\"a\"|7-\"a\""},
        {{first(4, changed + later), rest}, "RDTCDF", "||4-Sat, 21 Nov 2026 10:00:00 GMT"},
        {{first(4, changed + same), whole}, "RDTRDF", "||"}, // it may have changed again
        {{first(4, "ETag: W/\"a\"\r\n"), whole}, "RDTRDF", "||"},
        {{got, whole}, "RDTRDF", "||4-\"a\""},
        // The rest, but with a gap, not up to the end, or of another file: the file is asked for again without a pause.
        {{got, part(3, 7, "3-9/10"), whole}, "RDTRDF", "||4-\"a\"|"},
        {{got, part(4, 5, "4-8/10"), whole}, "RDTRDF", "||4-\"a\"|"},
        {{got, part(4, 6, "4-10/11"), whole}, "RDTRDF", "||4-\"a\"|"},
        {{got, part(4, 6, "4-9/10", "ETag: \"b\"\r\n"), whole}, "RDTRDF", "||4-\"a\"|"},
        {{got, "HTTP/1.1 416 No\r\n\r\n", whole}, "RDTRDF", "||4-\"a\"|"},
        {{busy, got, busy, "", rest}, "TRDTTTCDF", "|||4-\"a\"|4-\"a\"|4-\"a\""},
        {{busy, busy, busy, busy, busy, whole}, "TTTTE", "|||||"},
        {{got, "HTTP/1.1 404 Gone\r\n\r\n", whole}, "RDTE", "||4-\"a\""},
        {{"", whole}, "E", "|"},
    };
    for (const auto &[answers, calls, asked] : cases) {
        SCOPED_TRACE(std::string(calls) + asked);
        const BreakingServer server(answers);
        Recorder recorder;
        fetch(server.url(), recorder);
        EXPECT_EQ(recorder.calls, calls) << recorder.failure;
        EXPECT_EQ(server.asked(), asked);
        const auto retries = std::count(recorder.calls.begin(), recorder.calls.end(), 'T');
        EXPECT_EQ(recorder.pauses, 0.5 * ((1 << retries) - 1));
        EXPECT_EQ(contentsOfFile(file),
                  recorder.calls.ends_with('F') ? std::optional<std::string>(digits) : std::nullopt);
        fs::remove(file);
    }
}

TEST_F(URLDownloadTests, LaterDownloadsGoOnWithWhatIsKept) {
    const std::string note = partNotePath(file), half = partPath(file);
    const struct {
        std::function<void()> between;
        const char *calls;
    } cases[] = {
        {[] {}, "CDF"},
        {[&] { fs::create_hard_link(half, directory / "other"); }, "RDF"},
        {[&] { fs::rename(half, half + "2"), fs::create_symlink(half + "2", half); }, "RDF"},
        {[&] { fs::resize_file(half, 0); }, "RDF"},
        {[&] { fs::remove(note); }, "RDF"},
        {[&] { fs::resize_file(note, 3); }, "RDF"},
        {[&] { directory.write("archive.note", "\"a\"\r\nX: y\n"); }, "RDF"},
        {[&] { keepsPart = false; }, "RDF"},
    };
    for (const auto &[between, calls] : cases) {
        keepsPart = true;
        Recorder cancelled, second;
        const BreakingServer breaking({first(4, tagged)});
        cancelled.cancelsWhileWaiting = true;
        fetch(breaking.url(), cancelled);
        EXPECT_EQ(contentsOfFile(half), "0123");
        between();
        const BreakingServer server({*calls == 'C' ? part(4, 6, "4-9/10") : first(10, tagged)});
        fetch(server.url(), second);
        EXPECT_EQ(second.calls, calls) << second.failure;
        EXPECT_EQ(contentsOfFile(file), digits);
        EXPECT_EQ(fs::exists(note), !keepsPart);
        EXPECT_EQ(fs::exists(half), !keepsPart);
        fs::remove(file), fs::remove(note), fs::remove(half);
        tests::finishDownloads(2); // the servers'
    }
    Recorder recorder;
    recorder.cancelsWhileWaiting = true;
    const BreakingServer server({first(4, tagged), first(10, tagged)});
    fetch(server.url(), recorder);
    tests::finishDownloads(1);
    EXPECT_EQ(recorder.calls, "RDT");
    EXPECT_FALSE(fs::exists(file));
}

} // namespace
} // namespace kestrav::platform
