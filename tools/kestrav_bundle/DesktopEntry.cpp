#include "DesktopEntry.h"

#include "Template.h"
#include "mac_installer/launcher/InfoPlist.h"
#include "platform/path.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace kestrav::tools {

namespace {

using platform::PropertyList;
using platform::replacingOccurrences;

constexpr std::string_view lettersAndDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::string_view entrySuffix = ".desktop";

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return text;
}

/// A value of a desktop entry.
std::string entryText(std::string_view text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '\\':
            result += "\\\\";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\t':
            result += "\\t";
            break;
        default:
            result += character == ' ' && result.empty() ? "\\s" : std::string{character};
        }
    }
    return result;
}

/// An argument of the command in a desktop entry, before it is escaped like each value.
std::string quotedArgument(std::string_view argument) {
    constexpr std::string_view special = "\"`$\\";
    std::string result = "\"";
    for (const char character : argument) {
        result += special.find(character) == std::string_view::npos ? "" : "\\";
        result += character;
    }
    return result + '"';
}

std::string xmlText(std::string_view text) {
    std::string result = replacingOccurrences(text, "&", "&amp;");
    result = replacingOccurrences(result, "<", "&lt;");
    result = replacingOccurrences(result, ">", "&gt;");
    return replacingOccurrences(result, "\"", "&quot;");
}

void requireMimeType(const std::string &type) {
    constexpr std::array kinds{"application", "audio", "font",      "image", "inode", "message",
                               "model",       "text",  "multipart", "video", "x-"};
    const auto parts = platform::componentsSeparatedBy(type, "/");
    const std::string allowed = std::string(lettersAndDigits) + "!#$&^_.+-";
    const bool isKnown = std::any_of(kinds.begin(), kinds.end(), [&](std::string_view kind) {
        return parts.front() == kind || (kind.ends_with('-') && parts.front().starts_with(kind));
    });
    if (!isKnown || parts.size() != 2 || parts.back().empty() ||
        type.find_first_not_of(allowed + "/") != std::string::npos) {
        throw Refusal("\"" + type + "\" is not a MIME type such as application/x-tool");
    }
}

/// A type of files as desktops know it.
struct MimeType {
    std::string name;
    std::string description;             ///< for people; empty: another's type, which has one
    std::vector<std::string> extensions; ///< of its files; none: others tell them
};

/// The type of an application's own files whose maker has not named one.
std::string ownType(const std::string &extension) {
    if (extension.find_first_not_of(std::string(lettersAndDigits) + "_.+-") != std::string::npos) {
        throw Refusal("The files with \"" + extension +
                      "\" need a MIME type for the desktop entry, as in --file-type " + extension +
                      ":application/x-tool");
    }
    return "application/x-" + lowerCase(extension);
}

/// Adds a type, or to the one of that name.
void add(std::vector<MimeType> &types, MimeType type) {
    requireMimeType(type.name);
    const auto known =
        std::find_if(types.begin(), types.end(), [&](const MimeType &each) { return each.name == type.name; });
    if (known == types.end()) {
        types.push_back(std::move(type));
        return;
    }
    known->extensions.insert(known->extensions.end(), type.extensions.begin(), type.extensions.end());
    known->description = known->description.empty() ? type.description : known->description;
}

/// Adds what an entry of "CFBundleDocumentTypes" describes.
void addDocumentType(std::vector<MimeType> &types, const PropertyList &entry) {
    std::vector<std::string> extensions =
        stringArrayValue(entry, "CFBundleTypeExtensions").value_or(std::vector<std::string>());
    std::erase(extensions, "*"); // all files: not a type
    const std::string description = stringValue(entry, "CFBundleTypeName").value_or("");
    const auto named = stringArrayValue(entry, "CFBundleTypeMIMETypes").value_or(std::vector<std::string>());
    for (const std::string &extension : extensions) {
        if (extension.find_first_of("*?[\\") != std::string::npos) {
            throw Refusal("\"" + extension + "\" cannot be an extension in the description of a type of files");
        }
        if (named.empty()) {
            add(types, {ownType(extension), description, {extension}});
        } else {
            add(types, {named.front(), description == extension ? "" : description, {extension}});
        }
    }
    for (const std::string &name : named) {
        add(types, {name, "", {}});
    }
}

const PropertyList::Array &arrayIn(const PropertyList &info, const char *key) {
    static const PropertyList::Array none;
    const PropertyList *value = info.find(key);
    const auto *array = value == nullptr ? nullptr : value->as<PropertyList::Array>();
    return array == nullptr ? none : *array;
}

std::vector<MimeType> fileTypesOf(const PropertyList &info) {
    std::vector<MimeType> types;
    for (const PropertyList &entry : arrayIn(info, "CFBundleDocumentTypes")) {
        addDocumentType(types, entry);
    }
    return types;
}

