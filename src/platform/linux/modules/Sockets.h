#pragma once

#include <curl/curl.h>

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>

/// The sockets that the library has open.
class Sockets {
public:
    static curl_socket_t open(void *user, curlsocktype /*purpose*/, curl_sockaddr *address) noexcept {
        auto &self = *static_cast<Sockets *>(user);
        const int socket = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
        const auto place = std::find(self.sockets_.begin(), self.sockets_.end(), CURL_SOCKET_BAD);
        if (place != self.sockets_.end()) {
            *place = socket;
        }
        return socket;
    }
    static int close(void *user, curl_socket_t socket) noexcept {
        auto &self = *static_cast<Sockets *>(user);
        std::replace(self.sockets_.begin(), self.sockets_.end(), socket, CURL_SOCKET_BAD);
        return ::close(socket);
    }

    Sockets() { sockets_.fill(CURL_SOCKET_BAD); }
    /// Shuts down all connections, so that the library does not wait for the other side to close them.
    void shutDown() {
        for (const curl_socket_t socket : sockets_) {
            if (socket != CURL_SOCKET_BAD) {
                ::shutdown(socket, SHUT_RDWR);
            }
        }
    }

private:
    std::array<curl_socket_t, 64> sockets_{}; // more than one is open only while a host's several addresses are tried
};
