#pragma once

#include "support/TemporaryDirectory.h"

#include <string>
#include <vector>

// What the tests of kestrav-bundle share.

namespace kestrav::tests {

struct Outcome {
    int status = -1;
    std::string output; // and errors
};

/// Runs a program; no argument has a single quote.
Outcome run(std::string command, const std::vector<std::string> &arguments);

/// The names of what is in a folder, in no order.
std::vector<std::string> namesIn(const std::string &folder);

/// A runtime as a plain home, with all kinds of links.
std::string makeHome(const TemporaryDirectory &folder, const std::string &name = "home");

/// A class of Java 8 that has nothing else.
extern const std::string java8Class;

/// A Java archive with this manifest and, if it is to have one, a class whose name is not ASCII.
std::string makeJar(const TemporaryDirectory &folder, const std::string &name, const std::string &manifest,
                    bool hasClass = true);

/// Runs the tool in the folder for an application of the usual name; `words` are options as a shell reads them.
Outcome makeTool(const TemporaryDirectory &folder, std::vector<std::string> options, const std::string &words = "");

} // namespace kestrav::tests