std::vector<std::string> schemesOf(const PropertyList &info) {
    std::vector<std::string> schemes;
    for (const PropertyList &entry : arrayIn(info, "CFBundleURLTypes")) {
        for (const std::string &scheme :
             stringArrayValue(entry, "CFBundleURLSchemes").value_or(std::vector<std::string>())) {
            schemes.push_back(lowerCase(scheme));
        }
    }
    return schemes;
}

/// The application's path once it is installed.
std::string installedPath(const Request &request) {
    std::string path = request.installPath ? std::string(platform::withoutTrailingSlashes(*request.installPath))
                                           : std::filesystem::absolute(request.output).lexically_normal().string();
    if (!path.starts_with('/') || !path.ends_with(".app") || path.find_first_of("\t\n") != std::string::npos) {
        throw Refusal("\"" + path + "\" is not the path at which an application is installed, such as /opt/" +
                      platform::lastPathComponent(request.output));
    }
    if (path.find_first_of("=%") != std::string::npos) {
        throw Refusal(R"(Desktops start nothing with "=" or "%" in its path: )" + path);
    }
    return path;
}

/// The window class of a program, from which AWT makes that of its windows.
std::string windowClass(const std::string &mainClass) {
    return replacingOccurrences(mainClass.substr(mainClass.find('/') + 1), ".", "-"); // MODULE/CLASS or CLASS
}

/// How the locale of a language is called in the keys of an entry.
std::string localeOf(const std::string &language) {
    std::string locale = replacingOccurrences(language, "-", "_");
    if (locale.empty() || locale.find_first_not_of(std::string(lettersAndDigits) + "_@") != std::string::npos) {
        throw Refusal("\"" + language + "\" is not a language such as de or pt-BR");
    }
    return locale;
}

std::string entry(const Request &request, const PropertyList &info, const std::vector<MimeType> &types) {
    const auto schemes = schemesOf(info);
    std::string result = "[Desktop Entry]\nType=Application\nVersion=1.0\n";
    const auto addValue = [&](const std::string &key, const std::string &value) {
        result += key + "=" + entryText(value) + "\n";
    };
    addValue("Name", stringValue(info, "CFBundleName").value_or(request.name));
    for (const auto &[language, name] : request.localizedNames) {
        addValue("Name[" + localeOf(language) + "]", name);
    }
    // Addresses can be handed over as such alone; files come as paths where there are none.
    const std::string what = !schemes.empty() ? " %U" : types.empty() ? "" : " %F";
    addValue("Exec",
             quotedArgument(platform::appendingPathComponent(installedPath(request), templateExecutable)) + what);
    addValue("Icon", stringValue(info, "CFBundleIdentifier").value_or(request.identifier));
    addValue("Terminal", "false");
    addValue("StartupWMClass", windowClass(stringValue(*info.find("JavaVM"), "MainClass").value_or("")));
    std::string all;
    for (const MimeType &type : types) {
        all += type.name + ";";
    }
    for (const std::string &scheme : schemes) {
        all += "x-scheme-handler/" + scheme + ";";
    }
    if (!all.empty()) {
        addValue("MimeType", all);
    }
    return result;
}

std::string description(const std::vector<MimeType> &types) {
    std::string result = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                         "<mime-info xmlns=\"http://www.freedesktop.org/standards/shared-mime-info\">\n";
    for (const auto &[name, text, extensions] : types) {
        if (extensions.empty()) {
            continue;
        }
        result += "  <mime-type type=\"" + xmlText(name) + "\">\n";
        result += text.empty() ? "" : "    <comment>" + xmlText(text) + "</comment>\n";
        for (const std::string &extension : extensions) {
            result += "    <glob pattern=\"*." + xmlText(extension) + "\"/>\n";
        }
        result += "  </mime-type>\n";
    }
    return result + "</mime-info>\n";
}

} // namespace

std::vector<SideFile> desktopFiles(const Request &request, const PropertyList &info) {
    if (!request.desktopEntry) {
        if (request.installPath || !request.localizedNames.empty()) {
            throw Refusal(std::string(request.installPath ? "--install-path" : "--name-in") +
                          " is for the file of --desktop-entry");
        }
        return {};
    }
    const std::string &path = *request.desktopEntry;
    const std::string name = platform::lastPathComponent(path);
    if (!name.ends_with(entrySuffix) || name.size() == entrySuffix.size()) {
        throw Refusal("The name of a desktop entry ends in \".desktop\": " + path);
    }
    const auto types = fileTypesOf(info);
    std::vector<SideFile> files{{path, entry(request, info, types)}};
    if (std::any_of(types.begin(), types.end(), [](const MimeType &type) { return !type.extensions.empty(); })) {
        files.push_back({path.substr(0, path.size() - entrySuffix.size()) + ".xml", description(types)});
    }
    return files;
}

} // namespace kestrav::tools
