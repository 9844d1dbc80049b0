#include "mac_installer/CandidateRefusal.h"
#include "mac_installer/InfoPlist.h"
#include "mac_installer/Launcher.h"
#include "mac_installer/RuntimeHome.h"
#include "mac_installer/Unpacker.h"
#include "mac_installer/global.h"
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

std::unique_ptr<Bundle> openIfExists(const std::string &path, const FileManager &fileManager) {
    return fileManager.fileExistsAtPath(path) ? Bundle::create(path) : nullptr;
}

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

bool Launcher::findOwnRuntime(const FileManager &fileManager) {
    const std::string &bundlePath = Bundle::mainBundle().bundlePath();
    for (const char *place : {"Contents/Resources/jre.bundle", "Contents/PlugIns/jre.bundle"}) {
        if (!javaBundle) {
            javaBundlePath = appendingPathComponent(bundlePath, place);
            javaBundle = openIfExists(*javaBundlePath, fileManager);
        }
    }
    const auto baseDir = javaBundle ? std::nullopt : stringValue(infoDictionary(), "ksv.baseDir");
    if (baseDir) {
        const std::string base = replacingAppPackage(*baseDir, bundlePath);
        javaBundlePath = appendingPathComponent(base, ".kestrav/jre.bundle");
        if (fileManager.directoryExistsAtPath(*javaBundlePath)) {
            javaBundle = openIfExists(*javaBundlePath, fileManager);
        } else {
            javaBundlePath = appendingPathComponent(base, ".kestrav/jre");
            if (fileManager.directoryExistsAtPath(*javaBundlePath)) {
                setLaunchJavaVersion(assumedVersion);
            }
        }
    }
    if (!javaBundle && launchGlobals.launchJavaVersion == nullptr) {
        return false;
    }
    if (javaBundle) {
        // The application's maker chose this runtime: the configured bounds are for others.
        const RuntimeBounds any{{}, {}, {}, true};
        setLaunchJavaVersion(checkJavaVersion({}, {}, true, false, {}));
        if (launchGlobals.launchJavaVersion == nullptr && debugLogEnabled()) {
            _DLog("%s [Line %d] rejected %@: %@", signature, __LINE__, javaBundlePath,
                  refusalReason(javaBundle.get(), any, false));
        }
    }
    unpackOwnRuntime(fileManager);
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
