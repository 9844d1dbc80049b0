#include "support/LoopbackServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>
#include <stdexcept>

namespace kestrav::tests {

using platform::FileDescriptor;

namespace {

void require(bool condition, const char *what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

} // namespace

std::string Connection::readLine() {
    std::string line;
    char byte = 0;
    while ((tls_ ? SSL_read(tls_.get(), &byte, 1) : static_cast<int>(recv(socket_.get(), &byte, 1, 0))) == 1) {
        if (byte == '\n') {
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            break;
        }
        line += byte;
    }
    return line;
}

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

std::string Connection::readRequest(std::string *headers) {
    const std::string request = readLine();
    for (std::string line = readLine(); !line.empty(); line = readLine()) {
        if (headers != nullptr) {
            *headers += line + "\n";
        }
    }
    const std::size_t begin = request.find(' ') + 1;
    return request.substr(begin, request.rfind(' ') - begin);
}

void Connection::waitForEnd() {
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
    {
        const std::lock_guard lock(mutex_);
        for (const Client &client : clients_) {
            shutdown(client.connection->socket_.get(), SHUT_RDWR);
        }
    }
    for (Client &client : clients_) {
        client.thread.join();
    }
}

void LoopbackServer::accept() {
    for (;;) {
        const int socket = accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0) {
            return;
        }
        const std::lock_guard lock(mutex_);
        Client &client = clients_.emplace_back();
        client.connection = std::make_unique<Connection>(socket);
        client.thread = std::thread([this, &connection = *client.connection] {
            serve(connection);
            const std::lock_guard lockAgain(mutex_);
            connection.socket_.reset();
        });
    }
}

void LoopbackServer::serve(Connection &connection) const {
    if (tls_) {
        connection.tls_.reset(SSL_new(tls_.get()));
        SSL_set_fd(connection.tls_.get(), connection.socket_.get());
        if (SSL_accept(connection.tls_.get()) != 1) {
            return;
        }
    }
    handler_(connection);
    if (connection.tls_) {
        SSL_shutdown(connection.tls_.get());
    }
}

LoopbackServer::Handler answers(std::map<std::string, std::string> byTarget) {
    return [byTarget = std::move(byTarget)](Connection &connection) {
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
    const std::string command =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=test -addext "
        "subjectAltName=IP:" +
        address + " -keyout '" + path + "' -out '" + path + ".crt' 2>/dev/null && cat '" + path + ".crt' >>'" + path +
        "'";
    require(std::system(command.c_str()) == 0, "openssl made no certificate");
    return path;
}

} // namespace kestrav::tests
