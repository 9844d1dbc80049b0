#include "platform/Exception.h"

#include "platform/Application.h"
#include "platform/format.h"
#include "platform/path.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <dlfcn.h>
#include <span>
#include <unwind.h>

namespace kestrav::platform {

namespace {

struct Frames {
    std::array<std::uintptr_t, 48> addresses{};
    std::size_t count = 0;
    std::size_t skip = 0;
};

_Unwind_Reason_Code addFrame(_Unwind_Context *context, void *argument) {
    Frames &frames = *static_cast<Frames *>(argument);
    if (frames.skip > 0) {
        --frames.skip;
        return _URC_NO_REASON;
    }
    if (frames.count == frames.addresses.size()) {
        return _URC_END_OF_STACK;
    }
    const std::uintptr_t address = _Unwind_GetIP(context);
    if (address != 0) {
        frames.addresses[frames.count++] = address;
    }
    return _URC_NO_REASON;
}

std::string describeFrame(std::size_t index, std::uintptr_t address) {
    Dl_info info{};
    // A return address points to what follows the call, which may already be the next function.
    const auto *call = reinterpret_cast<const void *>(address - 1); // NOLINT(performance-no-int-to-ptr)
    if (dladdr(call, &info) == 0 || info.dli_fname == nullptr) {
        return format("%-4lu%-32s0x%016lx", index, "???", address);
    }
    const std::string module = lastPathComponent(info.dli_fname);
    if (info.dli_sname != nullptr) {
        return format("%-4lu%-32s0x%016lx %s + %lu", index, module, address, info.dli_sname,
                      address - reinterpret_cast<std::uintptr_t>(info.dli_saddr));
    }
    // Without a symbol, the offset into the module identifies the place.
    const auto base = reinterpret_cast<std::uintptr_t>(info.dli_fbase);
    return format("%-4lu%-32s0x%016lx 0x%lx + %lu", index, module, address, base, address - base);
}

/// Leaves out the frames of this function and of the constructor.
[[gnu::noinline]] std::vector<std::string> callersStack() {
    Frames frames;
    frames.skip = 2;
    _Unwind_Backtrace(addFrame, &frames);
    std::vector<std::string> symbols;
    symbols.reserve(frames.count);
    for (const std::uintptr_t address : std::span(frames.addresses).first(frames.count)) {
        symbols.push_back(describeFrame(symbols.size(), address));
    }
    return symbols;
}

} // namespace

Exception::Exception(std::string name, std::string reason)
    : name_(std::move(name)), reason_(std::move(reason)), callStackSymbols_(callersStack()) {}

const char *Exception::what() const noexcept {
    return reason_.empty() ? name_.c_str() : reason_.c_str();
}

// Defined here, because the runtime of Objective-C++ sources does not find the handler on every platform.
void callProgram(ApplicationDelegate &delegate, const std::function<void()> &action) noexcept {
    try {
        action();
    } catch (const std::exception &) {
        delegate.endAfterFailure();
    }
}

} // namespace kestrav::platform
