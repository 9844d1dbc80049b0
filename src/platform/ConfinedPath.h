#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrav::platform {

/// Where something lies below a directory. No component is empty, ".", "..", or holds a "/" or a NUL, so code that has
/// such a path need not check it: only links can lead out of the directory.
class ConfinedPath {
public:
    /// The place that a name of unknown origin stands for. Every name starts in the directory: a leading "/" is
    /// ignored, and ".." removes the component before it. Empty if the name leads out of the directory or holds a NUL.
    [[nodiscard]] static std::optional<ConfinedPath> parse(std::string_view name);

    /// The components from the directory downwards; none for the directory itself.
    [[nodiscard]] const std::vector<std::string> &components() const { return components_; }

private:
    ConfinedPath() = default;

    std::vector<std::string> components_;
};

} // namespace kestrav::platform
