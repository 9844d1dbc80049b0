#include "platform/downloadRules.h"
#include "platform/linux/DownloadModule.h"
#include "platform/linux/modules/FreeWith.h"
#include "platform/linux/modules/IdleRounds.h"
#include "platform/linux/modules/Sockets.h"
#include "platform/linux/modules/Url.h"

#include <curl/curl.h>

#include <strings.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

namespace {

using Clock = std::chrono::steady_clock;

using Headers = std::unique_ptr<curl_slist, FreeWith<curl_slist_free_all>>;
using Easy = std::unique_ptr<CURL, FreeWith<curl_easy_cleanup>>;
using Multi = std::unique_ptr<CURLM, FreeWith<curl_multi_cleanup>>;

constexpr long maximalRedirects = 20;
constexpr long bufferSize = 256L * 1024;

/// A running transfer.
struct Session {
    const KestravTransfer &request;
    CURL *easy;
    Clock::time_point lastSign = Clock::now(); // when the other side last sent something
    bool inHeader = false;                     // of an HTTP answer
    bool answered = false;
    bool cutShort = false;    // the answer ended within its headers
    std::string refusal = {}; // why the answer is refused
};

/// How a transfer ended; `text` says what went wrong.
struct End {
    int result; // as described at `KestravDownloadModule`
    std::string text = {};
};

/// True if reading the certificates might never end, or never begin.
bool certificatesAreNoPlainFile(const KestravTransfer &request) {
    return request.certificateFile != nullptr && kestrav::platform::isNoPlainFile(request.certificateFile);
}

bool namesNoPlainFile(CURLU *url) {
    return partOf(url, CURLUPART_SCHEME) == "file" && kestrav::platform::isNoPlainFile(partOf(url, CURLUPART_PATH));
}

/// A header of the last answer; valid for as long as the transfer.
const char *headerOf(CURL *easy, const char *name) {
    curl_header *header = nullptr;
    const bool found = curl_easy_header(easy, name, 0, CURLH_HEADER, -1, &header) == CURLHE_OK;
    return found ? header->value : "";
}

KestravAnswer answerOf(CURL *easy) {
    long status = 0;
    curl_off_t length = -1;
    const char *scheme = nullptr;
    curl_easy_getinfo(easy, CURLINFO_SCHEME, &scheme);
    curl_easy_getinfo(easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    if (scheme != nullptr && strncasecmp(scheme, "http", 4) == 0) {
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    }
    return {status,
            length,
            headerOf(easy, "ETag"),
            headerOf(easy, "Last-Modified"),
            headerOf(easy, "Date"),
            headerOf(easy, "Content-Range")};
}

/// Reports that the body begins; false if it is not wanted.
bool beginBody(Session &session) {
    if (!session.answered) {
        session.answered = true;
        const KestravAnswer answer = answerOf(session.easy);
        session.cutShort = session.inHeader;
        if (session.cutShort) {
            session.refusal = "The server's answer was cut short";
        } else if (session.request.response(session.request.host, &answer) == 0) {
            session.refusal = "The transfer was ended"; // the host knows why
        }
    }
    return session.refusal.empty();
}

std::size_t receiveBody(char *bytes, std::size_t /*one*/, std::size_t count, void *user) noexcept {
    auto &session = *static_cast<Session *>(user);
    session.lastSign = Clock::now();
    try {
        return beginBody(session) && session.request.data(session.request.host, bytes, count) != 0 ? count : 0;
    } catch (const std::exception &) {
        return 0; // no memory for the reason
    }
}

std::size_t receiveHeader(char *bytes, std::size_t /*one*/, std::size_t count, void *user) noexcept {
    auto &session = *static_cast<Session *>(user);
    session.lastSign = Clock::now();
    // The library accepts headers that end without an empty line, so this keeps track of it.
    const std::string_view line(bytes, count);
    session.inHeader = line != "\r\n" && line != "\n" && (session.inHeader || line.substr(0, 5) == "HTTP/");
    // No redirect may lead from an encrypted address to an unencrypted one, however many follow.
    const char *url = nullptr;
    const bool known = curl_easy_getinfo(session.easy, CURLINFO_EFFECTIVE_URL, &url) == CURLE_OK && url != nullptr;
    if (known && strncasecmp(url, "https:", 6) != 0) {
        return count;
    }
    return curl_easy_setopt(session.easy, CURLOPT_REDIR_PROTOCOLS_STR, "https") == CURLE_OK ? count : 0;
}

/// Sets all options of the transfer; false if the library does not know one of them.
bool prepare(Session &session, CURLU *url, curl_slist *headers, Sockets &sockets, char *error) {
    bool accepted = true;
    const auto set = [&](CURLoption option, auto value) {
        accepted = curl_easy_setopt(session.easy, option, value) == CURLE_OK && accepted;
    };
    set(CURLOPT_CURLU, url);
    set(CURLOPT_PROTOCOLS_STR, "http,https,ftp,file");
    set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https,ftp");
    set(CURLOPT_FOLLOWLOCATION, 1L);
    set(CURLOPT_MAXREDIRS, maximalRedirects);
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    if (session.request.certificateFile != nullptr) {
        // With an empty name the library opens nothing, and fails when it needs the certificates.
        set(CURLOPT_CAINFO, certificatesAreNoPlainFile(session.request) ? "" : session.request.certificateFile);
        set(CURLOPT_CAPATH, static_cast<const char *>(nullptr)); // no certificates but these
    }
    set(CURLOPT_HTTPHEADER, headers);
    set(CURLOPT_USERAGENT, "kestrav");
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L); // a proxy's answer must not count as the server's
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(session.request.timeoutMilliseconds));
    set(CURLOPT_BUFFERSIZE, bufferSize);
    set(CURLOPT_ERRORBUFFER, error);
    set(CURLOPT_HEADERFUNCTION, receiveHeader);
    set(CURLOPT_HEADERDATA, &session);
    set(CURLOPT_WRITEFUNCTION, receiveBody);
    set(CURLOPT_WRITEDATA, &session);
    set(CURLOPT_OPENSOCKETFUNCTION, Sockets::open);
    set(CURLOPT_OPENSOCKETDATA, &sockets);
    set(CURLOPT_CLOSESOCKETFUNCTION, Sockets::close);
    set(CURLOPT_CLOSESOCKETDATA, &sockets);
    // A name server that does not answer is not waited for; older libraries do wait.
    curl_easy_setopt(session.easy, CURLOPT_QUICK_EXIT, 1L);
    return accepted;
}

