#pragma once

#include <string>

namespace kestrav::platform {

/// A shared library opened at run time. It stays open until the process ends, because threads that it started may still
/// be running.
class DynamicLibrary {
public:
    /// Opens the library; its functions are bound when they are first called. A relative path starts in the current
    /// directory and is never searched for among the system's libraries.
    explicit DynamicLibrary(const std::string &path);

    /// False if it could not be opened; `error` then says why, in the system's words.
    [[nodiscard]] bool isOpen() const { return handle_ != nullptr; }
    [[nodiscard]] const std::string &error() const { return error_; }

    /// The function of that name, or null. The library must be open.
    [[nodiscard]] void *address(const char *name) const;
    template <class Function> [[nodiscard]] Function *function(const char *name) const {
        return reinterpret_cast<Function *>(address(name));
    }

private:
    void *handle_ = nullptr;
    std::string error_;
};

} // namespace kestrav::platform
