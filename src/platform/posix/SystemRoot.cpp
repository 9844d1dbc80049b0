#include "platform/RuntimeSupport.h"
#include "platform/posix/NeverDestroyed.h"
#include "platform/testing.h"

namespace kestrav::platform {

namespace {

std::string &systemRoot() {
    static NeverDestroyed<std::string> root;
    return root.get();
}

} // namespace

void testing::setSystemRoot(std::string root) {
    systemRoot() = std::move(root);
}

std::string systemPath(std::string_view path) {
    return systemRoot() + std::string(path);
}

} // namespace kestrav::platform
