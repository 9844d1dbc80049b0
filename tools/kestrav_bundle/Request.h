#pragma once

#include "VersionedOptions.h"
#include "mac_installer/launcher/Launcher.h"

#include <chrono>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kestrav::tools {

/// Why no application is made: a whole sentence without its full stop, for the user.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// How a runtime travels with the application.
enum class RuntimeForm {
    archive, ///< packed, extracted at every start, or once where it is kept
    folder,  ///< as it is, used in place
};

/// Files that are opened with the application.
struct FileType {
    std::string extension;
    std::string description; ///< empty: the extension
    std::string mimeType;    ///< empty: none
};

struct Language {
    std::string name;                 ///< as in `de.lproj`
    std::optional<std::string> table; ///< a string table of the user's; else the template's
};

/// The application that the user asks for. Paths are the user's files; all is checked when the request is carried
/// out.
struct Request {
    std::string output;                     ///< ends in ".app"
    std::string name;                       ///< for people
    std::optional<std::string> menuName;    ///< stands above that name
    std::optional<std::string> destination; ///< the folder of an application that is called as its name says
    std::string identifier;
    std::string version = "1.0.0";

    std::optional<std::string> input; ///< a folder whose content becomes that of the application's folder of files
    std::optional<std::string> jar;
    std::optional<std::string> mainClass;
    std::optional<std::string> module;   ///< "MODULE" or "MODULE/CLASS": what is started instead of a class
    std::vector<std::string> modulePath; ///< archives, folders of classes, and folders that hold several of them
    std::vector<std::string> classPath;  ///< what begins with "$" is looked up where the application runs
    std::vector<std::string> files;      ///< copied beside the class path
    std::vector<std::string> content;    ///< copied into Contents
    std::vector<std::string> vmOptions;
    std::vector<VersionedOption> versionedOptions; ///< for the virtual machines of some versions
    std::vector<std::string> arguments;
    std::optional<std::string> optionsFile; ///< "$APP_PACKAGE/..." and "~..." are looked up where the application runs
    std::optional<std::string> splash;      ///< an image that the virtual machine shows while it starts
    std::string workingDirectory = "$APP_PACKAGE/Contents/Resources/app";

    std::optional<std::string> icon;
    std::vector<Language> languages;  ///< none: those of the template
    std::optional<std::string> info;  ///< a property list whose entries stand above the ones made here
    bool classesElsewhere = false;    ///< that list has a class path of its own, or what can change it
    bool earlierInstallation = false; ///< that list names one, whose runtime may be used

    std::vector<FileType> fileTypes;
    std::vector<std::string> urlSchemes;            ///< of the addresses that are opened with it
    std::map<std::string, std::string> information; ///< further entries of Info.plist

    std::optional<std::string> desktopEntry;           ///< a file for the desktops of Linux, outside the application
    std::optional<std::string> installPath;            ///< the application's, once it is installed; none: `output`
    std::map<std::string, std::string> localizedNames; ///< names in that entry, by language

    std::vector<std::string> addModules;   ///< those that a runtime is linked with; "auto": those that are needed
    std::vector<std::string> jlinkOptions; ///< for that
    std::optional<std::string> runtime;
    std::optional<RuntimeForm> runtimeForm; ///< as asked for, else the usual one: there is one once it is parsed
    std::optional<std::string> runtimeURL;
    std::optional<std::string> runtimeSHA256; ///< of the archive at that address
    bool addsClassArchive = true;             ///< to a runtime that lacks the one of its classes
    bool trains = false; ///< the application runs once, and what its virtual machine records goes into it
    std::vector<std::string> trainingArguments;
    std::optional<std::chrono::seconds> trainingTime; ///< after which it is asked to end; none: it ends by itself
    bool keepRuntime = false;                         ///< what was extracted or downloaded stays for later starts
    RuntimeBounds bounds;
    std::optional<std::vector<std::string>> search; ///< none: the standard locations; empty: nowhere

    bool noWindow = false;  ///< how the runtime is obtained is not shown
    bool installer = false; ///< the program is a child, behind the launcher's window, instead of the launcher's process

    std::optional<std::string> signingIdentity; ///< whose signature the application gets; none: it is not signed
    std::optional<std::string> entitlements;    ///< a property list; none: those that Java needs

    std::optional<std::string> bundleTemplate; ///< none: the one that was built or installed with this program
    bool replace = false;                      ///< an application of that name may be there
    bool dryRun = false;                       ///< all is checked, and nothing is written
    bool verbose = false;                      ///< each step is told

    bool check = false;  ///< no application: it is told how `output` would start with `arguments`
    bool asJSON = false; ///< for programs

    bool clean = false; ///< no application: kept runtimes are removed, from the folder `output` if it is not empty
};

} // namespace kestrav::tools
