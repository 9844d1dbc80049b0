#pragma once

#include "platform/PropertyList.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrav::platform {

/// A directory with an Info.plist and resources: the application, a runtime, or a bundle of messages. Immutable once
/// made; any thread.
class Bundle {
public:
    /// The application's own bundle, found from the executable's real path (X.app/Contents/MacOS/NAME). Lives until the
    /// process ends.
    [[nodiscard]] static const Bundle &mainBundle();

    /// Makes the application at a path this process's own, for a program that tells about other applications; false if
    /// no folder is there. Called at most once, by the only thread, before its bundle is used.
    [[nodiscard]] static bool setMainBundle(const std::string &path);

    /// Opens a directory as a bundle; null if the path does not lead to a directory. Without an Info.plist the bundle
    /// has no keys.
    [[nodiscard]] static std::unique_ptr<Bundle> create(const std::string &path);

    /// The path of the Info.plist in a directory, whatever it contains; empty if there is none.
    [[nodiscard]] static std::optional<std::string> infoPlistPath(const std::string &bundlePath);

    /// Makes a bundle whose information dictionary comes from elsewhere.
    [[nodiscard]] static std::unique_ptr<Bundle> create(std::string path, PropertyList info,
                                                        std::optional<std::string> damage);

    /// Without a trailing "/".
    [[nodiscard]] const std::string &bundlePath() const { return path_; }

    /// Always a dictionary; empty if there is no Info.plist or it cannot be read.
    [[nodiscard]] const PropertyList &infoDictionary() const { return info_; }

    /// What is wrong with the file that should describe the bundle ("Info.plist is damaged …"); empty if nothing is
    /// wrong.
    [[nodiscard]] const std::optional<std::string> &damage() const { return damage_; }

    /// A top-level entry of the information dictionary, or null.
    [[nodiscard]] const PropertyList *objectForInfoDictionaryKey(std::string_view key) const { return info_.find(key); }

    /// `CFBundleIdentifier`, if it is a string.
    [[nodiscard]] std::optional<std::string> bundleIdentifier() const;

    /// A top-level string of the information dictionary, in the user's language where the platform knows files of such
    /// strings.
    [[nodiscard]] std::optional<std::string> localizedInfoStringForKey(std::string_view key) const;

    /// The folder of the resources: Contents/Resources, Resources, or the bundle itself, whichever exists first.
    [[nodiscard]] std::string resourcePath() const;

    /// The path of `NAME.EXTENSION` in the resources, if it exists.
    [[nodiscard]] std::optional<std::string> pathForResource(std::string_view name, std::string_view extension) const;

    /// The text of a key in the default string table ("Localizable") of the user's preferred language. A missing key
    /// gives `value`, or the key itself where that is empty.
    [[nodiscard]] std::string localizedStringForKey(std::string_view key, std::string_view value) const;

    /// The keys of that table; none if there is no table.
    [[nodiscard]] std::vector<std::string> localizedStringKeys() const;

    /// The CPU types of the bundle's executable, each empty if it cannot be read; nothing at all if the bundle has no
    /// executable that can be examined.
    [[nodiscard]] std::optional<std::vector<std::optional<std::int32_t>>> executableArchitectures() const;

private:
    /// The path of the bundle that holds the process's executable, or the executable's directory if it is not in a
    /// bundle.
    [[nodiscard]] static std::string ownPath();

    Bundle(std::string path, PropertyList info, std::optional<std::string> damage = {})
        : path_(std::move(path)), info_(std::move(info)), damage_(std::move(damage)) {}

    std::string path_;
    PropertyList info_;
    std::optional<std::string> damage_;
};

} // namespace kestrav::platform
