#pragma once

#include <string>

namespace kestrav {

/// The launch library's entry, as the JDK's java_md.h and java.h declare it: arguments, extra Java arguments,
/// application classes, full and dot version, program and launcher name, four flags.
using JLI_LaunchFxn = int(int argc, char **argv, int jargc, const char **jargv, int appclassc, const char **appclassv,
                          const char *fullversion, const char *dotversion, const char *pname, const char *lname,
                          unsigned char javaargs, unsigned char cpwildcard, unsigned char javaw, int ergo);

/// One instance a process, without locks: written while the process has one thread, or by the worker alone. Plain data,
/// because the launch library may enter `main` again on another thread, or end the process, at any time; what the
/// pointers lead to is never freed.
struct LaunchGlobals {
    /// Set once the launch library is loaded: from then on a second entry of `main` calls it at once.
    JLI_LaunchFxn *JLI_LaunchFxnPtr = nullptr;
    /// The version that the launch library is told, set just before it is called.
    const char *launchJavaVersion = nullptr;
    /// The vector for the launch library.
    int argc = 0;
    char **argv = nullptr;
    /// Entry 0 of the vector that `main` was given.
    const char *programPath = nullptr;
};
extern LaunchGlobals launchGlobals;

/// Sets `launchGlobals.launchJavaVersion` to a copy that is never freed.
void setLaunchJavaVersion(const std::string &version);

} // namespace kestrav
