// The progress window on a real display, used as a person uses it.

#include "Launch.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <utility>

namespace kestrav::tests {
namespace {

namespace fs = std::filesystem;

/// The visible progress windows, one number a line. The bundles' string table has no title: its key stands for it.
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

/// The library behind the window is loaded in the process that runs the bundle's executable.
bool hasOpenedLibrary(const AppBundle &bundle) {
    for (const auto &process : fs::directory_iterator("/proc")) {
        std::error_code error;
        if (fs::read_symlink(process.path() / "exe", error) == bundle.executable()) {
            return contentOf((process.path() / "maps").string()).find("libgtk") != std::string::npos;
        }
    }
    ADD_FAILURE() << "no process runs " << bundle.executable();
    return false;
}

TEST(ProgressWindow, CancelsTheRun) {
    const VirtualDisplay display(true);
    for (const char *action :
         {"key space", "key Escape", "key alt+F4", "mousemove --window $W $((WIDTH-60)) $((HEIGHT-35)) click 1"}) {
        SCOPED_TRACE(action);
        const AppBundle bundle;
        AppBundle::addPackedArchives(bundle.addOwnRuntime() + "/Contents/Home", {{"lib/rt.jar", "content"}});
        const std::string unpacker = bundle.folder() / "unpacker";
        Launch run(bundle, {.environment = {
                                {"DISPLAY", display.name()}, {"FAKE_UNPACK", "hang"}, {"FAKE_UNPACK_PID", unpacker}}});
        waitUntil([&] { return contentOf(unpacker).ends_with('\n'); }, "the unpacker");
        waitForWindows(display, 1);
        waitUntil([&] { return display.run("xdotool getactivewindow") == windows(display); }, "the focus");
        if (action == std::string("key space")) { // the button has to be reached first
            const auto picture = [&] { return display.run("import -silent -window root rgb:- | md5sum"); };
            const std::string before = picture();
            static_cast<void>(display.run("xdotool key Return space Tab"));
            waitUntil([&] { return picture() != before; }, "the button's focus");
            EXPECT_EQ(kill(std::stoi(contentOf(unpacker)), 0), 0) << "cancelled by a key that was not the button's";
        }
        static_cast<void>(display.run(std::string("sh -c 'W=$(xdotool getactivewindow); eval $(xdotool "
                                                  "getwindowgeometry --shell $W); xdotool ") +
                                      action + "'"));
        EXPECT_EQ(run.wait(), 1);
        EXPECT_FALSE(run.childStarted());
        EXPECT_EQ(run.errors(), "");
        EXPECT_TRUE(kill(std::stoi(contentOf(unpacker)), 0) != 0 && errno == ESRCH) << "the unpacker lives on";
    }
}

TEST(ProgressWindow, IsNotMadeWideByALongName) {
    const VirtualDisplay display(false);
    AppBundle bundle;
    AppBundle::addPackedArchives(bundle.addOwnRuntime() + "/Contents/Home", {{"lib/rt.jar", "content"}});
    bundle.folder().write("Test.app/Contents/Resources/en.lproj/Localizable.strings",
                          R"("PrepareInstaller" = "Preparing %@";)");
    std::string shortSize;
    for (const std::string &name : {std::string("Tool"), std::string(300, 'W')}) {
        bundle.info["CFBundleName"] = text(name);
        Launch run(bundle, {.environment = {{"DISPLAY", display.name()}, {"FAKE_UNPACK", "hang"}}});
        waitForWindows(display, 1);
        const std::string size = display.run("sh -c 'xdotool search --onlyvisible --name WizardCaption "
                                             "getwindowgeometry | grep Geometry'");
        EXPECT_NE(size, "");
        if (shortSize.empty()) {
            shortSize = size;
        }
        EXPECT_EQ(size, shortSize) << name;
        run.sendSignal(SIGTERM);
        EXPECT_EQ(run.wait(), 1);
        waitForWindows(display, 0);
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

    // Before it would go by itself, for which a busy machine may need another try.
    bool atOnce = false;
    for (int tries = 0; tries < 5 && !atOnce; ++tries) {
        const auto begin = std::chrono::steady_clock::now();
        Launch closed(bundle, start);
        const Report report = closed.report();
        EXPECT_EQ(report.descriptors, (std::set<std::string>{"0", "1", "2"}));
        EXPECT_EQ(report.environment.count("GSK_RENDERER"), 0U); // ours
        waitForWindows(display, 1);
        static_cast<void>(display.run("xdotool key alt+F4"));
        waitForWindows(display, 0);
        atOnce = std::chrono::steady_clock::now() - begin < std::chrono::seconds(5);
        endsWithItsChild(closed);
    }
    EXPECT_TRUE(atOnce);

    Launch forgotten(bundle, start);
    waitForWindows(display, 1);
    waitForWindows(display, 0); // once the program had time to show its own
    endsWithItsChild(forgotten);

    Launch robbed(bundle, start); // by another client
    waitForWindows(display, 1);
    EXPECT_TRUE(robbed.report().has("org.example.Main"));
    static_cast<void>(display.run("xdotool search --onlyvisible --name '^WizardCaption$' windowclose"));
    waitForWindows(display, 0);
    endsWithItsChild(robbed);

    Launch bereft(bundle, start);
    waitForWindows(display, 1);
    EXPECT_TRUE(bereft.report().has("org.example.Main"));
    display.stop();
    endsWithItsChild(bereft);
}

TEST(ProgressWindow, CostsNothingWhereItIsNotShown) {
    const VirtualDisplay display(false);
    struct Case {
        const char *argument;
        std::string display;
        bool opened;
    };
    for (const auto &[argument, name, opened] :
         {Case{"x", display.name(), true}, Case{"-q", display.name(), false}, Case{"x", "", false}}) {
        SCOPED_TRACE(argument + name);
        const AppBundle bundle;
        Launch run(bundle, {.arguments = {argument}, .environment = {{"FAKE_PAUSE", "1"}, {"DISPLAY", name}}});
        EXPECT_TRUE(run.report().has("org.example.Main"));
        waitForWindows(display, opened ? 1 : 0);
        EXPECT_EQ(hasOpenedLibrary(bundle), opened);
    }
}

TEST(ProgressWindow, IsDoneWithoutInSilence) {
    const VirtualDisplay display(false);
    VirtualDisplay gone(false);
    gone.stop();
    const std::string interfaceFile = "Test.app/Contents/Resources/MainWindow.ui";
    struct Case {
        std::string display;
        std::string file;                    // of the bundle, replaced …
        std::optional<const char *> content; // … or removed
    };
    const Case cases[] = {
        {gone.name(), "none", {}},
        {display.name(), "Test.app/Contents/Frameworks/window.so", {}},
        {display.name(), interfaceFile, {}},
        {display.name(), interfaceFile, "<interface><object"},
        {display.name(), interfaceFile, "<interface><object class='GtkLabel' id='window'/></interface>"},
    };
    Launches runs;
    for (const auto &[name, file, content] : cases) {
        const AppBundle bundle;
        fs::remove(bundle.folder() / file); // the template's own must not change with it
        if (content) {
            bundle.folder().write(file, *content);
        }
        runs.push_back(std::make_unique<Launch>(bundle, Start{.environment = {{"DISPLAY", name}, {"FAKE_EXIT", "5"}}}));
        EXPECT_TRUE(runs.back()->report().has("org.example.Main")) << file;
    }
    expectStatus(runs, 5);
}

} // namespace
} // namespace kestrav::tests
