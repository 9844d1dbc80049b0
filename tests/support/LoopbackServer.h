#pragma once

#include "platform/FileDescriptor.h"

#include <openssl/ssl.h>

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace kestrav::tests {

/// One client of a `LoopbackServer`, on a thread of its own.
class Connection {
public:
    explicit Connection(int socket) : socket_(socket) {}

    /// False if the client has closed the connection.
    bool send(std::string_view bytes) const;
    /// Reads up to and including a text, or until the client closes the connection.
    [[nodiscard]] std::string readTo(std::string_view end) const;
    /// Reads an HTTP request and returns its target.
    std::string readRequest(std::string *all = nullptr) const;
    /// Sends nothing until the client or the server ends.
    void waitForEnd() const;

private:
    friend class LoopbackServer;

    platform::FileDescriptor socket_;
    std::unique_ptr<SSL, void (*)(SSL *)> tls_{nullptr, SSL_free};
    std::thread thread_;
};

/// A server on its own port of 127.0.0.1. Its connections end with it.
class LoopbackServer {
public:
    using Handler = std::function<void(Connection &)>;

    /// `certificate` is a PEM file with certificate and key; with it the server speaks TLS.
    explicit LoopbackServer(Handler handler, const std::string &certificate = {});
    LoopbackServer(const LoopbackServer &) = delete;
    LoopbackServer &operator=(const LoopbackServer &) = delete;
    ~LoopbackServer();

    [[nodiscard]] int port() const { return port_; }
    /// "SCHEME://127.0.0.1:PORT" and the path.
    [[nodiscard]] std::string url(std::string_view path, std::string_view scheme = "http") const {
        return std::string(scheme) + "://127.0.0.1:" + std::to_string(port_) + std::string(path);
    }

private:
    void accept();
    void serve(Connection &connection);

    Handler handler_;
    std::unique_ptr<SSL_CTX, void (*)(SSL_CTX *)> tls_{nullptr, SSL_CTX_free};
    platform::FileDescriptor socket_;
    int port_ = 0;
    std::mutex mutex_; // guards the closing of the connections' sockets
    std::list<Connection> connections_;
    std::thread thread_;
};

/// Serves complete answers, including the status line, by the request's target.
LoopbackServer::Handler answers(std::map<std::string, std::string> byTarget);

/// An HTTP answer with its length.
std::string ok(std::string_view body);
std::string redirectTo(std::string_view url);

/// Writes a self-signed certificate with its key for an address, and returns the file's path.
std::string makeCertificate(const std::string &path, const std::string &address = "127.0.0.1");

} // namespace kestrav::tests
