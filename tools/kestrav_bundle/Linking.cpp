#include "Linking.h"

#include "ModuleInfo.h"
#include "PackagingOptions.h"
#include "ProgramRun.h"
#include "Sizes.h"
#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/text.h"

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <set>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

using platform::appendingPathComponent;

constexpr const char *automatic = "auto";

std::string joined(const std::vector<std::string> &words, const char *separator) {
    return std::accumulate(
        words.begin(), words.end(), std::string(),
        [&](const std::string &all, const std::string &word) { return all.empty() ? word : all + separator + word; });
}

/// What a program of the JDK says, on one line, without the stack traces that it may add to its messages, and without
/// the name of an exception that it did not expect.
std::string messageOf(const std::string &output) {
    const auto isInTrace = [](const std::string &line) { return line.starts_with('\t'); };
    const auto lines = linesIn(output);
    std::vector<std::string> messages;
    for (auto line = lines.begin(); line != lines.end(); ++line) {
        const bool namesException = line + 1 != lines.end() && isInTrace(line[1]); // which the message before it tells
        if (!isInTrace(*line) && (!namesException || messages.empty())) {
            messages.push_back(*line);
        }
    }
    if (!messages.empty() && messages.front().starts_with("Exception in thread ")) {
        constexpr std::string_view separator = ": ";
        const std::size_t name = messages.front().find(separator);
        messages.front().erase(0, name == std::string::npos ? 0 : name + separator.size());
    }
    return platform::onOneLine(joined(messages, " "));
}

/// The programs of the JDK do not run in the user's folder.
std::vector<std::string> absolutePaths(const std::vector<std::string> &paths) {
    std::vector<std::string> result;
    std::transform(paths.begin(), paths.end(), std::back_inserter(result),
                   [](const std::string &path) { return fs::absolute(path).string(); });
    return result;
}

/// The JDK's programs that know modules.
class Kit {
public:
    Kit(std::string home, std::string folder, const Progress &progress)
        : home_(std::move(home)), folder_(std::move(folder)), progress_(progress) {
        fs::create_directory(folder_);
    }

    [[nodiscard]] ProgramRun run(const char *name, const std::vector<std::string> &arguments) const {
        constexpr std::chrono::minutes patience(15);
        const std::string program = appendingPathComponent(home_, std::string("bin/") + name);
        if (!platform::fileExistsAtPath(program)) {
            throw Refusal("The runtime " + home_ + " has no bin/" + name + ", which --add-modules needs: give a JDK");
        }
        progress_.say(name + std::string(" ") + joined(arguments, " "));
        return runProgram(program, arguments, folder_, patience);
    }

    [[nodiscard]] std::string outputOf(const char *name, const std::vector<std::string> &arguments) const {
        const ProgramRun result = run(name, arguments);
        if (!result.succeeded) {
            refuse(name, result);
        }
        return result.output;
    }

    [[noreturn]] static void refuse(const char *name, const ProgramRun &result) {
        throw Refusal(std::string(name) + (result.end == ProgramRun::End::exited
                                               ? " refuses: " + messageOf(result.output)
                                               : " does not run, or does not end"));
    }

    /// The names of the JDK's own modules.
    [[nodiscard]] std::set<std::string> modules() const {
        std::set<std::string> names;
        for (const std::string &line : linesIn(outputOf("java", {"--list-modules"}))) {
            names.insert(line.substr(0, line.find('@')));
        }
        return names;
    }

private:
    std::string home_;
    std::string folder_;
    const Progress &progress_;
};

/// The JDK's modules that the program's classes name.
std::vector<std::string> neededModules(const Kit &kit, const Request &request, const Program &program) {
    const auto sources = absolutePaths(program.sources);
    if (sources.empty()) {
        throw Refusal("--add-modules auto looks at the program's archives, and there are none");
    }
    std::vector<std::string> options{"--ignore-missing-deps", "--print-module-deps", "--multi-release", "base"};
    if (!request.modulePath.empty()) {
        options.insert(options.end(), {"--module-path", joined(absolutePaths(request.modulePath), ":")});
    }
    options.insert(options.end(), sources.begin(), sources.end());
    ProgramRun found = kit.run("jdeps", options);
    if (!found.succeeded) {
        // Archives on the class path may be modules as well, and need one another as such.
        options.insert(options.begin(), {"--module-path", joined(sources, ":")});
        found = kit.run("jdeps", options);
    }
    const auto lines = linesIn(found.output);
    if (!found.succeeded || lines.empty()) {
        Kit::refuse("jdeps", found);
    }
    const auto known = kit.modules();
    auto modules = platform::componentsSeparatedBy(lines.back(), ","); // warnings come before it
    for (const std::string &source : request.module ? sources : std::vector<std::string>()) {
        // A module does not start without what it requires, whether its classes name that or not.
        if (const auto info = moduleInfoOf(source)) {
            modules.insert(modules.end(), info->needs.begin(), info->needs.end());
        }
    }
    std::erase_if(modules, [&](const std::string &module) { return known.find(module) == known.end(); });
    return modules.empty() ? std::vector<std::string>{"java.base"} : modules;
}

} // namespace

std::string linkRuntime(const std::string &home, const Request &request, const Program &program,
                        const std::string &folder, const Progress &progress, std::vector<std::string> &notes) {
    const Kit kit(home, folder, progress);
    std::vector<std::string> modules = request.addModules;
    if (std::erase(modules, automatic) > 0) {
        const auto needed = neededModules(kit, request, program);
        modules.insert(modules.end(), needed.begin(), needed.end());
        notes.emplace_back(
            "the runtime has the modules that jdeps sees; it does not see what is found by name, such as "
            "services (jdk.crypto.ec, jdk.localedata, jdk.zipfs) and reflection: --add-modules auto,MODULE");
    }
    std::sort(modules.begin(), modules.end()); // jdeps names one for each archive that needs it
    modules.erase(std::unique(modules.begin(), modules.end()), modules.end());
    std::string linked = fs::absolute(appendingPathComponent(folder, "linked")).string();
    std::vector<std::string> options{"--output",          linked,          "--add-modules", joined(modules, ","),
                                     "--no-header-files", "--no-man-pages"};
    if (!request.modulePath.empty()) {
        options.insert(options.end(), {"--module-path", joined(absolutePaths(request.modulePath), ":")});
    }
    options.insert(options.end(), request.jlinkOptions.begin(), request.jlinkOptions.end());
    static_cast<void>(kit.outputOf("jlink", options));
    if (!fs::is_directory(linked)) {
        throw Refusal("jlink made no runtime with --jlink-options " + joined(request.jlinkOptions, " "));
    }
    notes.push_back("linked a runtime of " + megabytes(sizeOfFolder(linked)) + " from " + home + " (" +
                    megabytes(sizeOfFolder(home)) + "): " + joined(modules, ", "));
    return linked;
}

} // namespace kestrav::tools
