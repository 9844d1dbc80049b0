#include "mac_installer/archive/Unpacker.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "mac_installer/launcher/global.h"
#include "mac_installer/launcher/trust.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"
#include "platform/ProcessInfo.h"
#include "platform/path.h"

namespace kestrav {

using platform::appendingPathComponent;
using platform::Bundle;

namespace {

constexpr const char *signature = "-[Launcher findJavaBundle:]";

/// What a plain runtime directory below the base directory counts as; nobody looks into it.
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

bool Launcher::openOwnRuntime() {
    const std::string &bundlePath = Bundle::mainBundle().bundlePath();
    for (const char *place : {"Contents/Resources/jre.bundle", "Contents/PlugIns/jre.bundle"}) {
        javaBundlePath = appendingPathComponent(bundlePath, place);
        javaBundle = Bundle::create(*javaBundlePath);
        if (javaBundle) {
            return true;
        }
    }
    const auto baseDir = stringValue(infoDictionary(), "ksv.baseDir");
    if (!baseDir) {
        javaBundlePath.reset();
        return false;
    }
    const std::string base = replacingAppPackage(*baseDir, bundlePath);
    const auto isThere = [&](const char *place) {
        javaBundlePath = appendingPathComponent(base, place);
        const std::string home = runtimeHome(*javaBundlePath);
        return platform::directoryExistsAtPath(*javaBundlePath) && mayBeHeeded(signature, __LINE__, *javaBundlePath) &&
               mayBeHeeded(signature, __LINE__, appendingPathComponent(home, "bin/java"));
    };
    if (isThere(".kestrav/jre.bundle")) {
        javaBundle = Bundle::create(*javaBundlePath);
        return javaBundle != nullptr;
    }
    return isThere(".kestrav/jre");
}

bool Launcher::findOwnRuntime() {
    checkpoint();
    if (!openOwnRuntime()) {
        return false;
    }
    const std::string otherProcessor = otherProcessorReason(*javaBundlePath);
    if (javaBundle || !otherProcessor.empty()) {
        // The application's maker chose this runtime: the configured bounds are for others.
        const RuntimeBounds any{{}, {}, {}, true};
        const CandidateVerdict verdict = javaBundle ? judgeCandidate(javaBundle.get(), any, false)
                                                    : judgePlainRuntime(*javaBundlePath, assumedVersion, any);
        static_cast<void>(settle(signature, __LINE__, *javaBundlePath, verdict, true));
    } else {
        setLaunchJavaVersion(assumedVersion);
    }
    if (otherProcessor.empty()) { // else its unpack200 cannot be run either
        unpackOwnRuntime();
    }
    return true;
}

void Launcher::unpackOwnRuntime() const {
    const std::string home = javaBundle ? runtimeHome(*javaBundlePath) : *javaBundlePath;
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
