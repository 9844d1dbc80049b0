// The progress window on a real display, used as a person uses it.

#include "Launch.h"
#include "support/VirtualDisplay.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>

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

/// A bundle with an archived runtime whose packed content is never unpacked: its run stays where it can be cancelled.
class BundleThatHangs : public AppBundle {
public:
    BundleThatHangs() {
        const std::string runtime = addRuntime("archived.jdk");
        addPackedArchives(runtime + "/Contents/Home", {{"lib/rt.jar", "content"}});
        fs::create_directories(path() + "/Contents/Resources/app");
        const std::string archive = path() + "/Contents/Resources/app/jre.tar.gz";
        EXPECT_EQ(std::system(("bsdtar -C '" + runtime + "' --format ustar -czf '" + archive + "' Contents").c_str()),
                  0);
    }

    [[nodiscard]] std::string unpacker() const { return folder() / "unpacker"; }
    [[nodiscard]] std::map<std::string, std::string> environment(const VirtualDisplay &display) const {
        return {{"DISPLAY", display.name()}, {"FAKE_UNPACK", "hang"}, {"FAKE_UNPACK_PID", unpacker()}};
    }
};

TEST(ProgressWindow, CancelsTheRun) {
    const VirtualDisplay display(true);
    for (const char *action : {"key Return", "key Escape", "key space", "key alt+F4",
                               "mousemove --window $W $((WIDTH-60)) $((HEIGHT-35)) click 1"}) {
        SCOPED_TRACE(action);
        const BundleThatHangs bundle;
        Launch run(bundle, {.environment = bundle.environment(display)});
        waitUntil([&] { return contentOf(bundle.unpacker()).ends_with('\n'); }, "the unpacker");
        waitForWindows(display, 1);
        waitUntil([&] { return display.run("xdotool getactivewindow") == windows(display); }, "the focus");
        static_cast<void>(display.run(std::string("sh -c 'W=$(xdotool getactivewindow); eval $(xdotool "
                                                  "getwindowgeometry --shell $W); xdotool ") +
                                      action + "'"));
        EXPECT_EQ(run.wait(), 1);
        EXPECT_FALSE(run.childStarted());
        EXPECT_EQ(run.errors(), "");
        EXPECT_TRUE(fs::is_empty(run.folder() / "temporary"));
        EXPECT_TRUE(kill(std::stoi(contentOf(bundle.unpacker())), 0) != 0 && errno == ESRCH) << "the unpacker lives on";
    }
}

TEST(ProgressWindow, OnlyClosesWhileTheProgramRuns) {
    VirtualDisplay display(true);
    const AppBundle bundle;
    const std::map<std::string, std::string> environment{{"DISPLAY", display.name()}, {"FAKE_PAUSE", "1"}};
    const auto endsWithItsChild = [](Launch &run) {
        run.sendSignal(SIGTERM);
        EXPECT_EQ(run.wait(), 128 + SIGTERM);
        EXPECT_EQ(run.errors(), "");
    };

    Launch closed(bundle, {.environment = environment});
    const Report report = closed.report();
    EXPECT_EQ(report.descriptors, (std::set<std::string>{"0", "1", "2"}));
    for (const char *ours : {"GSK_RENDERER", "GDK_DEBUG", "GDK_DISABLE", "GTK_A11Y", "DBUS_SESSION_BUS_ADDRESS"}) {
        EXPECT_EQ(report.environment.count(ours), 0U) << ours;
    }
    waitForWindows(display, 1);
    static_cast<void>(display.run("xdotool key alt+F4"));
    waitForWindows(display, 0);
    endsWithItsChild(closed);

    Launch forgotten(bundle, {.environment = environment});
    waitForWindows(display, 1);
    waitForWindows(display, 0); // once the program had time to show its own
    endsWithItsChild(forgotten);

    Launch bereft(bundle, {.environment = environment});
    EXPECT_TRUE(bereft.report().has("org.example.Main"));
    waitForWindows(display, 1);
    display.stop();
    endsWithItsChild(bereft);
}

