#pragma once

#include "mac_installer/launcher/CandidateVerdict.h"
#include "platform/Bundle.h"
#include "platform/PropertyList.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrav {

using OptionalText = std::optional<std::string>;

/// What a Java launch needs, read from the application's configuration.
struct JavaParameters {
    std::vector<std::string> options; // VM options, in the order of the command line
    OptionalText mainClass;
    std::vector<std::string> args; // application arguments
    bool firstThread = false;
};

/// One launch attempt: finds a Java runtime, keeps what was found, and builds the command line for it. One thread.
class Launcher {
public:
    /// A new launcher that has found nothing yet.
    [[nodiscard]] static std::unique_ptr<Launcher> launcher();

    /// The runtime bundle opened for the candidate or the chosen runtime; null for none.
    std::unique_ptr<platform::Bundle> javaBundle;
    /// The chosen runtime's directory; empty means that no suitable one was found.
    OptionalText javaBundlePath;
    OptionalText javaVersion;
    std::int32_t javaMajorVersion = -1; // -1: unknown
    /// The chosen runtime is the public browser plug-in's.
    bool pluginUsed = false;
    /// Called before each candidate of a search, which it may end by raising an exception.
    std::function<void()> checkpoint = [] {};

    // Configuration ---------------------------------------------------------------------------------------------------

    /// Reads VM options, main class and arguments from Info.plist, options files and the command line, and changes the
    /// working directory as configured. After the search, whose results options may depend on.
    JavaParameters readJavaParameters();

    /// The runtime's command line: options the runtime knows, "-Dksv.jreBundle=…", "-Dksv.tarFile=…" where the runtime
    /// came from an archive, the main class, the arguments. Raises "no MainClass" where there is none.
    [[nodiscard]] std::vector<std::string> commandLine(const JavaParameters &parameters,
                                                       const OptionalText &tarFile) const;

    /// Appends the options of a file, and of the files it includes, and returns the class path as the file changed it.
    /// Without a path, or if the file cannot be read, nothing is added; the log says so unless it only `mayExist`.
    OptionalText readOptionsFile(const OptionalText &path, std::vector<std::string> &options, OptionalText classPath,
                                 const std::string &bundlePath, bool mayExist = false) const;

    /// Appends configured options, and those of the files they include; returns the class path.
    OptionalText addPredefinedOptions(const std::vector<std::string> &array, std::vector<std::string> &options,
                                      const std::string &bundlePath, OptionalText classPath) const;

    /// The text with the launcher's own variables and the environment's ("${NAME}") replaced.
    [[nodiscard]] std::string replaceVariables(std::string_view text) const;

    /// A ":"-separated path whose entries "$NAME" and "DIR/*" are replaced by what they stand for; empty for an absent
    /// path, or if nothing is left.
    [[nodiscard]] static OptionalText resolveArtifactPath(const OptionalText &path);

    // Versions --------------------------------------------------------------------------------------------------------

    /// 0 digit, 1 text, 2 separator: the class of the first character of a text that is not empty.
    [[nodiscard]] static int typeOfCharacter(std::u16string_view text);
    /// The maximal runs of digits and of text, and each separator by itself.
    [[nodiscard]] static std::vector<std::u16string> splitVersionString(std::string_view version);
    /// -1, 0, 1: the first text orders before, equal to, after the second.
    [[nodiscard]] static int compareVersion(std::string_view version, std::string_view toVersion);
    /// `compareVersion` of texts that are split already.
    [[nodiscard]] static int compareVersion(const std::vector<std::u16string> &version,
                                            const std::vector<std::u16string> &toVersion);
    /// The name of a runtime's directory without the usual prefixes ("jdk-", "openjdk-", …).
    [[nodiscard]] static std::string_view removeJrePrefix(std::string_view name);
    /// True if the text marks a pre-release: it contains "beta", "ea" or "rc".
    [[nodiscard]] static bool isBetaVersion(const OptionalText &version);
    /// A version text cut at ".", "_", "-" and "+".
    [[nodiscard]] static std::vector<std::string> versionListOf(std::string_view version);
    /// True if the version list satisfies an inclusive bound, compared by as many components as the bound has.
    [[nodiscard]] static bool compareVersion(const OptionalText &bound, const std::vector<std::string> &versionList,
                                             bool isMax);
    /// The minimum version that Info.plist asks for, if any.
    [[nodiscard]] static OptionalText getJavaMinVersion();

