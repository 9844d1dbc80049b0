// What stands behind the progress window, and in its place: the icon's image and the line on the terminal.

#include "platform/linux/IconImage.h"
#include "platform/linux/TerminalProgress.h"
#include "platform/testing.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace kestrav::platform::tests {
namespace {

std::string bigEndian(std::size_t number) {
    std::string bytes;
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        bytes += static_cast<char>(number >> shift & 0xFFU);
    }
    return bytes;
}

std::string png(std::size_t width) {
    return std::string("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR", 16) + bigEndian(width) + "the rest";
}

std::string member(const std::string &type, const std::string &content) {
    return type + bigEndian(content.size() + 8) + content;
}

TEST(IconImage, IsTheOneThatFillsTheSquare) {
    const std::string small = png(32);
    const std::string fitting = png(128);
    const std::string large = png(512);
    const std::string header = "icns" + bigEndian(0);
    const std::string all = header + member("ic09", large) + member("is32", "other format") + member("ic07", fitting) +
                            member("ic11", small);
    std::string cutShort = header + member("ic11", small) + member("ic07", fitting);
    cutShort.pop_back();
    struct Case {
        const char *name;
        std::string file;
        std::uint32_t edge;
        std::optional<std::string> image;
    };
    const Case cases[] = {
        {"exact", all, 128, fitting},
        {"the next larger", all, 100, fitting},
        {"the largest", all, 1000, large},
        {"the smallest that fills it", all, 1, small},
        {"a plain image", small, 128, small},
        {"before the damage", cutShort, 128, small},
        {"no length", header + "ic07" + bigEndian(0) + fitting, 128, std::nullopt},
        {"excessive length", header + "ic07" + bigEndian(0xFFFFFFFFU) + fitting, 128, std::nullopt},
        {"no images", header + member("is32", "other format"), 128, std::nullopt},
        {"something else", "GIF89a", 128, std::nullopt},
        {"nothing", "", 128, std::nullopt},
    };
    for (const auto &[name, file, edge, image] : cases) {
        EXPECT_EQ(iconImage(file, edge), image) << name;
    }
}

/// Standard error is a terminal while this lives.
class TerminalOnStandardError {
public:
    TerminalOnStandardError() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {
        EXPECT_EQ(grantpt(master_) | unlockpt(master_), 0);
        const int slave = open(ptsname(master_), O_RDWR | O_NOCTTY | O_CLOEXEC);
        dup2(slave, STDERR_FILENO);
        close(slave);
    }
    TerminalOnStandardError(const TerminalOnStandardError &) = delete;
    TerminalOnStandardError &operator=(const TerminalOnStandardError &) = delete;
    ~TerminalOnStandardError() {
        dup2(saved_, STDERR_FILENO);
        close(saved_);
        close(master_);
    }

    /// What has been written since the last call.
    [[nodiscard]] std::string written() const {
        std::array<char, 4096> buffer{};
        const ssize_t count = read(master_, buffer.data(), buffer.size());
        return {buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
    }

private:
    int saved_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    int master_;
};

std::string line(const std::string &text) {
    return "\r\033[K\033[?7l" + text + "\033[?7h";
}
constexpr const char *erased = "\r\033[K";

TEST(TerminalProgress, IsOneLineUntilTheRunCannotBeCancelled) {
    const TerminalOnStandardError terminal;
    testing::setEnvironment({{"TERM", "xterm"}});
    WindowControls controls;
    controls.label.setStringValue("Preparing\tTool");
    TerminalProgress progress(controls);
    progress.update();
    EXPECT_EQ(terminal.written(), "") << "nothing has happened yet";

    controls.progressBar.setDoubleValue(7.9);
    progress.update();
    EXPECT_EQ(terminal.written(), line("  7 %  Preparing Tool"));
    controls.progressBar.setDoubleValue(7.95);
    progress.update();
    EXPECT_EQ(terminal.written(), "") << "the same text";
    controls.progressBar.setIndeterminate(true);
    progress.update();
    EXPECT_EQ(terminal.written(), line("Preparing Tool"));

    TerminalProgress::erase();
    TerminalProgress::erase();
    EXPECT_EQ(terminal.written(), erased) << "something else is written";
    controls.label.setStringValue("Downloading");
    progress.update();
    EXPECT_EQ(terminal.written(), line("Downloading"));
    controls.cancelButton.setEnabled(false);
    progress.update();
    controls.label.setStringValue("Running");
    progress.update();
    EXPECT_EQ(terminal.written(), erased);
}

TEST(TerminalProgress, NeedsATerminalThatCanEraseALine) {
    const TerminalOnStandardError terminal;
    for (const char *name : {"dumb", ""}) {
        testing::setEnvironment({{"TERM", name}});
        WindowControls controls;
        TerminalProgress progress(controls);
        controls.label.setStringValue("Preparing");
        progress.update();
        EXPECT_EQ(terminal.written(), "");
    }
}

} // namespace
} // namespace kestrav::platform::tests
