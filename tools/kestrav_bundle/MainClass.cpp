#include "MainClass.h"

#include "Interruption.h"
#include "JavaClass.h"
#include "Program.h"
#include "Request.h"
#include "platform/FileManager.h"
#include "platform/text.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace kestrav::tools {

namespace {

constexpr std::string_view classPathOption = "-Djava.class.path=";

/// The class path of the last option that sets one, the next entry last.
std::vector<std::string> pendingEntries(const std::vector<std::string> &options) {
    const auto found = std::find_if(options.rbegin(), options.rend(),
                                    [](const std::string &each) { return each.starts_with(classPathOption); });
    if (found == options.rend()) {
        return {};
    }
    auto entries = platform::componentsSeparatedBy(found->substr(classPathOption.size()), ":");
    std::reverse(entries.begin(), entries.end());
    return entries;
}

/// Adds what an archive's manifest names.
void addManifestPath(std::vector<std::string> &pending, const std::string &archive) {
    auto named = manifestOf(archive).classPath;
    std::for_each(named.rbegin(), named.rend(), [&](const std::string &name) {
        pending.push_back((std::filesystem::path(archive).parent_path() / name).lexically_normal().string());
    });
}

} // namespace

void examineMainClass(StartReport &report, const std::vector<std::string> &options, int runtimeVersion) {
    std::vector<std::string> unreadable;
    std::set<std::string> known;
    for (auto pending = pendingEntries(options); !pending.empty() && report.mainClassPlace.empty();) {
        raiseIfInterrupted();
        const std::string entry = std::move(pending.back());
        pending.pop_back();
        if (!known.insert(entry).second || !platform::fileExistsAtPath(entry)) {
            continue;
        }
        try {
            report.mainClassNeeds = javaVersionOfClass(entry, report.mainClass);
            report.mainClassPlace = report.mainClassNeeds ? entry : "";
            if (!platform::directoryExistsAtPath(entry)) {
                addManifestPath(pending, entry);
            }
        } catch (const Refusal &refusal) {
            unreadable.emplace_back(refusal.what());
        }
    }
    if (report.mainClassNeeds && runtimeVersion >= 0 && *report.mainClassNeeds > runtimeVersion) {
        report.problems.push_back("the main class needs Java " + std::to_string(*report.mainClassNeeds) +
                                  ", but the runtime is Java " + std::to_string(runtimeVersion));
    }
    if (report.mainClassPlace.empty() && !mayComeFromElsewhere(report.mainClass, options)) {
        report.problems.push_back("the main class " + report.mainClass + " is in no entry of the class path");
        report.problems.insert(report.problems.end(), unreadable.begin(), unreadable.end());
    }
}

} // namespace kestrav::tools
