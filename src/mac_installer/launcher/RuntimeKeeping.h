#pragma once

#include "mac_installer/launcher/RuntimeStore.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kestrav {

/// Where the runtime of an archive is kept.
struct RuntimePlace {
    RuntimeStore store;
    std::string name;
};

/// What the configuration says of an archive: where its runtime is kept, and what has to be in it. `origin` is the path
/// of the shipped archive, or the address of the one to be downloaded. The place is empty if keeping is not configured,
/// or impossible, which the log says. Raises for a configuration that is wrong.
[[nodiscard]] std::optional<RuntimePlace> placeOfRuntime(const std::string &origin, bool isShipped);

/// The folders where the user's applications keep runtimes if nothing else is configured, as far as they exist.
[[nodiscard]] std::vector<std::string> usualStoreFolders();

/// The kept runtime of such an archive, if it is there and whole. One look; waits for nobody.
[[nodiscard]] std::optional<KeptRuntime> findKeptRuntime(const std::string &origin, bool isShipped);

/// After how long without use a kept runtime may be removed.
[[nodiscard]] std::chrono::hours keepingTime();

/// An archive that is not the configured one.
struct DigestDifference {
    std::string expected;
    std::string found;
};

/// Compares an archive with `ksv.jreSha256`; empty if it is that one, or none is configured. Raises if that cannot be
/// found out. `checkpoint` may raise as well.
[[nodiscard]] std::optional<DigestDifference> differenceOfDigest(const std::string &archive,
                                                                 const std::function<void()> &checkpoint);

} // namespace kestrav