CURLcode perform(Session &session, CURLM *multi) {
    for (IdleRounds rounds;;) {
        int running = 0;
        if (curl_multi_perform(multi, &running) != CURLM_OK) {
            return CURLE_FAILED_INIT;
        }
        const int untilStep = session.request.step(session.request.host);
        if (untilStep < 0) {
            return CURLE_ABORTED_BY_CALLBACK;
        }
        if (running == 0) {
            int others = 0;
            const CURLMsg *message = curl_multi_info_read(multi, &others);
            return message == nullptr ? CURLE_FAILED_INIT : message->data.result;
        }
        const auto begin = Clock::now();
        const auto silence = std::chrono::ceil<std::chrono::milliseconds>(begin - session.lastSign).count();
        const std::int64_t patience = session.request.timeoutMilliseconds - silence;
        if (patience <= 0) {
            return CURLE_OPERATION_TIMEDOUT;
        }
        curl_waitfd wake{session.request.wakeDescriptor, CURL_WAIT_POLLIN, 0};
        const auto wait = static_cast<int>(std::min<std::int64_t>(patience, untilStep));
        if (curl_multi_poll(multi, &wake, 1, wait, nullptr) != CURLM_OK) {
            return CURLE_FAILED_INIT;
        }
        if (rounds.tooMany(session.lastSign, Clock::now() - begin)) {
            return CURLE_RECV_ERROR;
        }
    }
}

/// Our own headers; null if there is no memory for them.
Headers headersFor(const KestravTransfer &request) {
    Headers headers;
    // Caches on the way must not answer.
    for (const char *header : {"Cache-Control: no-cache", "Pragma: no-cache", request.range, request.rangeCondition}) {
        if (header != nullptr) {
            curl_slist *const longer = curl_slist_append(headers.get(), header);
            if (longer == nullptr) {
                return nullptr;
            }
            static_cast<void>(headers.release()); // now owned by the longer list
            headers.reset(longer);
        }
    }
    return headers;
}

/// True if the server cannot be reached any more, or has stopped sending.
bool isBrokenConnection(CURLcode code) {
    switch (code) {
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_PARTIAL_FILE:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
        return true;
    default:
        return false;
    }
}

End makeTransfer(const KestravTransfer &request) {
    static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
    const Url url(curl_url());
    const Headers headers = headersFor(request);
    Sockets sockets; // outlives the library's use of it
    const Easy easy(curl_easy_init());
    const Multi multi(curl_multi_init());
    if (ready != CURLE_OK || !url || !headers || !easy || !multi) {
        return {0, curl_easy_strerror(CURLE_FAILED_INIT)};
    }
    if (const CURLUcode code = curl_url_set(url.get(), CURLUPART_URL, encoded(request.url).c_str(), 0);
        code != CURLUE_OK) {
        return {0, curl_url_strerror(code)};
    }
    if (namesNoPlainFile(url.get())) {
        return {0, kestrav::platform::noPlainFile};
    }
    char detail[CURL_ERROR_SIZE] = "";
    Session session{request, easy.get()};
    if (!prepare(session, url.get(), headers.get(), sockets, detail)) {
        return {0, "The installed libcurl is too old"};
    }
    if (curl_multi_add_handle(multi.get(), easy.get()) != CURLM_OK) {
        return {0, curl_easy_strerror(CURLE_FAILED_INIT)};
    }
    const CURLcode code = perform(session, multi.get());
    sockets.shutDown();
    curl_multi_remove_handle(multi.get(), easy.get());
    if (code == CURLE_OK && beginBody(session)) { // an empty body has not reported its beginning yet
        return {1};
    }
    if (!session.refusal.empty()) {
        return {session.cutShort ? -1 : 0, session.refusal};
    }
    if (code == CURLE_SSL_CACERT_BADFILE && certificatesAreNoPlainFile(request)) {
        return {0, std::string(request.certificateFile) + ": " + kestrav::platform::noPlainFile};
    }
    return {isBrokenConnection(code) ? -1 : 0, detail[0] != '\0' ? detail : curl_easy_strerror(code)};
}

int transfer(const KestravTransfer *request, char *error, std::size_t errorSize) noexcept {
    try {
        const End end = makeTransfer(*request);
        std::snprintf(error, errorSize, "%s", end.text.c_str());
        return end.result;
    } catch (const std::exception &exception) {
        std::snprintf(error, errorSize, "%s", exception.what());
        return 0;
    }
}

} // namespace

extern "C" __attribute__((visibility("default"))) void kestravDownloadModule(KestravDownloadModule *module) noexcept {
    module->transfer = transfer;
}
