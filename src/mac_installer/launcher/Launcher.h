#pragma once

#include "mac_installer/launcher/CandidateVerdict.h"
#include "mac_installer/launcher/Origin.h"
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

/// One launch attempt: finds a Java runtime, and builds the command line for it. One thread.
class Launcher {
public:
    /// A new launcher without a runtime.
    [[nodiscard]] static std::unique_ptr<Launcher> launcher();

    /// The runtime to be started, on which options and variables depend. Set by the caller, who found or made it.
    std::optional<JavaRuntime> runtime;
    /// What the searches of this launch attempt have judged, in their order.
    std::vector<Candidate> judged;
    /// Told where options, class path and arguments come from, if somebody asks.
    OriginListener noteOrigin;
    /// Told what is left out because it cannot be read, or could be somebody else's.
    LeftOutListener noteLeftOut;
    /// Nothing is to be changed: an own runtime is not unpacked.
    bool looksOnly = false;
    /// A search judges all candidates, and so finds none.
    bool judgesAll = false;
    /// Called before each candidate of a search, which it may end by raising an exception.
    std::function<void()> checkpoint = [] {};
    /// The application is one process: a search refuses candidates without a launch library that fits it, and the
    /// configuration may ask for the first thread.
    bool isOneProcess = false;

    // Configuration ---------------------------------------------------------------------------------------------------

    /// Reads VM options, main class and arguments from Info.plist, options files and the command line. After
    /// `prepareProcess`: relative paths begin in the working directory, and options may name LANG.
    [[nodiscard]] JavaParameters readJavaParameters() const;

    /// The runtime's command line: options the runtime knows, "-Dksv.jreBundle=…", "-Dksv.tarFile=…" where the runtime
    /// came from an archive, the main class, the arguments. Raises "no MainClass" where there is none.
    [[nodiscard]] std::vector<std::string> commandLine(const JavaParameters &parameters) const;

    /// Appends the options of a file, and of the files it includes, and returns the class path as the file changed it.
    /// Without a path, or if the file cannot be read, nothing is added; the log says so unless it only `mayExist`.
    OptionalText readOptionsFile(const OptionalText &path, std::vector<std::string> &options, OptionalText classPath,
                                 const std::string &bundlePath, bool mayExist = false) const;

    /// Appends configured options, and those of the files they include; returns the class path. `key` is where
    /// Info.plist has them, for `noteOrigin`.
    OptionalText addPredefinedOptions(const std::vector<std::string> &array, std::vector<std::string> &options,
                                      const std::string &bundlePath, OptionalText classPath,
                                      const std::string &key = "") const;

    /// The text with the launcher's own variables and the environment's ("${NAME}") replaced.
    [[nodiscard]] std::string replaceVariables(std::string_view text) const;

    /// A ":"-separated path whose entries "$NAME" and "DIR/*" are replaced by what they stand for; empty for an absent
    /// path, or if nothing is left.
    [[nodiscard]] static OptionalText resolveArtifactPath(const OptionalText &path);

    // Versions --------------------------------------------------------------------------------------------------------

    /// The class of the first character of a string that is not empty: 0 digit, 1 text, 2 separator.
    [[nodiscard]] static int typeOfCharacter(std::u16string_view text);
    /// The maximal runs of digits and of text, and each separator by itself.
    [[nodiscard]] static std::vector<std::u16string> splitVersionString(std::string_view version);
    /// -1, 0, 1: the first text orders before, equal to, after the second.
    [[nodiscard]] static int compareVersion(std::string_view version, std::string_view toVersion);
    /// `compareVersion` of versions that are split already.
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

    /// Checks a runtime bundle; null stands for something that cannot be opened as one. `plugin`: it is the public
    /// browser plug-in's.
    [[nodiscard]] static CandidateVerdict checkJavaVersion(const platform::Bundle *bundle, const RuntimeBounds &bounds,
                                                           bool plugin);
    /// Checks a runtime by its version alone.
    [[nodiscard]] static CandidateVerdict checkBundleVersion(const CandidateInfo &info, const RuntimeBounds &bounds,
                                                             bool plugin);

    /// Finds the runtime: the application's own or by the configured search sequence, or (`searchOtherInstallations`)
    /// of an earlier installation. Its path is absolute. Ends the process with a notice if the application's own
    /// runtime cannot be unpacked; raises for a configuration of the wrong type.
    [[nodiscard]] std::optional<JavaRuntime> findJavaBundle(bool searchOtherInstallations);
    /// Tries one directory as a runtime.
    [[nodiscard]] std::optional<JavaRuntime> findDirectoryJavaBundle(const OptionalText &directory,
                                                                     const RuntimeBounds &bounds);
    /// Tries the system's standard locations, newest version first.
    [[nodiscard]] std::optional<JavaRuntime> findPublicJavaBundle(const RuntimeBounds &bounds);
    /// The runtime at a path that was chosen elsewhere, with its version, whatever the configured bounds are. `bundle`
    /// is that path opened as a bundle, or null.
    [[nodiscard]] static JavaRuntime chosenRuntime(const std::string &path, const platform::Bundle *bundle);

