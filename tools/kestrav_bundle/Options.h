#pragma once

#include "Request.h"

#include <functional>
#include <string>
#include <vector>

namespace kestrav::tools {

/// What an option does to the request.
using Apply = std::function<void(Request &, std::string)>;

struct Option {
    const char *name;
    bool hasValue;
    Apply apply;
    char letter = '\0';      ///< the short form, if there is one
    bool mayBeEmpty = false; ///< an empty value means something, and is not a variable of a script that is not set
};

/// All options but --help and --version.
[[nodiscard]] const std::vector<Option> &options();

} // namespace kestrav::tools
