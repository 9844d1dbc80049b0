#include "mac_installer/archive/Unpacker.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeBundle.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "mac_installer/launcher/trust.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"
#include "platform/ProcessInfo.h"
#include "platform/path.h"

#include <utility>

namespace kestrav {

using platform::appendingPathComponent;
using platform::Bundle;

namespace {

constexpr const char *signature = "-[Launcher findJavaBundle:]";

/// The version that a plain runtime directory below the base directory counts as: its own is not read.
constexpr const char *assumedVersion = "1.7.0";

/// False if `_ksv_testdir` cannot be made in the directory; something of that name already there counts the same.
bool isWritable(const std::string &directory) {
    const std::string probe = appendingPathComponent(directory, "_ksv_testdir");
    if (platform::fileExistsAtPath(probe) || platform::createDirectoryAtPath(probe, false)) {
        return false;
    }
    if (platform::removeItemAtPath(probe)) {
        _DLog("%s [Line %d] could not remove _ksv_testdir", signature, 623);
    }
    return true;
}

} // namespace

std::optional<Launcher::OwnRuntime> Launcher::findOwnRuntime() const {
    const std::string &bundlePath = Bundle::mainBundle().bundlePath();
    for (const char *relative : {"Contents/Resources/jre.bundle", "Contents/PlugIns/jre.bundle"}) {
        std::string path = appendingPathComponent(bundlePath, relative);
        if (auto bundle = openRuntime(path)) {
            return OwnRuntime{std::move(path), std::move(bundle)};
        }
    }
    const auto baseDir = stringValue(infoDictionary(), "ksv.baseDir");
    if (!baseDir) {
        return std::nullopt;
    }
    const std::string base = replacingAppPackage(*baseDir, bundlePath);
    const auto isHeeded = [this](const std::string &path) {
        const auto reason = reasonNotToHeed(signature, __LINE__, path);
        if (reason && noteLeftOut) {
            noteLeftOut(path, *reason);
        }
        return !reason;
    };
    const auto isThere = [&](const std::string &path) {
        return platform::directoryExistsAtPath(path) && isHeeded(path) &&
               isHeeded(appendingPathComponent(runtimeHome(path), "bin/java"));
    };
    if (std::string path = appendingPathComponent(base, ".kestrav/jre.bundle"); isThere(path)) {
        auto bundle = openRuntime(path);
        return bundle ? std::optional(OwnRuntime{std::move(path), std::move(bundle)}) : std::nullopt;
    }
    std::string path = appendingPathComponent(base, ".kestrav/jre");
    return isThere(path) ? std::optional(OwnRuntime{std::move(path), nullptr}) : std::nullopt;
}

std::optional<JavaRuntime> Launcher::checkOwnRuntime(const OwnRuntime &own) {
    // The application's maker chose this runtime: the configured bounds are for others.
    const RuntimeBounds any{{}, {}, {}, true};
    const bool isForThisProcessor = otherProcessorReason(own.path).empty();
    CandidateVerdict verdict;
    if (own.bundle || !isForThisProcessor) {
        verdict = own.bundle ? checkJavaVersion(own.bundle.get(), any, false)
                             : checkPlainRuntime(own.path, assumedVersion, any);
    } else {
        verdict.launchVersion = assumedVersion;
    }
    place = "the application";
    auto found = acceptOrRefuse(signature, __LINE__, own.path, verdict, true);
    if (isForThisProcessor && !looksOnly) { // else its unpack200 cannot be run either
        unpackOwnRuntime(own);
    }
    return found;
}

void Launcher::unpackOwnRuntime(const OwnRuntime &own) {
    const std::string home = own.bundle ? runtimeHome(own.path) : own.path;
    _DLog("%s [Line %d] Running unpacker on %@", signature, 616,
          platform::fileURLString(home, platform::directoryExistsAtPath(home)));
    if (Unpacker::unpack(appendingPathComponent(home, "jre"), nullptr) && Unpacker::unpack(home, nullptr)) {
        return;
    }
    if (isWritable(home)) {
        displayError("dorvik.InternalError", "could not run unpack200");
    } else {
        displayError("NonWritablePackDir");
    }
    platform::endProcess(1);
}

} // namespace kestrav
