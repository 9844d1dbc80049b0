#pragma once

#include <string>

namespace kestrav::platform {

/// The functions of one of the bundle's modules, or why there are none.
template <class Functions> struct Module {
    Functions functions{};
    std::string failure; ///< empty: the functions are there
};

/// The address of a module's one export, or null with the reason in `failure`, which is logged to the debug log as
/// well.
[[nodiscard]] void *moduleEntry(const std::string &path, const char *entry, std::string &failure);

/// Opens the module, which is never closed, and has it fill in its functions. Any thread.
template <class Functions> [[nodiscard]] Module<Functions> openModule(const std::string &bundlePath) {
    Module<Functions> module;
    const std::string path = bundlePath + "/Contents/Frameworks/" + Functions::file;
    void *const entry = moduleEntry(path, Functions::entry, module.failure);
    if (entry != nullptr) {
        reinterpret_cast<void (*)(Functions *) noexcept>(entry)(&module.functions);
    }
    return module;
}

} // namespace kestrav::platform
