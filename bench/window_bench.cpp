// Measures the time from the start of a process to the first frame of its window, seen from outside: the launcher's
// progress window, and the same window shown by a bare GTK 4 program, in turns, on a separate display.
//
//   window_bench [ROUNDS]
//
// Ends with status 1 if the launcher takes too long.

#include "FirstFrame.h"
#include "end_to_end/AppBundle.h"
#include "support/VirtualDisplay.h"

#include <unistd.h>

#include <cstdlib>
#include <vector>

using namespace kestrav::bench;
using namespace kestrav::tests;

namespace {

constexpr double mayTakeOfBare = 1.2;
constexpr int usualRounds = 15;
constexpr unsigned deadlineSeconds = 300;

bool compare(int rounds) {
    const VirtualDisplay display(false);
    const AppBundle bundle;
    bundle.writeInfo();
    setenv("DISPLAY", display.name().c_str(), 1);
    setenv("GDK_BACKEND", "x11", 1);
    setenv("GTK_A11Y", "none", 1); // only the bare program would look for a session bus, which is not there
    setenv("FAKE_PAUSE", "1", 1);  // the program behind the window does nothing
    std::vector<Contender> contenders{
        showing("bare GTK 4 program", {KESTRAV_WINDOW_BARE, bundle.path() + "/Contents/Resources/MainWindow.ui"},
                display.name()),
        showing("launcher", {bundle.executable()}, display.name()),
    };
    takeTurns(contenders, rounds);
    printTable("start to first frame", contenders);
    return within("launcher, of the bare program", medianRatio(contenders[1], contenders[0]), mayTakeOfBare);
}

} // namespace

int main(int argc, char **argv) {
    alarm(deadlineSeconds);
    return runMain("window_bench", [&] { return compare(argc > 1 ? std::atoi(argv[1]) : usualRounds); });
}
