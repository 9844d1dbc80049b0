#include "mac_installer/bootstrap/AppDelegate.h"
#include "support/LauncherFixture.h"

namespace kestrav::tests {
namespace {

class ProgressWindow : public LauncherFixture {};

TEST_F(ProgressWindow, IsHiddenByConfigurationOrArguments) {
    struct Case {
        Dictionary info;
        Strings arguments;
        bool visible;
    };
    const Dictionary off{{"ksv.initialProgress", false}};
    const Dictionary on{{"ksv.initialProgress", true}};
    const Case cases[] = {
        {{}, {}, true},
        {{}, {"-c"}, true}, // entry 0 is the program
        {{}, {"Tool", "-c"}, false},
        {{}, {"Tool", "x", "-q"}, false},
        {{}, {"Tool", "-q", "-splash"}, true},
        {{}, {"Tool", "-C", "-quiet", "q", "-cx"}, true},
        {on, {"Tool", "-q"}, false},
        {off, {"Tool", "-splash"}, false},
        {{{"ksv.initialProgress", "NO"}}, {"Tool"}, false},
    };
    for (const auto &[info, arguments, visible] : cases) {
        configure(info);
        platform::testing::setArguments(arguments);
        AppDelegate delegate;
        platform::Window window;
        delegate.setWindow(&window);
        log.clear();
        delegate.applicationWillFinishLaunching();
        EXPECT_EQ(window.isVisible(), visible) << testing::PrintToString(arguments);
        EXPECT_EQ(wasLogged("hiding progress window"), !visible);
    }
}

} // namespace
} // namespace kestrav::tests
