#pragma once

// How the platform under test runs downloads. Each has its own implementation.

namespace kestrav::tests {

/// Before the first download of a program.
void prepareDownloads();

/// Waits for something to happen on the main thread, then lets it happen; may also return without.
void runMainLoop();

} // namespace kestrav::tests
