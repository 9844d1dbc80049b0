#pragma once

#include "StartReport.h"
#include "mac_installer/launcher/Origin.h"

#include <map>
#include <string>
#include <vector>

namespace kestrav::tools {

/// Puts the origins of options, class path and arguments into a report, in this order, and what is missing on the class
/// path.
class OriginCollector {
public:
    /// The report has to outlive this object.
    explicit OriginCollector(StartReport &report);

    /// What the reader of the configuration tells.
    void note(ConfigurationPart part, const std::string &value, const Origin &origin);

    /// Once it has told everything.
    void finish();

private:
    [[nodiscard]] StartReport::Origin resolved(const std::string &value, const Origin &origin) const;
    void addClassPath(const StartReport::Origin &entry);

    StartReport &report_;
    std::string infoPlist_;
    std::map<std::string, int, std::less<>> lines_; // of Info.plist's values
    std::vector<StartReport::Origin> classPath_;    // entries as they are written
    std::vector<StartReport::Origin> arguments_;
};

/// Adds the variables that are left in the command line.
void addUnreplaced(StartReport &report);

} // namespace kestrav::tools
