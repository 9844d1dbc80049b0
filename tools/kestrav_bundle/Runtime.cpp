#include "Runtime.h"

#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeBundle.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "platform/FileDescriptor.h"
#include "platform/FileManager.h"
#include "platform/Machine.h"
#include "platform/path.h"

#include <unistd.h>

#include <array>
#include <filesystem>
#include <string_view>

namespace kestrav::tools {

namespace {

using platform::appendingPathComponent;

} // namespace

std::string machineOf(const std::string &path) {
    // As in <elf.h>, and in Apple's <mach-o/loader.h> and <mach-o/fat.h>.
    constexpr std::size_t elfMachine = 18;
    std::array<char, elfMachine + 2> header{};
    const auto file = platform::FileDescriptor::openRegularFile(path);
    if (!file.valid() || ::read(file.get(), header.data(), header.size()) != static_cast<ssize_t>(header.size())) {
        return "";
    }
    const std::string_view bytes(header.data(), header.size());
    if (bytes.starts_with("\x7F"
                          "ELF")) {
        return "ELF" + std::string(bytes.substr(elfMachine));
    }
    const bool mach = bytes.starts_with("\xCF\xFA\xED\xFE") || bytes.starts_with("\xCA\xFE\xBA\xBE");
    return mach ? "Mach-O" : "";
}

bool isForeign(const std::string &launcher) {
    const std::string machine = machineOf(launcher);
    const bool isForMac = machine == "Mach-O";
    return !machine.empty() && (isForMac != platform::isMacOS() || !platform::runsOnThisProcessor(launcher));
}

Runtime examineRuntime(const std::string &name, const std::string &folder, const RuntimeBounds &bounds,
                       const std::string &launcher) {
    if (!platform::directoryExistsAtPath(folder)) {
        throw Refusal("The runtime " + name + " is neither a folder nor an archive");
    }
    Runtime runtime;
    runtime.folder = bundleOfHome(std::filesystem::canonical(folder).string()); // its user may name the home alone
    const std::string home = runtimeHome(runtime.folder);
    const std::string java = javaProgram(runtime.folder);
    if (!platform::fileExistsAtPath(java) || platform::directoryExistsAtPath(java) ||
        ::access(java.c_str(), X_OK) != 0) {
        throw Refusal(name + " is not a Java runtime: it has no executable bin/java");
    }
    const std::string ours = machineOf(launcher);
    const std::string theirs = machineOf(java);
    if (!ours.empty() && !theirs.empty() && ours != theirs) {
        throw Refusal("The runtime " + name + " is for another kind of machine than the launcher");
    }
    runtime.isBundle = home != runtime.folder;
    const std::string info = appendingPathComponent(runtime.folder, "Contents/Info.plist");
    runtime.hasInfo = runtime.isBundle && platform::fileExistsAtPath(info);

    // One without an Info.plist gets one as it is copied, for a Mac's launcher reads no other description.
    const auto bundle = openDescribedRuntime(runtime.isBundle && !runtime.hasInfo ? home : runtime.folder);
    if (!bundle) {
        throw Refusal("The runtime " + name + " cannot be read");
    }
    const CandidateInfo declared = candidateInfo(*bundle, false);
    if (!declared.version) {
        throw Refusal("The runtime " + name + " does not declare its version, neither in " +
                      (runtime.isBundle ? "Contents/Info.plist (JavaVM, JVMVersion)" : "a file \"release\"") +
                      " nor anywhere else that the launcher reads");
    }
    // The application's maker chose this runtime: only the bounds count.
    const CandidateVerdict verdict =
        Launcher::checkBundleVersion(declared, {bounds.minVersion, bounds.maxVersion, {}, true}, false);
    if (!verdict.launchVersion) {
        throw Refusal("The runtime " + name + " does not suit: " + verdict.refusal);
    }
    runtime.version = *declared.version;
    runtime.identifier = declared.identifier.value_or("");
    return runtime;
}

} // namespace kestrav::tools
