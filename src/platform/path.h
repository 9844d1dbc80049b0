#pragma once

#include <string>
#include <string_view>
#include <vector>

// Paths with the platform's rules, which differ from std::filesystem's: joining an absolute second part keeps both.

namespace kestrav::platform {

/// The path without slashes at its end, except for the root itself. Refers to `path`.
[[nodiscard]] std::string_view withoutTrailingSlashes(std::string_view path);

/// `path` + "/" + `component`, with exactly one "/" between them and none at the end. An empty path gives the
/// component.
[[nodiscard]] std::string appendingPathComponent(std::string_view path, std::string_view component);

/// The components of a path; a leading "/" and a trailing one each count as the component "/"; runs of "/" are one.
[[nodiscard]] std::vector<std::string> pathComponents(std::string_view path);

/// The path without its last component: "/a/b" gives "/a", "/a" gives "/", "a" gives "".
[[nodiscard]] std::string deletingLastPathComponent(std::string_view path);

/// The last component: "/a/b/" gives "b", "/" gives "/", "" gives "".
[[nodiscard]] std::string lastPathComponent(std::string_view path);

/// True if the path begins with "/" or "~".
[[nodiscard]] bool isAbsolutePath(std::string_view path);

/// The file URL of an absolute path as text: "file:///a%20b", with a "/" at its end for a directory.
[[nodiscard]] std::string fileURLString(std::string_view path, bool isDirectory);

} // namespace kestrav::platform
