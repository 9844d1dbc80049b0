#pragma once

// How the platform under test runs downloads. Each has its own implementation.

namespace kestrav::tests {

/// To be called before the first download of a program.
void prepareDownloads();

/// Waits until no transfer is running any more, not even a cancelled one, because it would still use libraries that
/// clean up when the program ends. `others` counts the threads started since the first `prepareDownloads` that keep
/// running.
void finishDownloads(int others = 0);

/// Runs what is waiting for the main thread; may first wait for something to run.
void runMainLoop(bool wait = true);

} // namespace kestrav::tests
