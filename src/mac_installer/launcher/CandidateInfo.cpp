#include "mac_installer/launcher/CandidateInfo.h"

#include "platform/DebugLog.h"
#include "platform/ProcessInfo.h"

#include <algorithm>

namespace kestrav {

using platform::Bundle;
using platform::PropertyList;

namespace {

constexpr std::int32_t cpuTypeX86_64 = 0x1000007; // CPU_TYPE_X86_64 of <mach/machine.h>

/// The list as the log shows it.
PropertyList numbers(const std::vector<std::optional<std::int32_t>> &architectures) {
    PropertyList::Array array;
    for (const auto &architecture : architectures) {
        array.emplace_back(architecture ? PropertyList(std::int64_t{*architecture}) : PropertyList("(null)"));
    }
    return array;
}

} // namespace

std::optional<std::string> bundleText(const Bundle &bundle, std::string_view key) {
    return bundle.infoDictionary().stringForKey(key);
}

CandidateInfo candidateInfo(const Bundle &bundle, bool plugin) {
    const PropertyList *javaVM = bundle.objectForInfoDictionaryKey("JavaVM");
    CandidateInfo info;
    info.identifier = bundle.bundleIdentifier();
    info.version = javaVM == nullptr ? std::nullopt : javaVM->stringForKey("JVMVersion");
    if (plugin && !info.version) {
        info.version = bundleText(bundle, "CFBundleVersion");
    }
    info.evarVersion = bundleText(bundle, "EvarVersion");
    info.infoString = bundleText(bundle, "CFBundleGetInfoString");
    return info;
}

bool checkArchitecture(const Bundle &bundle) {
    static constexpr const char *signature = "_Bool checkArchitecture(CFBundleRef)";
    if (platform::systemControlInteger("sysctl.proc_translated") != 1) {
        return true;
    }
    const auto architectures = bundle.executableArchitectures();
    const auto list = architectures ? std::optional(numbers(*architectures)) : std::nullopt;
    _DLog("%s [Line %d] checking architectures %d %@", signature, 81, cpuTypeX86_64, list ? &*list : nullptr);
    return architectures &&
           std::find(architectures->begin(), architectures->end(), cpuTypeX86_64) != architectures->end();
}

} // namespace kestrav
