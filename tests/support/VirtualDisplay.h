#pragma once

#include "support/Program.h"
#include "support/TemporaryDirectory.h"

#include <iterator>
#include <optional>
#include <vector>

namespace kestrav::tests {

/// An X server without a screen, on its own display number, with a window manager if wanted. Ends with this object.
class VirtualDisplay {
public:
    explicit VirtualDisplay(bool windowManager) {
        server_.emplace("Xvfb -displayfd 1 -screen 0 1280x800x24 -nolisten tcp -noreset");
        name_ = ":" + server_->firstLine();
        if (windowManager) {
            manager_.emplace("env -i PATH=/usr/bin:/bin HOME=" + folder_.path() + " DISPLAY=" + name_ +
                             " openbox --startup 'echo ready'");
        }
    }

    /// The value for `DISPLAY`.
    [[nodiscard]] const std::string &name() const { return name_; }

    /// Ends the server like a crash.
    void stop() {
        manager_.reset();
        server_.reset();
    }

    /// Runs a shell command on the display and returns what it prints.
    [[nodiscard]] std::string run(const std::string &command) const {
        const std::string output = folder_ / "output";
        static_cast<void>(std::system(("DISPLAY=" + name_ + " " + command + " >" + output + " 2>/dev/null").c_str()));
        std::ifstream file(output);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    TemporaryDirectory folder_; // the window manager's home, and the output of commands
    std::string name_;
    std::optional<Program> server_;
    std::optional<Program> manager_;
};

} // namespace kestrav::tests
