#pragma once

// How the platform under test runs downloads. Each has its own implementation.

namespace kestrav::tests {

/// Before the first download of a program.
void prepareDownloads();

/// Waits until no transfer is at work any more, cancelled ones included: at the program's end one would still use the
/// libraries that clean up then. `others` counts the threads begun since the first `prepareDownloads` that stay.
void finishDownloads(int others = 0);

/// Lets happen what is to happen on the main thread; may wait for it before.
void runMainLoop(bool wait = true);

} // namespace kestrav::tests
