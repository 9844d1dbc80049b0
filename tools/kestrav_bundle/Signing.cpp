#include "Signing.h"

#include "MachO.h"
#include "ProgramRun.h"
#include "Template.h"
#include "launcherEntitlements.h"
#include "platform/FileManager.h"
#include "platform/PropertyList.h"
#include "platform/path.h"
#include "platform/text.h"

#include <algorithm>
#include <filesystem>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

using platform::appendingPathComponent;
using platform::PropertyList;

/// What programs with a Java virtual machine may do, as a property list without comments: a signature with comments is
/// not accepted.
std::string entitlements(const Request &request) {
    const auto content =
        request.entitlements ? platform::contentsOfFile(*request.entitlements) : std::string(launcherEntitlements);
    const auto list = content ? PropertyList::parse(*content) : std::nullopt;
    if (!list || list->as<PropertyList::Dictionary>() == nullptr) {
        throw Refusal("The entitlements " + *request.entitlements +
                      (content ? " are not a property list with a dictionary" : " cannot be read"));
    }
    return list->serialize();
}

/// The files with code, in the order in which they are signed: what lies deeper comes first.
struct Code {
    std::vector<std::string> others; ///< without entitlements
    std::vector<std::string> runtimePrograms;
};

Code codeOf(const std::string &application) {
    const std::string runtime = appendingPathComponent(application, templateRuntime) + "/";
    const std::string launcher = appendingPathComponent(application, templateExecutable);
    Code code;
    for (const auto &entry : fs::recursive_directory_iterator(application)) {
        const std::string path = entry.path().string();
        const MachOKind kind = entry.is_symlink() || path == launcher ? MachOKind::none : machOKind(path);
        if (kind != MachOKind::none) {
            const bool isJava = kind == MachOKind::program && path.starts_with(runtime);
            (isJava ? code.runtimePrograms : code.others).push_back(path);
        }
    }
    for (auto *files : {&code.others, &code.runtimePrograms}) {
        const auto depth = [](const std::string &path) { return std::count(path.begin(), path.end(), '/'); };
        std::sort(files->begin(), files->end(), [&](const std::string &a, const std::string &b) {
            return depth(a) != depth(b) ? depth(a) > depth(b) : a < b;
        });
    }
    return code;
}

/// Replaces the links in a runtime's Contents/MacOS, which some makers put there, by what they lead to: the main file
/// of a signed bundle must not be a link.
void replaceLinks(const std::string &runtime) {
    std::error_code missing;
    std::vector<fs::path> links;
    for (const auto &entry : fs::directory_iterator(runtime + "/Contents/MacOS", missing)) {
        if (entry.is_symlink() && fs::is_regular_file(entry.path())) {
            links.push_back(entry.path());
        }
    }
    for (const fs::path &link : links) {
        const fs::path copy = link.string() + ".copy";
        fs::copy_file(link, copy);
        fs::rename(copy, link);
    }
}

class Signer {
public:
    Signer(const Request &request, std::string folder)
        : folder_(std::move(folder)), program_(programInPath("codesign").value_or("")),
          options_({"--force", "--options", "runtime", "--sign", *request.signingIdentity}) {
        fs::create_directory(folder_);
        const std::string file = fs::absolute(appendingPathComponent(folder_, "entitlements")).string();
        if (const auto error = platform::writeFileAtomically(file, entitlements(request))) {
            throw Refusal(file + " could not be written: " + error.message());
        }
        if (*request.signingIdentity != "-") { // nobody's signature has no time
            options_.emplace_back("--timestamp");
        }
        entitlements_ = {"--entitlements", file};
    }

    void sign(const std::vector<std::string> &paths, bool entitled) const {
        constexpr std::size_t atOnce = 50; // so that a command line is not too long
        std::vector<std::string> options = options_;
        if (entitled) {
            options.insert(options.end(), entitlements_.begin(), entitlements_.end());
        }
        for (std::size_t i = 0; i < paths.size(); i += atOnce) {
            std::vector<std::string> arguments = options;
            arguments.insert(arguments.end(), paths.begin() + static_cast<std::ptrdiff_t>(i),
                             paths.begin() + static_cast<std::ptrdiff_t>(std::min(i + atOnce, paths.size())));
            run(arguments, "The application could not be signed");
        }
    }

    void verify(const std::string &application) const {
        run({"--verify", "--strict", "--deep", application}, "The signed application is not accepted");
    }

private:
    void run(const std::vector<std::string> &arguments, const std::string &failure) const {
        constexpr std::chrono::minutes patience(10); // a time stamp comes from Apple; a key may have to be unlocked
        const ProgramRun run = runProgram(program_, arguments, folder_, patience);
        if (!run.succeeded) {
            throw Refusal(failure + ": " +
                          (run.end == ProgramRun::End::exited     ? platform::onOneLine(run.output)
                           : run.end == ProgramRun::End::timedOut ? "codesign did not end within ten minutes"
                                                                  : program_ + " could not be started"));
        }
    }

    std::string folder_;
    std::string program_;
    std::vector<std::string> options_;
    std::vector<std::string> entitlements_;
};

} // namespace

void requireSigning(const Request &request) {
    if (!request.signingIdentity) {
        if (request.entitlements) {
            throw Refusal("--entitlements is for an application that is signed: give --sign as well");
        }
        return;
    }
    if (!programInPath("codesign")) {
        throw Refusal("Signing needs macOS's codesign, which is not on this machine: make the application without " +
                      std::string("--sign and sign it on a Mac, or make it there"));
    }
    static_cast<void>(entitlements(request));
}

std::vector<std::string> signApplication(const Request &request, const std::string &application,
                                         const std::string &folder) {
    const std::string whole = fs::absolute(application).string();
    const std::string runtime = appendingPathComponent(whole, templateRuntime);
    replaceLinks(runtime);
    const Code code = codeOf(whole);
    const Signer signer(request, folder);
    signer.sign(code.others, false);
    signer.sign(code.runtimePrograms, true);
    if (platform::directoryExistsAtPath(runtime)) {
        signer.sign({runtime}, false);
    }
    signer.sign({whole}, true);
    signer.verify(whole);
    const bool byNobody = *request.signingIdentity == "-";
    std::vector<std::string> notes{"signed " + (byNobody ? "by nobody" : "by " + *request.signingIdentity) + ": " +
                                   std::to_string(code.others.size() + code.runtimePrograms.size()) +
                                   " libraries and programs, then the whole"};
    if (platform::fileExistsAtPath(appendingPathComponent(whole, "Contents/Resources/app/jre.tar.gz"))) {
        notes.emplace_back("the runtime in the archive keeps its maker's signatures");
    }
    return notes;
}

} // namespace kestrav::tools
