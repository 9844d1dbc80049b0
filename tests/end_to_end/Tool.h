#pragma once

#include "AppBundle.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>

// What the tests of kestrav-bundle share.

namespace kestrav::tests {

struct Outcome {
    int status = -1;
    std::string output; // including errors
};

/// Runs a program; arguments must not contain a single quote.
inline Outcome run(std::string command, const std::vector<std::string> &arguments) {
    for (const std::string &argument : arguments) {
        command += " '" + argument + "'";
    }
    Outcome outcome;
    FILE *pipe = popen((command + " 2>&1 </dev/null").c_str(), "re");
    std::array<char, 4096> buffer{};
    while (const auto count = fread(buffer.data(), 1, buffer.size(), pipe)) {
        outcome.output.append(buffer.data(), count);
    }
    const int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

/// The names in a folder, in any order.
inline std::vector<std::string> namesIn(const std::string &folder) {
    std::vector<std::string> names;
    for (const auto &entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    return names;
}

/// A runtime as a plain home, with all kinds of links.
inline std::string makeHome(const TemporaryDirectory &folder, const std::string &name = "home") {
    linkFile(KESTRAV_FAKE_JAVA, folder / (name + "/bin/java"));
    folder.write(name + "/release", "JAVA_VERSION=\"17.0.9\"\nIMPLEMENTOR=\"Example\"\n");
    folder.write(name + "/lib/._debris", "");
    folder.write("outside/conf/a", "from outside");
    fs::create_symlink("java", folder / (name + "/bin/java-link"));
    fs::create_directory_symlink("../../outside/conf", folder / (name + "/lib/conf"));
    fs::create_symlink(folder / (name + "/release"), folder / (name + "/lib/absolute"));
    fs::create_symlink("nowhere", folder / (name + "/lib/dangling"));
    fs::create_hard_link(folder / (name + "/release"), folder / (name + "/hard"));
    return folder / name;
}

/// An empty class for Java 8.
inline const std::string java8Class("\xCA\xFE\xBA\xBE\0\0\0\x34", 8);

/// Makes a Java archive with this manifest and, if one is given, a class whose name is not ASCII.
inline std::string makeJar(const TemporaryDirectory &folder, const std::string &name, const std::string &manifest,
                           bool hasClass = true) {
    folder.write("content/META-INF/MANIFEST.MF", manifest);
    folder.write("content/a/Größe.class", java8Class);
    folder.write(name, ""); // creates the folder
    std::vector<std::string> arguments{"--format", "zip", "-cf", folder / name, "-C", folder / "content"};
    arguments.insert(arguments.end(), {"META-INF/MANIFEST.MF", "a/Größe.class"});
    arguments.resize(arguments.size() - (hasClass ? 0 : 1));
    EXPECT_EQ(run("LC_ALL=C.UTF-8 bsdtar", arguments).output, "");
    return folder / name;
}

/// Runs the tool in the folder for an application of the usual name; `words` are options as a shell reads them.
inline Outcome makeTool(const TemporaryDirectory &folder, std::vector<std::string> options,
                        const std::string &words = "--installer") {
    options.insert(options.begin(), {"--identifier", "org.example.tool"});
    options.push_back(folder / "Test.app");
    // Other users can read what it makes all the same.
    return run("cd " + folder.path() + "; umask 077; " KESTRAV_TOOL " " + words, options);
}

} // namespace kestrav::tests
