// The progress window on a real display, used as a person uses it.

#include "Launch.h"
#include "support/VirtualDisplay.h"
#include "support/muteSocket.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>

namespace kestrav::tests {
namespace {

/// The visible progress windows, one number per line. The bundles' string table has no title, so the key is shown.
std::string windows(const VirtualDisplay &display) {
    return display.run("xdotool search --onlyvisible --name '^WizardCaption$'");
}

bool waitForWindows(const VirtualDisplay &display, std::ptrdiff_t count) {
    return waitUntil(
        [&] {
            const std::string found = windows(display);
            return std::count(found.begin(), found.end(), '\n') == count;
        },
        std::to_string(count) + " windows");
}

TEST(ProgressWindow, CancelsTheRunWhateverTheLengthOfTheName) {
    const VirtualDisplay display(true);
    std::string size;
    for (const auto &[action, name] :
         {std::pair("key Escape", std::string("Test")), std::pair("key alt+F4", std::string(300, 'W')),
          std::pair("mousemove --window $W $((WIDTH-60)) $((HEIGHT-35)) click 1", std::string("Test"))}) {
        SCOPED_TRACE(action);
        AppBundle bundle;
        bundle.info["CFBundleName"] = name;
        bundle.folder().write("Test.app/Contents/Resources/en.lproj/Localizable.strings",
                              R"("PrepareInstaller" = "Preparing %@";)");
        static_cast<void>(bundle.addPackedRuntime());
        const std::string unpacker = bundle.folder() / "unpacker";
        Launch run(bundle, {.environment = {
                                {"DISPLAY", display.name()}, {"FAKE_UNPACK", "hang"}, {"FAKE_UNPACK_PID", unpacker}}});
        waitUntil([&] { return contentOf(unpacker).ends_with('\n'); }, "the unpacker");
        waitForWindows(display, 1);
        waitUntil([&] { return display.run("xdotool getactivewindow") == windows(display); }, "the focus");
        const std::string found = display.run("xdotool getactivewindow getwindowgeometry | grep Geometry");
        EXPECT_NE(found, "");
        size = size.empty() ? found : size;
        EXPECT_EQ(found, size) << "a long name makes the window wide";
        static_cast<void>(display.run(std::string("sh -c 'W=$(xdotool getactivewindow); eval $(xdotool "
                                                  "getwindowgeometry --shell $W); xdotool ") +
                                      action + "'"));
        EXPECT_EQ(run.wait(), 1);
        EXPECT_FALSE(run.childStarted());
        EXPECT_EQ(run.errors(), "");
        EXPECT_TRUE(kill(std::stoi(contentOf(unpacker)), 0) != 0 && errno == ESRCH) << "the unpacker lives on";
    }
}

TEST(ProgressWindow, OnlyClosesWhileTheProgramRuns) {
    VirtualDisplay display(true);
    const AppBundle bundle;
    const Start start{.environment = {{"DISPLAY", display.name()}, {"FAKE_PAUSE", "1"}}};
    const auto endsWithItsChild = [](Launch &run) {
        run.sendSignal(SIGTERM);
        EXPECT_EQ(run.wait(), 128 + SIGTERM);
        EXPECT_EQ(run.errors(), "");
    };

    // Before it would close by itself; a busy machine may need another try.
    bool atOnce = false;
    for (int tries = 0; tries < 5 && !atOnce; ++tries) {
        const auto begin = std::chrono::steady_clock::now();
        Launch closed(bundle, start);
        const Report report = closed.report();
        EXPECT_EQ(report.descriptors, (std::set<std::string>{"0", "1", "2"}));
        EXPECT_EQ(report.environment.count("GSK_RENDERER"), 0U); // the launcher's own
        waitForWindows(display, 1);
        static_cast<void>(display.run("xdotool key alt+F4"));
        waitForWindows(display, 0);
        atOnce = std::chrono::steady_clock::now() - begin < std::chrono::seconds(5);
        endsWithItsChild(closed);
    }
    EXPECT_TRUE(atOnce);

    Launch forgotten(bundle, start);
    waitForWindows(display, 1);
    waitForWindows(display, 0); // once the program has had time to show its own
    endsWithItsChild(forgotten);

    Launch bereft(bundle, start);
    waitForWindows(display, 1);
    EXPECT_TRUE(bereft.report().has("org.example.Main"));
    display.stop();
    endsWithItsChild(bereft);
}

TEST(NoticeDialog, StandsInForANotificationServiceUntilItIsClosed) {
    const VirtualDisplay display(true);
    AppBundle bundle;
    const std::string bus = bundle.folder() / "bus";
    const platform::FileDescriptor mute = muteSocket(bus);
    const auto dialog = [&] { return display.run("xdotool search --onlyvisible --name '^Test$'"); };
    const auto waitAndClose = [&] {
        waitUntil([&] { return !dialog().empty() && display.run("xdotool getactivewindow") == dialog(); },
                  "the dialog");
        static_cast<void>(display.run("xdotool key Escape"));
        waitUntil([&] { return dialog().empty(); }, "its end");
    };
    for (const auto &[errors, address] : {std::pair("2>&-", std::string()), std::pair("2>/dev/null", std::string()),
                                          std::pair("2>/dev/null", "unix:path=" + bus)}) {
        Launch run(
            bundle,
            {.environment = {{"DISPLAY", display.name()}, {"FAKE_EXIT", "3"}, {"DBUS_SESSION_BUS_ADDRESS", address}},
             .by = {"/bin/sh", "-c", "exec \"$@\" " + std::string(errors), "sh"}});
        waitAndClose();
        EXPECT_EQ(windows(display), "");
        EXPECT_EQ(run.wait(), 3);
    }
    fs::remove_all(bundle.runtime());
    bundle.info = {{"ksv.minVersion", "99"}}; // the title is the bundle's name
    Launch refused(bundle, {.environment = {{"DISPLAY", display.name()}}});
    waitAndClose();
    EXPECT_EQ(refused.wait(), 1);
    EXPECT_EQ(refused.errors(), "");
    Launch scripted(bundle, {.environment = {{"DISPLAY", display.name()}, {"KESTRAV_NOTICE", "stderr"}}});
    expectRefusal(scripted, "no runtime: 99, (null)\n");
    EXPECT_EQ(dialog(), "");
}

TEST(ProgressWindow, CostsNothingWhereItIsNotShown) {
    const VirtualDisplay display(false);
    for (const char *argument : {"x", "-q"}) {
        const AppBundle bundle;
        Launch run(bundle, {.arguments = {argument}, .environment = {{"DISPLAY", display.name()}}});
        EXPECT_TRUE(run.report().has("org.example.Main"));
        const bool shown = argument == std::string("x");
        waitForWindows(display, shown ? 1 : 0);
        const std::string maps = contentOf("/proc/" + std::to_string(run.pid()) + "/maps");
        EXPECT_EQ(maps.find("libgtk") != std::string::npos, shown);
        EXPECT_EQ(maps.find("libcurl"), std::string::npos);
    }
}

TEST(ProgressWindow, IsDoneWithoutInSilence) {
    const VirtualDisplay display(false);
    const std::string interfaceFile = "Test.app/Contents/Resources/MainWindow.ui";
    for (const auto &[file, content] :
         {std::pair(std::string("Test.app/Contents/Frameworks/window.so"), ""),
          std::pair(interfaceFile, "<interface><object"),
          std::pair(interfaceFile, "<interface><object class='GtkLabel' id='window'/></interface>")}) {
        const AppBundle bundle;
        fs::remove(bundle.folder() / file); // so that the template's file does not change with it
        bundle.folder().write(file, content);
        Launch run(bundle, {.environment = {{"DISPLAY", display.name()}, {"FAKE_EXIT", "5"}}});
        EXPECT_EQ(run.wait(), 5) << file;
        EXPECT_EQ(run.errors(), "");
    }
}

} // namespace
} // namespace kestrav::tests
