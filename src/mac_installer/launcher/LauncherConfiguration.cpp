#include "mac_installer/launcher/InfoPlist.h"
#include "mac_installer/launcher/Launcher.h"
#include "mac_installer/launcher/RuntimeSupport.h"
#include "platform/DebugLog.h"
#include "platform/Exception.h"
#include "platform/ProcessInfo.h"
#include "platform/text.h"

#include <algorithm>

namespace kestrav {

using platform::ProcessInfo;
using platform::PropertyList;

namespace {

constexpr const char *signature = "-[Launcher readJavaParameters:options:mainClass:args:firstThread:]";

OptionalText replacingAppPackage(const OptionalText &text, const std::string &bundlePath) {
    return text ? std::optional(kestrav::replacingAppPackage(*text, bundlePath)) : std::nullopt;
}

/// The options file beside the bundle: /x/Tool.app has /x/Tool.vmoptions. Whatever the last three characters are, they
/// go.
std::string siblingOptionsFile(const std::string &bundlePath) {
    std::string path = bundlePath;
    constexpr std::string_view app = "app";
    if (path.ends_with(app)) {
        path.resize(path.size() - app.size());
    } else {
        std::u16string units = platform::utf16(path);
        units.resize(units.size() - std::min(units.size(), app.size()));
        path = platform::utf8(units);
    }
    return path + "vmoptions";
}

void addOption(std::vector<std::string> &options, std::string_view format, const std::string &value) {
    options.push_back(platform::format(format, value));
}

} // namespace

JavaParameters Launcher::readJavaParameters() const {
    const PropertyList &javaVM = javaVMDictionary();
    const std::string &bundlePath = platform::Bundle::mainBundle().bundlePath();

    JavaParameters parameters;
    auto &options = parameters.options;
    OptionalText classPath = replacingAppPackage(stringValue(javaVM, "ClassPath"), bundlePath);
    if (noteOrigin && classPath) {
        noteOrigin(ConfigurationPart::classPath, *classPath, {.key = "JavaVM/ClassPath"});
    }
    if (const auto predefined = stringArrayValue(javaVM, "VMOptionArray")) {
        classPath =
            addPredefinedOptions(*predefined, options, bundlePath, std::move(classPath), "JavaVM/VMOptionArray");
    }
    addVersionSpecificOptions(options, bundlePath, classPath);
    classPath = readOptionsFile(siblingOptionsFile(bundlePath), options, std::move(classPath), bundlePath, true);
    classPath = readOptionsFile(stringValue(javaVM, "OptionsFile"), options, std::move(classPath), bundlePath);

    if (const auto splash = replacingAppPackage(stringValue(javaVM, "SplashFile"), bundlePath)) {
        addOptionOf(options, "-splash:" + *splash, "JavaVM/SplashFile");
    }
    const auto resolvedClassPath = resolveArtifactPath(classPath);
    if (resolvedClassPath && !resolvedClassPath->empty()) {
        addOption(options, "-Djava.class.path=%@", *resolvedClassPath);
    }
    if (const auto modules = stringValue(javaVM, "ModulePath")) {
        const auto modulePath = resolveArtifactPath(replaceVariables(*modules));
        if (modulePath && !modulePath->empty()) {
            options.emplace_back("-p");
            addOptionOf(options, *modulePath, "JavaVM/ModulePath");
        }
    }
    addDockOptions(options, bundlePath);
    addOption(options, "-Dksv.ownBundlePath=%@", bundlePath);
    addArguments(parameters);
    addCommandLine(parameters);
    addRecordedOptions(options, bundlePath, resolvedClassPath.value_or(""));
    parameters.mainClass = stringValue(javaVM, "MainClass");
    parameters.firstThread = booleanValue(javaVM, "StartOnMainThread").value_or(false);
    return parameters;
}

void Launcher::addOptionOf(std::vector<std::string> &options, const std::string &option, const char *key) const {
    options.push_back(option);
    if (noteOrigin) {
        noteOrigin(ConfigurationPart::option, option, {.key = key});
    }
}

void Launcher::addDockOptions(std::vector<std::string> &options, const std::string &bundlePath) const {
    const PropertyList &info = infoDictionary();
    if (const auto icon = stringValue(info, "CFBundleIconFile")) {
        addOptionOf(options, platform::format("-Xdock:icon=%@/Contents/Resources/%@", bundlePath, *icon),
                    "CFBundleIconFile");
    }
    addOptionOf(options, platform::format("-Xdock:name=%@", stringValue(info, "CFBundleName")), "CFBundleName");
}

void Launcher::addArguments(JavaParameters &parameters) const {
    const auto configured = stringArrayValue(javaVMDictionary(), "ArgumentArray").value_or(std::vector<std::string>());
    for (std::size_t i = 0; i < configured.size(); ++i) {
        parameters.args.push_back(replaceVariables(configured[i]));
        if (noteOrigin) {
            noteOrigin(ConfigurationPart::argument, parameters.args.back(),
                       {.key = platform::format("JavaVM/ArgumentArray/%d", i)});
        }
    }
}

/// The application's arguments from the command line; "-J…" ones become options if the configuration lets them pass.
void Launcher::addCommandLine(JavaParameters &parameters) const {
    const bool allowPassthrough = booleanValue(infoDictionary(), "ksv.allowPassthrough").value_or(false);
    const auto &arguments = ProcessInfo::processInfo().arguments();
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string &argument = arguments[i];
        if (i == 1 && argument.starts_with("-psn_")) {
            continue; // the process serial number that Finder adds
        }
        _DLog("%s [Line %d] cl arg: %@ ", signature, __LINE__, argument);
        const bool isOption = allowPassthrough && argument.starts_with("-J");
        auto &target = isOption ? parameters.options : parameters.args;
        target.push_back(isOption ? argument.substr(2) : argument);
        if (noteOrigin) {
            noteOrigin(isOption ? ConfigurationPart::option : ConfigurationPart::argument, target.back(), {});
        }
    }
}

