#include "StartReport.h"
#include "platform/format.h"
#include "platform/text.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace kestrav::tools {

namespace {

/// A word with control characters in the form of bash and zsh: as they are, they would not survive in a line.
std::string quotedWithControls(const std::string &word) {
    const auto byte = [&](std::size_t i) { return i < word.size() ? static_cast<unsigned char>(word[i]) : 0U; };
    const auto endsC1 = [&](std::size_t i) { return byte(i) >= 0x80 && byte(i) < 0xA0 && byte(i - 1) == 0xC2; };
    std::string result = "$'";
    for (std::size_t i = 0; i < word.size(); ++i) {
        const bool isControl = byte(i) < ' ' || byte(i) == 0x7F || endsC1(i) || endsC1(i + 1);
        const bool isPlain = !isControl && word[i] != '\'' && word[i] != '\\';
        result += isPlain ? std::string(1, word[i]) : platform::format("\\%03o", byte(i));
    }
    return result + "'";
}

/// A word as a shell has to be given it.
std::string quoted(const std::string &word) {
    constexpr std::string_view plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=./:,@%";
    if (!word.empty() && !word.starts_with('=') && word.find_first_not_of(plain) == std::string::npos) {
        return word;
    }
    if (platform::escapingControlCharacters(word) != word) {
        return quotedWithControls(word);
    }
    std::string result = "'";
    for (const char character : word) {
        result += character == '\'' ? R"('\'')" : std::string(1, character);
    }
    return result + "'";
}

void add(std::vector<std::string> &lines, const std::string &title, const std::vector<std::string> &entries) {
    if (!entries.empty() && !title.empty()) {
        lines.push_back(title);
    }
    std::transform(entries.begin(), entries.end(), std::back_inserter(lines),
                   [](const std::string &entry) { return "  " + entry; });
}

std::string runtimeLine(const StartReport::Runtime &runtime) {
    return runtime.path + (runtime.version ? ", version " + *runtime.version : "") + " (" + runtime.place + ")";
}

std::string mainClassLine(const StartReport &report) {
    return report.mainClass + (report.mainClassPlace.empty() ? "" : " in " + report.mainClassPlace) +
           (report.mainClassNeeds ? ", for Java " + std::to_string(*report.mainClassNeeds) : "");
}

} // namespace

std::vector<std::string> linesOf(const StartReport &report, const std::string &application) {
    std::vector<std::string> lines;
    const auto each = [](const auto &entries, const auto &lineOf) {
        std::vector<std::string> result;
        std::transform(entries.begin(), entries.end(), std::back_inserter(result), lineOf);
        return result;
    };
    lines.push_back(application + (report.problems.empty() ? " would start" : " would not start:"));
    add(lines, "", report.problems);
    if (report.runtime) {
        add(lines, "Runtime:", {runtimeLine(*report.runtime)});
    }
    add(lines, "Runtimes that were looked at:", each(report.candidates, [](const Candidate &candidate) {
            return candidate.path + " (" + candidate.place +
                   "): " + (candidate.verdict.launchVersion ? "it will do" : candidate.verdict.refusal);
        }));
    add(lines, "To be obtained before:", each(report.obtains, [](const StartReport::Obtained &obtained) {
            return obtained.from + " -> " + obtained.to;
        }));
    if (!report.mainClass.empty()) {
        add(lines, "Main class:", {mainClassLine(report)});
    }
    add(lines, "Left out:", each(report.leftOut, [](const StartReport::LeftOut &leftOut) {
            return leftOut.path + ": " + leftOut.reason;
        }));
    add(lines, "Missing on the class path:", report.missing);
    add(lines, "Variables that stand for nothing:", report.unreplaced);
    add(lines, "Where options, class path and arguments come from:",
        each(report.origins, [](const StartReport::Origin &origin) {
            return quoted(origin.value) + "  " + origin.file.value_or("the command line") +
                   (origin.line ? ":" + std::to_string(*origin.line) : "");
        }));
    std::string command;
    for (const std::string &word : report.commandLine) {
        command += (command.empty() ? "" : " ") + quoted(word);
    }
    add(lines, "Command line:", command.empty() ? std::vector<std::string>() : std::vector<std::string>{command});
    return lines;
}

} // namespace kestrav::tools