    // In-process start ------------------------------------------------------------------------------------------------

    /// Puts the runtime's command line together, for `launch`; looks for a runtime unless there is one. `programPath`
    /// is entry 0 of the vector.
    Launcher &load(const char *programPath);

    /// Takes the runtime, from its first line, and the command line, from the others, of a file that is deleted.
    Launcher &loadFromArgumentFile(const char *programPath, const char *argumentFile);

    /// Loads the launch library of the runtime into this process, which becomes the Java program, and returns its exit
    /// status; without a runtime, 1 after a notice. Raises "JavaLaunchError" if there is no usable library. Only while
    /// the process has one thread.
    [[nodiscard]] int launch();

    // Notices ---------------------------------------------------------------------------------------------------------

    // Each notice is also recorded in the log of failed starts, with details, whose path ends it.

    /// Shows the notice of a message key, filled with up to two strings. Does not wait and does not end
    /// anything.
    static void displayError(std::string_view key, const OptionalText &info1 = std::nullopt,
                             const OptionalText &info2 = std::nullopt, const std::vector<std::string> &details = {});

    /// The same for up to three texts, and with further lines below the message; false if the table lacks the message,
    /// as one that is older than it does.
    [[nodiscard]] static bool displayMessage(std::string_view key, std::vector<std::string> infos,
                                             const std::vector<std::string> &details = {}, std::string_view below = {});

    /// Shows the notice that no suitable runtime was found: the version that is asked for and, in up to three lines of
    /// their own, the refused runtimes of the highest versions and why they were refused. All are recorded.
    void displayMissingRuntime() const;

private:
    std::string place; // the entry of the search that is being looked into

    /// The application's own runtime.
    struct OwnRuntime {
        std::string path;
        std::unique_ptr<platform::Bundle> bundle; // null: a plain directory
    };
    [[nodiscard]] std::optional<OwnRuntime> findOwnRuntime() const;
    [[nodiscard]] std::optional<JavaRuntime> checkOwnRuntime(const OwnRuntime &own);
    static void unpackOwnRuntime(const OwnRuntime &own);

    [[nodiscard]] std::optional<JavaRuntime> searchConfiguredSequence(const RuntimeBounds &bounds);
    [[nodiscard]] std::optional<JavaRuntime> searchEntry(const std::string &entry, const RuntimeBounds &bounds);
    [[nodiscard]] std::optional<JavaRuntime> findVariablesJavaBundle(const std::string &name,
                                                                     const RuntimeBounds &bounds);
    [[nodiscard]] std::optional<JavaRuntime> findPlugin(const RuntimeBounds &bounds);
    [[nodiscard]] std::optional<JavaRuntime> findOtherInstallation(const RuntimeBounds &bounds);

    [[nodiscard]] std::optional<JavaRuntime> tryBundle(const char *signature, int line, const std::string &path,
                                                       const RuntimeBounds &bounds, bool plugin = false);
    /// The runtime if the checks accepted it. A refusal is logged.
    [[nodiscard]] std::optional<JavaRuntime> acceptOrRefuse(const char *signature, int line, const std::string &path,
                                                            const CandidateVerdict &verdict, bool isOwn = false);
    /// Refuses what is not even a folder of a runtime's kind.
    void refuse(const char *signature, int line, const std::string &path, const std::string &reason);
    [[nodiscard]] static JavaRuntime runtimeOf(const std::string &path, const CandidateVerdict &verdict);
    /// The verdict on the candidate at `path`, or a refusal if its launch library is needed and will not do.
    [[nodiscard]] CandidateVerdict requiringLaunchLibrary(CandidateVerdict verdict, const std::string &path,
                                                          bool plugin = false) const;
    [[nodiscard]] static CandidateVerdict checkPlainRuntime(const std::string &path, const OptionalText &version,
                                                            const RuntimeBounds &bounds);
    /// Says that the runtime's `java` is for another processor; empty if it is not, or is missing.
    [[nodiscard]] static std::string otherProcessorReason(const std::string &path);

    /// Appends an option whose value Info.plist has under a key.
    void addOptionOf(std::vector<std::string> &options, const std::string &option, const char *key) const;
    void addDockOptions(std::vector<std::string> &options, const std::string &bundlePath) const;
    void addArguments(JavaParameters &parameters) const;
    void addCommandLine(JavaParameters &parameters) const;
    void addVersionSpecificOptions(std::vector<std::string> &options, const std::string &bundlePath,
                                   OptionalText &classPath) const;
    /// Puts the options for what the virtual machine recorded of the program before the others, if that still fits.
    void addRecordedOptions(std::vector<std::string> &options, const std::string &bundlePath,
                            const std::string &classPath) const;
    [[nodiscard]] bool matchesVersionPattern(const std::string &pattern, const platform::PropertyList &options) const;
};

} // namespace kestrav