    // Candidates and search -------------------------------------------------------------------------------------------

    /// Judges the runtime bundle in `javaBundle`: the version for the launch library if it is accepted, which also sets
    /// `javaVersion` and `javaMajorVersion`; empty if it is rejected.
    [[nodiscard]] OptionalText checkJavaVersion(const OptionalText &minVersion, const OptionalText &maxVersion,
                                                bool allowBeta, bool plugin, const OptionalText &requiredVmPrefix);
    /// `checkJavaVersion` for version texts that were read already.
    [[nodiscard]] OptionalText checkBundleVersion(const OptionalText &minVersion, const OptionalText &maxVersion,
                                                  bool allowBeta, bool plugin, const OptionalText &bundleVersion,
                                                  const OptionalText &evarVersion, const OptionalText &infoString);

    /// Finds the runtime: the application's own or by the configured search sequence, or (`searchOtherInstallations`)
    /// of an earlier installation. Sets the fields and `launchJavaVersion`; returns `javaBundlePath`. Ends the process
    /// with a notice if the application's own runtime cannot be unpacked; raises for a configuration of the wrong type.
    OptionalText findJavaBundle(bool searchOtherInstallations);
    /// Tries one directory as a runtime; true if it was accepted, with the fields set to it.
    bool findDirectoryJavaBundle(const OptionalText &directory, const RuntimeBounds &bounds);
    /// Tries the system's standard locations, newest version first; true if one was accepted, with the fields set to
    /// it.
    bool findPublicJavaBundle(const RuntimeBounds &bounds);

    // In-process start ------------------------------------------------------------------------------------------------

    /// Finds a runtime and puts its command line together, for `launch`. `programPath` is entry 0 of the vector.
    Launcher &load(const char *programPath);

    /// Takes the runtime, from its first line, and the command line, from the others, of a file that is deleted.
    Launcher &loadFromArgumentFile(const char *programPath, const char *argumentFile);

    /// Loads the launch library of the runtime into this process, which becomes the Java program, and returns its exit
    /// status; without a runtime, 1 after a notice. Raises "JavaLaunchError" if there is no usable library. Only while
    /// the process has one thread.
    [[nodiscard]] int launch();

    // Notices ---------------------------------------------------------------------------------------------------------

    /// Shows the notice of a message key, its text filled with up to two texts. Does not wait and does not end
    /// anything.
    static void displayError(std::string_view key, const OptionalText &info1 = std::nullopt,
                             const OptionalText &info2 = std::nullopt);

    /// Shows the notice that no suitable runtime was found: the version that is asked for and, in a line of its own,
    /// the refused runtime of the highest version and why it was refused.
    void displayMissingRuntime() const;

private:
    /// A runtime that the searches of this launch attempt refused.
    struct RefusedRuntime {
        std::string path;
        CandidateVerdict verdict;
        bool isOwn = false; // the application's own, whose refusal ends a search
    };
    std::optional<RefusedRuntime> highestRefused;

    OptionalText keepVersion(const CandidateVerdict &verdict);
    [[nodiscard]] bool settle(const char *signature, int line, const std::string &path, const CandidateVerdict &verdict,
                              bool isOwn = false);
    [[nodiscard]] bool tryBundle(const char *signature, int line, const std::string &path, const RuntimeBounds &bounds,
                                 bool plugin = false);
    void findOtherInstallation(const RuntimeBounds &bounds);
    [[nodiscard]] bool openOwnRuntime();
    [[nodiscard]] bool findOwnRuntime();
    void unpackOwnRuntime() const;
    bool findVariablesJavaBundle(const std::string &name, const RuntimeBounds &bounds);
    bool searchConfiguredSequence(const RuntimeBounds &bounds);
    [[nodiscard]] bool findPlugin(const RuntimeBounds &bounds);
    void addVersionSpecificOptions(std::vector<std::string> &options, const std::string &bundlePath,
                                   OptionalText &classPath) const;
    [[nodiscard]] bool matchesVersionPattern(const std::string &pattern, const platform::PropertyList &options) const;
};

} // namespace kestrav
