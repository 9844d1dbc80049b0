#pragma once

#include <string>

// The only place that knows where a runtime's home is: a bundle keeps it in Contents/Home, a plain runtime directory is
// its own home, and an older JDK keeps the runtime proper in "jre" below it.

namespace kestrav {

/// The home of the runtime at `runtimePath`: the directory itself if it holds bin/java and no Contents/Home, else its
/// Contents/Home (whether that exists or not).
[[nodiscard]] std::string runtimeHome(const std::string &runtimePath);

/// `runtimeHome`, or the "jre" below it where that exists: the directory whose bin/java is started.
[[nodiscard]] std::string getJreLocation(const std::string &runtimePath);

/// The program in `getJreLocation` that runs Java.
[[nodiscard]] std::string javaProgram(const std::string &runtimePath);

/// The bundle that a home belongs to: JAVA_HOME names the Contents/Home of one on a Mac, which says nothing about
/// itself there. Any other path is returned as it is.
[[nodiscard]] std::string bundleOfHome(const std::string &path);

/// The runtime in a folder that an archive was extracted to: the folder itself or, if that holds none, the only folder
/// in it that does. Those who publish runtimes put such a folder around the whole.
[[nodiscard]] std::string extractedRuntime(const std::string &folder);

} // namespace kestrav