TEST(ProgressWindow, IsNotMadeWideByALongName) {
    const VirtualDisplay display(false);
    const BundleThatHangs bundle;
    BundleThatHangs longNamed;
    longNamed.info["CFBundleName"] = text(std::string(300, 'W'));
    Launches runs;
    for (const BundleThatHangs *each : {&bundle, static_cast<const BundleThatHangs *>(&longNamed)}) {
        each->folder().write("Test.app/Contents/Resources/en.lproj/Localizable.strings",
                             R"("PrepareInstaller" = "Preparing %@";)");
        runs.push_back(std::make_unique<Launch>(*each, Start{.environment = each->environment(display)}));
    }
    waitForWindows(display, 2);
    const std::string sizes = display.run("sh -c 'for W in $(xdotool search --onlyvisible --name WizardCaption); do "
                                          "xdotool getwindowgeometry $W | grep Geometry; done'");
    const std::string first = sizes.substr(0, sizes.find('\n') + 1);
    EXPECT_NE(first, "");
    EXPECT_EQ(sizes, first + first);
    for (const auto &run : runs) {
        run->sendSignal(SIGTERM);
        EXPECT_EQ(run->wait(), 1);
    }
}

TEST(ProgressWindow, CostsNothingWhereItIsNotShown) {
    const VirtualDisplay display(false);
    struct Case {
        const char *name;
        std::vector<std::string> arguments;
        bool configuredAway;
        bool withDisplay;
        bool opened;
    };
    const std::vector<Case> cases{
        {"shown", {}, false, true, true},
        {"quiet", {"-q"}, false, true, false},
        {"configured away", {}, true, true, false},
        {"without a display", {}, false, false, false},
    };
    std::vector<std::unique_ptr<AppBundle>> bundles;
    Launches runs;
    for (const Case &each : cases) {
        bundles.push_back(std::make_unique<AppBundle>());
        if (each.configuredAway) {
            bundles.back()->info["ksv.initialProgress"] = "<false/>";
        }
        std::map<std::string, std::string> environment{{"FAKE_PAUSE", "1"}};
        if (each.withDisplay) {
            environment["DISPLAY"] = display.name();
        }
        runs.push_back(
            std::make_unique<Launch>(*bundles.back(), Start{.arguments = each.arguments, .environment = environment}));
    }
    waitForWindows(display, 1);
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(cases[i].name);
        EXPECT_TRUE(runs[i]->report().has("org.example.Main"));
        EXPECT_EQ(hasOpenedLibrary(*bundles[i]), cases[i].opened);
        runs[i]->sendSignal(SIGTERM);
    }
    for (const auto &run : runs) {
        EXPECT_EQ(run->wait(), 128 + SIGTERM);
    }
}

TEST(ProgressWindow, IsDoneWithoutInSilence) {
    const VirtualDisplay display(false);
    VirtualDisplay gone(false);
    gone.stop();
    struct Case {
        const char *name;
        const char *file;                    // of the bundle, replaced …
        std::optional<const char *> content; // … or removed
        std::string display;
    };
    const char *interfaceFile = "Test.app/Contents/Resources/MainWindow.ui";
    const std::vector<Case> cases{
        {"no server at the display", nullptr, {}, gone.name()},
        {"no module", "Test.app/Contents/Frameworks/window.so", {}, display.name()},
        {"no interface file", interfaceFile, {}, display.name()},
        {"damaged interface file", interfaceFile, "<interface><object", display.name()},
        {"no window in it", interfaceFile, "<interface><object class='GtkLabel' id='window'/></interface>",
         display.name()},
    };
    Launches runs;
    for (const Case &each : cases) {
        const AppBundle bundle;
        if (each.file != nullptr) {
            fs::remove(bundle.folder() / each.file); // the template's own must not change with it
        }
        if (each.content) {
            bundle.folder().write(each.file, *each.content);
        }
        runs.push_back(
            std::make_unique<Launch>(bundle, Start{.environment = {{"DISPLAY", each.display}, {"FAKE_EXIT", "5"}}}));
        EXPECT_TRUE(runs.back()->report().has("org.example.Main")) << each.name;
    }
    for (std::size_t i = 0; i < cases.size(); ++i) {
        EXPECT_EQ(runs[i]->wait(), 5) << cases[i].name;
        EXPECT_EQ(runs[i]->errors(), "") << cases[i].name;
    }
}

} // namespace
} // namespace kestrav::tests
