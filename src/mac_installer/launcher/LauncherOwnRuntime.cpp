#include "mac_installer/archive/Unpacker.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeHome.h"
#include "mac_installer/launcher/global.h"
#include "mac_installer/launcher/trust.h"
#include "platform/DebugLog.h"
#include "platform/ProcessInfo.h"
#include "platform/path.h"

namespace kestrav {

using platform::appendingPathComponent;
using platform::Bundle;
using platform::FileManager;

namespace {

constexpr const char *signature = "-[Launcher findJavaBundle:]";

/// What a plain runtime directory below the base directory counts as; nobody looks into it.
constexpr const char *assumedVersion = "1.7.0";

/// False if `_ksv_testdir` cannot be made in the directory; something of that name already there counts the same.
bool isWritable(const std::string &directory, const FileManager &fileManager) {
    const std::string probe = appendingPathComponent(directory, "_ksv_testdir");
    if (fileManager.fileExistsAtPath(probe) || fileManager.createDirectoryAtPath(probe, false)) {
        return false;
    }
    if (fileManager.removeItemAtPath(probe)) {
        _DLog("%s [Line %d] could not remove _ksv_testdir", signature, 623);
    }
    return true;
}

} // namespace

bool Launcher::openOwnRuntime(const FileManager &fileManager) {
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
        const std::string home = runtimeHome(*javaBundlePath, fileManager);
        return fileManager.directoryExistsAtPath(*javaBundlePath) &&
               mayBeHeeded(signature, __LINE__, *javaBundlePath) &&
               mayBeHeeded(signature, __LINE__, appendingPathComponent(home, "bin/java"));
    };
    if (isThere(".kestrav/jre.bundle")) {
        javaBundle = Bundle::create(*javaBundlePath);
        return javaBundle != nullptr;
    }
    return isThere(".kestrav/jre");
}

bool Launcher::findOwnRuntime(const FileManager &fileManager) {
    checkpoint();
    if (!openOwnRuntime(fileManager)) {
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
        unpackOwnRuntime(fileManager);
    }
    return true;
}

void Launcher::unpackOwnRuntime(const FileManager &fileManager) const {
    const std::string home = javaBundle ? runtimeHome(*javaBundlePath, fileManager) : *javaBundlePath;
    _DLog("%s [Line %d] Running unpacker on %@", signature, 616,
          platform::fileURLString(home, fileManager.directoryExistsAtPath(home)));
    if (Unpacker::unpack(appendingPathComponent(home, "jre"), nullptr) && Unpacker::unpack(home, nullptr)) {
        return;
    }
    if (isWritable(home, fileManager)) {
        displayError("dorvik.InternalError", "could not run unpack200");
    } else {
        displayError("NonWritablePackDir");
    }
    platform::endProcess(1);
}

} // namespace kestrav
