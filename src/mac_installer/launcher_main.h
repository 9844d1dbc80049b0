#pragma once

#include "platform/Reexecution.h"

namespace kestrav {

/// The first argument that selects in-process mode; the second is then the path of an argument file.
inline constexpr const char *invokeOtherMarker = "__ksv_invoke_other";

/// In-process mode: runs the Java program inside this process and returns its exit status. Once the launch library is
/// loaded, which may enter this on another thread, the arguments go straight on to it.
int launcher_main(int argc, char **argv);

/// Goes on where an earlier image of this process was when the launch library executed the program's file again.
int resumeLaunch(int argc, char **argv, const platform::Reexecution &reexecution);

} // namespace kestrav
