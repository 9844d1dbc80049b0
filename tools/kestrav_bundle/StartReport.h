#pragma once

#include "mac_installer/launcher/CandidateVerdict.h"

#include <optional>
#include <string>
#include <vector>

namespace kestrav::tools {

/// How an application would start.
struct StartReport {
    /// What keeps it from starting, as far as that can be told without starting anything; none: it would start.
    std::vector<std::string> problems;

    struct Runtime {
        std::string path;
        std::optional<std::string> version; ///< unknown before it is obtained
        std::string place;                  ///< where it comes from
    };
    std::optional<Runtime> runtime;
    std::vector<Candidate> candidates; ///< also those behind the one that would be used

    std::string mainClass;
    std::string mainClassPlace;        ///< the archive or folder that has it; empty: none of the class path
    std::optional<int> mainClassNeeds; ///< the Java version
    std::vector<std::string> commandLine;

    /// Where a part of the command line comes from: a file, which is Info.plist for most, or the user's command line.
    struct Origin {
        std::string value;
        std::optional<std::string> file;
        std::optional<int> line;
    };
    std::vector<Origin> origins;

    struct LeftOut {
        std::string path;
        std::string reason;
        bool operator==(const LeftOut &) const = default;
    };
    std::vector<LeftOut> leftOut;        ///< options files, and runtimes below "ksv.baseDir"
    std::vector<std::string> missing;    ///< entries of the class path that are not there
    std::vector<std::string> unreplaced; ///< variables that stand for nothing

    struct Obtained {
        std::string from;
        std::string to;
    };
    std::vector<Obtained> obtains; ///< what would be downloaded, extracted or unpacked before that
};

/// The report for people, in lines.
[[nodiscard]] std::vector<std::string> linesOf(const StartReport &report, const std::string &application);

/// The report as a JSON object, with a line break at its end.
[[nodiscard]] std::string jsonOf(const StartReport &report);

/// The same where there is no report, for the reason given.
[[nodiscard]] std::string jsonOfRefusal(const std::string &reason);

} // namespace kestrav::tools
