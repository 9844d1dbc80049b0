#include "platform/ConfinedPath.h"

#include <algorithm>

namespace kestrav::platform {

std::optional<ConfinedPath> ConfinedPath::parse(std::string_view name) {
    if (name.find('\0') != std::string_view::npos) {
        return std::nullopt;
    }
    ConfinedPath path;
    for (std::size_t start = 0; start < name.size();) {
        const std::size_t end = std::min(name.find('/', start), name.size());
        const std::string_view component = name.substr(start, end - start);
        if (component == "..") {
            if (path.components_.empty()) {
                return std::nullopt;
            }
            path.components_.pop_back();
        } else if (!component.empty() && component != ".") {
            path.components_.emplace_back(component);
        }
        start = end + 1;
    }
    return path;
}

} // namespace kestrav::platform
