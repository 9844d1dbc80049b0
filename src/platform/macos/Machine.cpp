#include "platform/Machine.h"

#include "platform/FileManager.h"
#include "platform/ProcessInfo.h"
#include "platform/macos/CFValue.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include <dlfcn.h>

namespace kestrav::platform {

namespace {

// CPU_TYPE_X86_64 and CPU_TYPE_ARM64 of <mach/machine.h>.
constexpr std::int64_t x86Processor = 0x1000007;
constexpr std::int64_t armProcessor = 0x100000C;
#if defined(__aarch64__)
constexpr std::int64_t ownProcessor = armProcessor;
#else
constexpr std::int64_t ownProcessor = x86Processor;
#endif

/// The processors that a program has code for; none if it is a script or cannot be read.
std::vector<std::int64_t> processorsOf(const std::string &program) {
    const CFHandle url(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
                                                               reinterpret_cast<const UInt8 *>(program.data()),
                                                               static_cast<CFIndex>(program.size()), false));
    const CFHandle list(url ? CFBundleCopyExecutableArchitecturesForURL(url.get()) : nullptr);
    const auto numbers = propertyListOf(list.get()).value_or(PropertyList::Array());
    std::vector<std::int64_t> processors;
    for (const PropertyList &number : *numbers.as<PropertyList::Array>()) {
        if (const auto *processor = number.as<std::int64_t>()) {
            processors.push_back(*processor);
        }
    }
    return processors;
}

/// True if the system runs programs of the processor that Macs had before. It does so once its translator is installed.
bool translates(std::int64_t processor) {
    return ownProcessor == armProcessor && processor == x86Processor &&
           fileExistsAtPath(systemPath("/Library/Apple/usr/libexec/oah/libRosettaRuntime"));
}

} // namespace

bool isMacOS() {
    return true;
}

bool runsOnThisProcessor(const std::string &program) {
    if (systemControlInteger("sysctl.proc_translated") == 1) {
        return true; // the machine runs its own programs and those that it translates, as this one
    }
    const auto processors = processorsOf(program);
    return processors.empty() || std::any_of(processors.begin(), processors.end(), [](std::int64_t processor) {
               return processor == ownProcessor || translates(processor);
           });
}

bool loadsIntoThisProcess(const std::string &library) {
    return dlopen_preflight(library.c_str());
}

bool isCutOff(const std::string & /*library*/) {
    return false;
}

std::string_view processorFolder() {
    return "";
}

} // namespace kestrav::platform
