// The parts around the progress window: the icon's image, and the terminal's line in place of the window.

#include "platform/Application.h"
#include "platform/FileDescriptor.h"
#include "platform/IconImage.h"
#include "platform/OperationQueue.h"
#include "platform/linux/TerminalProgress.h"
#include "platform/testing.h"
#include "support/VirtualDisplay.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <utility>

namespace kestrav::platform::tests {
namespace {

/// A member of an icon file: its type, its length including these eight bytes, and its content.
std::string member(const std::string &type, const std::string &content) {
    const std::size_t length = content.size() + 8;
    return type + std::string(2, '\0') + static_cast<char>(length >> 8U) + static_cast<char>(length & 0xFFU) + content;
}

std::string png(unsigned width) {
    return std::string("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0", 18) + static_cast<char>(width >> 8U) +
           static_cast<char>(width & 0xFFU) + "the rest";
}

TEST(IconImage, IsTheOneThatFillsTheSquare) {
    const std::string small = png(32);
    const std::string fitting = png(128);
    const std::string large = png(512);
    const std::string header("icns\0\0\0\0", 8);
    const std::string other = member("is32", "other format");
    const std::string all = header + member("ic09", large) + other + member("ic07", fitting) + member("ic11", small);
    const std::string cutShort = header + member("ic11", small) + member("ic07", fitting.substr(1)).substr(0, 20);
    const struct {
        const char *name;
        std::string file;
        std::uint32_t edge;
        std::optional<std::string> image;
    } cases[] = {
        {"exact", all, 128, fitting},
        {"the next larger", all, 100, fitting},
        {"the largest", all, 1000, large},
        {"a plain image", small, 128, small},
        {"before the damage", cutShort, 128, small},
        {"no length", header + std::string("ic07\0\0\0\0", 8) + fitting, 128, std::nullopt},
        {"excessive length", header + "ic07\xFF\xFF\xFF\xFF" + fitting, 128, std::nullopt},
        {"no images", header + other, 128, std::nullopt},
        {"something else", "GIF89a", 128, std::nullopt},
        {"nothing", "", 128, std::nullopt},
    };
    for (const auto &[name, file, edge, image] : cases) {
        EXPECT_EQ(iconImage(file, edge), image) << name;
    }
}

/// A terminal to which standard error is redirected.
class Terminal {
public:
    Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        EXPECT_EQ(grantpt(master_.get()) | unlockpt(master_.get()), 0);
        const FileDescriptor slave = FileDescriptor::open(ptsname(master_.get()), O_RDWR | O_NOCTTY);
        dup2(slave.get(), STDERR_FILENO);
    }

    /// The output since the last call.
    [[nodiscard]] std::string written() const {
        constexpr char mark = '\x01'; // the terminal delivers its input in its own time, so this marks the end
        EXPECT_EQ(write(STDERR_FILENO, &mark, 1), 1);
        std::string text;
        char byte = 0;
        while (read(master_.get(), &byte, 1) == 1 && byte != mark) {
            text += byte;
        }
        return text;
    }

private:
    FileDescriptor master_;
};

TEST(TerminalProgress, IsOneLineUntilTheRunCannotBeCancelled) {
    const std::string erased = "\r\033[K";
    const auto line = [&](const std::string &text) { return erased + "\033[?7l" + text + "\033[?7h"; };
    const Terminal terminal;
    WindowControls controls;
    testing::setEnvironment({{"TERM", "dumb"}});
    TerminalProgress onDumb(controls);
    controls.label.setStringValue("Preparing\tTool");
    onDumb.update();
    testing::setEnvironment({{"TERM", "xterm"}});
    TerminalProgress progress(controls);
    progress.update();
    EXPECT_EQ(terminal.written(), "") << "a line cannot be erased there, and nothing has happened here";

    controls.progressBar.setDoubleValue(7.9);
    progress.update();
    EXPECT_EQ(terminal.written(), line("  7 %  Preparing Tool"));
    controls.progressBar.setDoubleValue(7.95);
    progress.update();
    EXPECT_EQ(terminal.written(), "") << "the same text";
    for (const auto &[value, percentage] : {std::pair{std::nan(""), "  0"}, {150.0, "100"}, {-1.0, "  0"}}) {
        controls.progressBar.setDoubleValue(value);
        progress.update();
        EXPECT_EQ(terminal.written(), line(percentage + std::string(" %  Preparing Tool")));
    }
    controls.progressBar.setIndeterminate(true);
    progress.update();
    EXPECT_EQ(terminal.written(), line("Preparing Tool"));

    TerminalProgress::erase();
    TerminalProgress::erase();
    EXPECT_EQ(terminal.written(), erased) << "something else is written";
    controls.label.setStringValue("Downloading");
    progress.update();
    const pid_t ending = fork();
    if (ending == 0) {
        endProcess(0);
    }
    ASSERT_EQ(waitpid(ending, nullptr, 0), ending);
    EXPECT_EQ(terminal.written(), line("Downloading") + erased) << "nothing stays on the terminal";
    controls.cancelButton.setEnabled(false);
    progress.update();
    controls.label.setStringValue("Running");
    progress.update();
    EXPECT_EQ(terminal.written(), erased);
}

/// A program whose task fails.
struct FailingProgram : ApplicationDelegate {
    void setControls(WindowControls & /*controls*/) override {}
    void applicationWillFinishLaunching() override {}
    void applicationDidFinishLaunching() override {
        OperationQueue::mainQueue().addOperation([] { throw std::runtime_error("for the loop"); });
    }
    void cancel() override {}
    void endAfterFailure() override { _exit(7); }
};

TEST(Application, AFailedTaskEndsTheProcessThroughTheProgram) {
    const kestrav::tests::VirtualDisplay display(false);
    for (const std::string &shown : {display.name(), std::string()}) {
        const auto body = [&] {
            testing::replacements().mainBundle = Bundle::create(KESTRAV_TEST_BUNDLE);
            testing::setEnvironment({{"DISPLAY", shown}});
            setenv("DISPLAY", shown.c_str(), 1);
            FailingProgram program;
            Application::main(0, nullptr, program);
        };
        EXPECT_EXIT(body(), ::testing::ExitedWithCode(7), "");
    }
}

} // namespace
} // namespace kestrav::platform::tests
