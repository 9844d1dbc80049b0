#include "platform/testing.h"

#include "platform/posix/NeverDestroyed.h"

namespace kestrav::platform::testing {

Replacements &replacements() {
    static NeverDestroyed<Replacements> instance;
    return instance.get();
}

// They change the process's own objects, so that the product's class needs no functions for tests.

void setArguments(std::vector<std::string> arguments) {
    const_cast<std::vector<std::string> &>(ProcessInfo::processInfo().arguments()) = std::move(arguments);
}

void setEnvironment(ProcessInfo::Environment environment) {
    const_cast<ProcessInfo::Environment &>(ProcessInfo::processInfo().environment()) = std::move(environment);
}

} // namespace kestrav::platform::testing
