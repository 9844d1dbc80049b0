#include "VersionedOptions.h"

#include "Request.h"
#include "platform/text.h"

#include <algorithm>
#include <set>

namespace kestrav::tools {

namespace {

using platform::PropertyList;

constexpr int newest = 9999; // for a range without an end

int majorVersion(const std::string &version) {
    const auto numbers = platform::componentsSeparatedBy(version, "._-+");
    const int first = platform::intValue(numbers[0]);
    return first == 1 && numbers.size() > 1 ? platform::intValue(numbers[1]) : first; // Java 8 calls itself 1.8
}

} // namespace

std::optional<VersionedOption> versionedOption(const std::string &text) {
    const std::size_t colon = text.find_first_not_of("0123456789-");
    if (text.empty() || text.front() == '-' || colon == std::string::npos || text[colon] != ':') {
        return std::nullopt;
    }
    const std::string versions = text.substr(0, colon);
    const auto bounds = platform::componentsSeparatedBy(versions, "-");
    constexpr std::size_t longest = 3; // digits of a bound
    const bool hasHighest = bounds.size() == 2 && !bounds[1].empty();
    VersionedOption option{platform::intValue(bounds[0]), newest, text.substr(colon + 1)};
    if (bounds.size() == 1 || hasHighest) {
        option.highest = platform::intValue(bounds.back());
    }
    const bool isRange = !versions.empty() && bounds.size() <= 2 && bounds.front().size() <= longest &&
                         bounds.back().size() <= longest && option.lowest <= option.highest;
    if (!isRange) {
        throw Refusal("\"" + versions + "\" in --vm-option " + text +
                      " is not a range of versions: write 17:OPTION, 17-21:OPTION or 17-:OPTION");
    }
    return option;
}

PropertyList::Array pairsOf(const std::vector<VersionedOption> &options) {
    std::set<int> starts;
    for (const VersionedOption &each : options) {
        starts.insert({each.lowest, each.highest + 1});
    }
    PropertyList::Array pairs;
    for (auto start = starts.begin(); start != starts.end() && std::next(start) != starts.end(); ++start) {
        const int highest = *std::next(start) - 1;
        PropertyList::Array fitting;
        for (const VersionedOption &each : options) {
            if (each.lowest <= *start && highest <= each.highest) {
                fitting.emplace_back(each.option);
            }
        }
        if (!fitting.empty()) {
            pairs.emplace_back(std::to_string(*start) + "-" + std::to_string(highest));
            pairs.emplace_back(std::move(fitting));
        }
    }
    return pairs;
}

std::vector<std::string> optionsFor(const std::string &version, const PropertyList::Array &pairs) {
    const int major = majorVersion(version);
    for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) {
        const auto *versions = pairs[i].as<std::string>();
        const auto *options = pairs[i + 1].as<PropertyList::Array>();
        const auto bounds = platform::componentsSeparatedBy(versions == nullptr ? "" : *versions, "-");
        if (options == nullptr || bounds.size() != 2 || major < platform::intValue(bounds[0]) ||
            major > platform::intValue(bounds[1])) {
            continue;
        }
        std::vector<std::string> fitting;
        for (const PropertyList &option : *options) {
            if (const auto *text = option.as<std::string>()) {
                fitting.push_back(*text);
            }
        }
        return fitting;
    }
    return {};
}

} // namespace kestrav::tools
