#pragma once

#include "Request.h"
#include "platform/FileLock.h"

#include <optional>
#include <string>
#include <vector>

namespace kestrav::tools {

/// The folder in which the application is to lie.
[[nodiscard]] std::string folderOf(const std::string &output);

/// Removes what killed runs have left in the folder. An application that such a run had moved away, and not yet
/// replaced, is put back.
void tidyUp(const std::string &folder);

/// Refuses to go on if something is at the output's place that is not to be replaced.
void refuseOccupiedPlace(const Request &request);

/// A folder beside the application in which it is made. It is removed with this object. A lock tells other runs that
/// it is in use.
class Workshop {
public:
    explicit Workshop(const Request &request);
    Workshop(const Workshop &) = delete;
    Workshop &operator=(const Workshop &) = delete;
    ~Workshop();

    [[nodiscard]] std::string pathOf(const char *name) const;

    /// Puts the finished application where it belongs and removes the one that was there, if that may be replaced.
    /// Other runs may do the same at the same time. Adds to `notes` what could not be removed.
    void deliver(const std::string &finished, std::vector<std::string> &notes);

private:
    /// For file systems that cannot exchange two folders. Returns where the old application is then.
    [[nodiscard]] std::string replaceInTwoSteps(const std::string &finished);
    [[noreturn]] void refuse(const std::error_code &error, const std::string &addition = "") const;

    const Request &request_;
    std::string path_;
    std::optional<platform::FileLock> lock_; ///< empty where the file system has none
    bool kept_ = false;
};

} // namespace kestrav::tools
