#pragma once

#include "Program.h"

// The places that the program's files have in the application.

namespace kestrav::tools {

/// The application's folder of files as Info.plist names it.
constexpr const char *programFolder = "$APP_PACKAGE/Contents/Resources/app/";

/// The name of a file or folder that the user gave, also for "lib/" and "..".
[[nodiscard]] std::string nameOf(const std::string &path);

/// Adds one of the user's files under this name. Refuses a name that is taken, or that means something to the launcher.
void addFile(Program &program, const std::string &path, const std::string &name);

/// The file's place in the application, to which it is added unless the input folder has it or is it.
[[nodiscard]] Program::File place(Program &program, const Request &request, const std::string &path);

/// The request with those files of the program that lie in the input folder under their paths there.
[[nodiscard]] Request withInput(Request request);

/// Where Info.plist finds such a file; the folder of files itself has the name ".".
[[nodiscard]] std::string inProgramFolder(const Program::File &file);

/// Adds what lies in the input folder.
void addInput(Program &program, const Request &request);

/// Adds the file with options, and the image, if the request has one.
void addOptionsFile(Program &program, const Request &request);
void addSplash(Program &program, const Request &request);

} // namespace kestrav::tools
