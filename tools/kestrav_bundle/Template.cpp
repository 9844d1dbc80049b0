#include "Template.h"

#include "platform/Bundle.h"
#include "platform/path.h"

#include <unistd.h>

#include <filesystem>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

using platform::appendingPathComponent;
using platform::Bundle;

/// Refuses a template with files or a runtime of another application: what they would do in this one is not known.
void requireEmpty(const std::string &bundleTemplate) {
    for (const char *place : {templateFiles, "Contents/Resources/jre.bundle", templateRuntime}) {
        if (fs::exists(appendingPathComponent(bundleTemplate, place))) {
            throw Refusal("The template " + bundleTemplate + " is an application already: it has " + place);
        }
    }
}

} // namespace

std::string findTemplate(const Request &request, const std::string &ownFolder) {
    std::vector<std::string> places;
    if (request.bundleTemplate) {
        places.push_back(*request.bundleTemplate);
    } else {
        for (const char *place : {KESTRAV_INSTALLED_TEMPLATE, "../Launcher.app"}) {
            places.push_back(appendingPathComponent(ownFolder, place));
        }
    }
    for (const std::string &place : places) {
        if (::access(appendingPathComponent(place, templateExecutable).c_str(), X_OK) == 0) {
            requireEmpty(place);
            return fs::canonical(place).string();
        }
    }
    throw Refusal("There is no launcher template at " + places.front() + " (" + templateExecutable +
                  " is missing there)");
}

platform::PropertyList templateInfoOf(const std::string &bundleTemplate) {
    const auto bundle = Bundle::create(bundleTemplate);
    if (!bundle) {
        throw Refusal("The launcher template " + bundleTemplate + " cannot be read");
    }
    return bundle->infoDictionary();
}

} // namespace kestrav::tools
