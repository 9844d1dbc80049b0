#include "DocumentTypes.h"

#include <algorithm>
#include <string_view>

namespace kestrav::tools {

namespace {

using platform::PropertyList;
using Dictionary = PropertyList::Dictionary;

constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

Dictionary documentType(const FileType &type) {
    const auto &[extension, description, mimeType] = type;
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' '; };
    if (extension.empty() || extension.front() == '.' || extension.find('/') != std::string::npos ||
        std::any_of(extension.begin(), extension.end(), isControl)) {
        throw Refusal("\"" + extension + "\" is not a file's extension: write txt or txt=DESCRIPTION");
    }
    if (std::any_of(description.begin(), description.end(), isControl)) {
        throw Refusal("The description of files with the extension " + extension + " has control characters");
    }
    if (std::any_of(mimeType.begin(), mimeType.end(), isControl) || mimeType.find_first_of(" ,") != std::string::npos) {
        throw Refusal("\"" + mimeType + "\" is not one MIME type, for files with the extension " + extension);
    }
    Dictionary entry{{"CFBundleTypeExtensions", PropertyList::Array{extension}},
                     {"CFBundleTypeName", description.empty() ? extension : description},
                     {"CFBundleTypeRole", "Editor"}};
    if (!mimeType.empty()) {
        entry["CFBundleTypeMIMETypes"] = PropertyList::Array{mimeType};
    }
    return entry;
}

Dictionary addressType(const std::string &scheme, const std::string &identifier) {
    const std::string allowed = std::string(letters) + "0123456789+-.";
    if (scheme.empty() || letters.find(scheme.front()) == std::string_view::npos ||
        scheme.find_first_not_of(allowed) != std::string::npos) {
        throw Refusal("\"" + scheme + R"(" is not the scheme of an address, which is what stands before the ":")");
    }
    return {{"CFBundleURLName", identifier},
            {"CFBundleURLSchemes", PropertyList::Array{scheme}},
            {"CFBundleTypeRole", "Viewer"}};
}

} // namespace

void addDocumentTypes(Dictionary &info, const Request &request) {
    PropertyList::Array files;
    for (const FileType &type : request.fileTypes) {
        files.emplace_back(documentType(type));
    }
    PropertyList::Array addresses;
    for (const std::string &scheme : request.urlSchemes) {
        addresses.emplace_back(addressType(scheme, request.identifier));
    }
    if (!files.empty()) {
        info["CFBundleDocumentTypes"] = std::move(files);
    }
    if (!addresses.empty()) {
        info["CFBundleURLTypes"] = std::move(addresses);
    }
}

} // namespace kestrav::tools
