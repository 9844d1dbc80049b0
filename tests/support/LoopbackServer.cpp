#include "support/LoopbackServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>
#include <stdexcept>

namespace kestrav::tests {

namespace {

void require(bool condition, const char *what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

} // namespace

bool Connection::send(std::string_view bytes) const {
    while (!bytes.empty()) {
        const auto sent = tls_ ? SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size()))
                               : ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

std::string Connection::readTo(std::string_view end) const {
    std::string text;
    char byte = 0;
    while (!text.ends_with(end) && (tls_ ? SSL_read(tls_.get(), &byte, 1) : recv(socket_.get(), &byte, 1, 0)) == 1) {
        text += byte;
    }
    return text;
}

std::string Connection::readRequest(std::string *all) const {
    const std::string request = readTo("\r\n\r\n");
    if (all != nullptr) {
        *all = request;
    }
    const std::size_t begin = request.find(' ') + 1;
    return request.substr(begin, request.find(' ', begin) - begin);
}

void Connection::waitForEnd() const {
    char byte = 0;
    while (recv(socket_.get(), &byte, 1, 0) > 0) {
    }
}

LoopbackServer::LoopbackServer(Handler handler, const std::string &certificate)
    : handler_(std::move(handler)), socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (!certificate.empty()) {
        tls_.reset(SSL_CTX_new(TLS_server_method()));
        require(SSL_CTX_use_certificate_file(tls_.get(), certificate.c_str(), SSL_FILETYPE_PEM) == 1 &&
                    SSL_CTX_use_PrivateKey_file(tls_.get(), certificate.c_str(), SSL_FILETYPE_PEM) == 1,
                "no certificate");
    }
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof name;
    auto *const address = reinterpret_cast<sockaddr *>(&name);
    require(bind(socket_.get(), address, size) == 0 && listen(socket_.get(), SOMAXCONN) == 0 &&
                getsockname(socket_.get(), address, &size) == 0,
            "no server");
    port_ = ntohs(name.sin_port);
    thread_ = std::thread([this] { accept(); });
}

LoopbackServer::~LoopbackServer() {
    shutdown(socket_.get(), SHUT_RDWR);
    thread_.join();
    for (Connection &connection : connections_) {
        {
            const std::lock_guard lock(mutex_);
            shutdown(connection.socket_.get(), SHUT_RDWR);
        }
        connection.thread_.join();
    }
}

void LoopbackServer::accept() {
    for (int socket = 0; (socket = accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
        Connection &connection = connections_.emplace_back(socket);
        connection.thread_ = std::thread([&] { serve(connection); });
    }
}

void LoopbackServer::serve(Connection &connection) {
    if (tls_) {
        connection.tls_.reset(SSL_new(tls_.get()));
        SSL_set_fd(connection.tls_.get(), connection.socket_.get());
    }
    if (!tls_ || SSL_accept(connection.tls_.get()) == 1) {
        handler_(connection);
        if (tls_) {
            SSL_shutdown(connection.tls_.get());
        }
    }
    const std::lock_guard lock(mutex_);
    connection.socket_.reset();
}

LoopbackServer::Handler answers(std::map<std::string, std::string> byTarget) {
    return [byTarget = std::move(byTarget)](const Connection &connection) {
        const auto answer = byTarget.find(connection.readRequest());
        connection.send(answer == byTarget.end() ? "HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\nnone"
                                                 : answer->second);
    };
}

std::string ok(std::string_view body) {
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + std::string(body);
}

std::string redirectTo(std::string_view url) {
    return "HTTP/1.1 302 Found\r\nLocation: " + std::string(url) +
           "\r\nConnection: close\r\nContent-Length: 6\r\n\r\nbeyond";
}

std::string makeCertificate(const std::string &path, const std::string &address) {
    // The key first; the shell adds the certificate from standard output.
    const std::string command = "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 "
                                "-subj /CN=test -addext subjectAltName=IP:" +
                                address + " -keyout '" + path + "' 2>/dev/null >>'" + path + "'";
    require(std::system(command.c_str()) == 0, "openssl made no certificate");
    return path;
}

} // namespace kestrav::tests
