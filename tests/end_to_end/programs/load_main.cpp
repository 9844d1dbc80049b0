// In-process mode for the configured runtime, which the launcher's own `main` has no command line for.

#include "mac_installer/launcher_main.h"
#include "platform/ProcessInfo.h"

int main(int argc, char **argv) {
    kestrav::platform::ProcessInfo::processInfo().setArguments(argc, argv);
    return kestrav::launcher_main(argc, argv);
}
