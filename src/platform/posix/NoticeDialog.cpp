#include "platform/posix/NoticeDialog.h"

#include "platform/Exception.h"
#include "platform/Executable.h"
#include "platform/ProcessInfo.h"
#include "platform/Task.h"
#include "platform/text.h"
#include "platform/uninterrupted.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace kestrav::platform {

namespace {

constexpr int patience = 5000;             // milliseconds
constexpr std::string_view onScreen = "1"; // what the process answers

std::string readWhole(int descriptor) {
    std::string text;
    std::array<char, 4096> piece{};
    for (;;) {
        const ssize_t count = uninterrupted([&] { return ::read(descriptor, piece.data(), piece.size()); });
        if (count <= 0) {
            return text;
        }
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
}

bool answers(const FileDescriptor &end) {
    pollfd answer{end.get(), POLLIN, 0};
    char ignored = 0;
    return uninterrupted([&] { return poll(&answer, 1, patience); }) > 0 &&
           uninterrupted([&] { return ::read(end.get(), &ignored, 1); }) == 1;
}

} // namespace

bool noticesAreUnwanted() {
    return ProcessInfo::processInfo().environmentVariable("KESTRAV_NOTICE") == "stderr";
}

bool showInOwnProcess(const NoticeDialog &dialog) {
    const std::string content = dialog.title + '\0' + dialog.message + '\0' + (dialog.usesSessionBus ? "1" : "");
    try {
        Pipe input;
        Pipe output;
        const FileDescriptor nowhere = FileDescriptor::open("/dev/null", O_RDWR);
        Task task(executablePath(), {noticeDialogMarker}); // ended if it is not shown in time
        task.setStandardInput(input.readEnd.get());
        task.setStandardOutput(output.writeEnd.get());
        task.setStandardError(nowhere.get()); // who waits for the end of our output does not wait for the dialog's
        task.launch();
        input.readEnd.reset();
        output.writeEnd.reset();
        if (!writeWithin(input.writeEnd.get(), content, patience)) {
            return false;
        }
        input.writeEnd.reset();
        if (!answers(output.readEnd)) {
            return false;
        }
        task.leave();
        return true;
    } catch (const Exception &) {
        return false;
    }
}

int showNoticeDialog() {
    NoticeDialog dialog;
    const std::string content = readWhole(STDIN_FILENO);
    const std::vector<std::string> parts = componentsSeparatedBy(content, std::string_view("\0", 1));
    if (parts.size() != 3) {
        return EXIT_FAILURE;
    }
    dialog.title = parts[0];
    dialog.message = parts[1];
    dialog.usesSessionBus = !parts[2].empty();
    const auto tell = [] {
        static_cast<void>(writeAll(STDOUT_FILENO, onScreen));
        close(STDOUT_FILENO);
    };
    return runNoticeDialog(dialog, tell) ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace kestrav::platform