void Launcher::addVersionSpecificOptions(std::vector<std::string> &options, const std::string &bundlePath,
                                         OptionalText &classPath) const {
    static constexpr const char *key = "VersionSpecificVMOptions";
    const auto *entries = arrayValue(javaVMDictionary(), key);
    if (entries == nullptr) {
        return;
    }
    for (std::size_t i = 0; i + 1 < entries->size(); i += 2) {
        const auto *pattern = (*entries)[i].as<std::string>();
        if (pattern == nullptr) {
            throw platform::Exception(
                platform::InvalidArgumentException,
                platform::format("a version of %@ in Info.plist is %@, not a string", key, (*entries)[i].typeName()));
        }
        if (matchesVersionPattern(*pattern, (*entries)[i + 1])) {
            classPath = addPredefinedOptions(stringsOf((*entries)[i + 1], key), options, bundlePath,
                                             std::move(classPath), platform::format("JavaVM/%@/%d", key, i + 1));
            return;
        }
    }
}

bool Launcher::matchesVersionPattern(const std::string &pattern, const PropertyList &options) const {
    const OptionalText version = runtime ? runtime->javaVersion : std::nullopt;
    const std::int32_t majorVersion = runtime ? runtime->javaMajorVersion : -1;
    if (pattern.starts_with('*')) {
        if (!version || !platform::isLike(*version, std::string_view(pattern).substr(1))) {
            return false;
        }
        _DLog("%s [Line %d] using version specific options %@ %@ %@", signature, __LINE__, version, pattern, options);
        return true;
    }
    const auto parts = platform::componentsSeparatedBy(pattern, "-");
    if (parts.size() != 2) {
        _DLog("%s [Line %d] ERROR in version specific options %@", signature, __LINE__, pattern);
        return false;
    }
    const auto low = platform::intValue(parts[0]);
    const auto high = platform::intValue(parts[1]);
    if (majorVersion < low || majorVersion > high) {
        return false;
    }
    _DLog("%s [Line %d] using version specific options %@ %@ %@ %d %d %d", signature, __LINE__, version, pattern,
          options, majorVersion, low, high);
    return true;
}

std::vector<std::string> Launcher::commandLine(const JavaParameters &parameters) const {
    if (!parameters.mainClass || parameters.mainClass->empty()) {
        throw platform::Exception(platform::InvalidArgumentException, "no MainClass");
    }
    std::vector<std::string> options = parameters.options;
    if (isOneProcess && parameters.firstThread) {
        options.emplace_back("-XstartOnFirstThread");
    }
    std::vector<std::string> line;
    line.reserve(options.size() + parameters.args.size() + 3);
    for (const std::string &option : options) {
        if (runtimeKnowsOption(option)) {
            line.push_back(option);
        } else {
            _DLog("%s [Line %d] left out %@: %@", signature, __LINE__, option, "runtimes of this platform refuse it");
        }
    }
    addOption(line, "-Dksv.jreBundle=%@", runtime ? runtime->javaBundlePath : "");
    if (runtime && runtime->tarFile) {
        addOption(line, "-Dksv.tarFile=%@", *runtime->tarFile);
    }
    line.push_back(*parameters.mainClass);
    line.insert(line.end(), parameters.args.begin(), parameters.args.end());
    return line;
}

} // namespace kestrav
