#include "JavaClass.h"

#include "JavaArchive.h"
#include "Request.h"
#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/text.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cctype>

namespace kestrav::tools {

namespace {

constexpr const char *manifestName = "META-INF/MANIFEST.MF";

constexpr std::size_t largestManifest = 16 << 20U; // of signed archives with tens of thousands of entries, and to spare

/// The lines of a manifest's first section, put together again where they were folded.
std::vector<std::string> mainAttributes(std::string_view manifest) {
    std::vector<std::string> lines;
    for (std::string &line :
         platform::componentsSeparatedBy(platform::replacingOccurrences(manifest, "\r\n", "\n"), "\r\n")) {
        if (line.empty()) {
            break;
        }
        if (line.starts_with(' ') && !lines.empty()) {
            lines.back() += line.substr(1);
        } else {
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

/// The text with every "%" and its two digits replaced by the byte that they stand for.
std::string withoutPercents(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string digits(text.substr(i + 1, 2));
        const bool isCode =
            text[i] == '%' && digits.size() == 2 &&
            std::all_of(digits.begin(), digits.end(), [](unsigned char digit) { return std::isxdigit(digit) != 0; });
        constexpr int hexadecimal = 16;
        result += isCode ? static_cast<char>(std::stoi(digits, nullptr, hexadecimal)) : text[i];
        i += isCode ? 2 : 0;
    }
    return result;
}

/// The file that a URL of a class path stands for; empty if it stands for none on this machine.
std::optional<std::string> pathOf(std::string_view url) {
    constexpr std::string_view local = "file:";
    const bool isLocal = url.starts_with(local);
    url.remove_prefix(isLocal ? local.size() : 0);
    while (isLocal && url.starts_with("//")) {
        url.remove_prefix(1);
    }
    const bool hasScheme = !isLocal && url.substr(0, url.find('/')).find(':') != std::string_view::npos;
    std::string path = withoutPercents(url);
    const bool names = !hasScheme && !path.empty() && path.find('\0') == std::string::npos;
    return names ? std::optional(std::move(path)) : std::nullopt;
}

void addForJarAlone(Manifest &manifest, const std::string &name, std::string_view value) {
    struct Attribute {
        const char *name;
        const char *option;
        bool namesPackages;
    };
    constexpr std::array attributes{Attribute{"Add-Exports", "--add-exports=", true},
                                    Attribute{"Add-Opens", "--add-opens=", true},
                                    Attribute{"Enable-Native-Access", "--enable-native-access=", false},
                                    Attribute{"Launcher-Agent-Class", "-javaagent:", false}};
    const auto *known = std::find_if(attributes.begin(), attributes.end(),
                                     [&](const Attribute &each) { return strcasecmp(name.c_str(), each.name) == 0; });
    if (known == attributes.end()) {
        return;
    }
    for (const std::string &word : platform::componentsSeparatedBy(value, " ")) {
        if (!word.empty()) {
            const bool isAgent = std::string_view(known->option).ends_with(':');
            manifest.forJarAlone.push_back({std::string(known->name) + ": " + word,
                                            known->option + (known->namesPackages ? word + "=" : ""),
                                            isAgent ? "" : "ALL-UNNAMED"});
        }
    }
}

} // namespace

Manifest manifestOf(const std::string &jar) {
    const std::string content = contentInArchive(jar, manifestName, largestManifest + 1).value_or("");
    if (content.size() > largestManifest) {
        throw Refusal(jar + ": its manifest is larger than " + std::to_string(largestManifest >> 20U) + " MiB");
    }
    if (content.starts_with("\xEF\xBB\xBF")) {
        throw Refusal(jar + ": its manifest begins with a byte-order mark, which Java cannot read");
    }
    Manifest manifest;
    for (const std::string &line : mainAttributes(content)) {
        const std::size_t colon = std::min(line.find(':'), line.size() - 1);
        const std::string name = line.substr(0, colon);
        const auto value = platform::trimming(std::string_view(line).substr(colon + 1), " \t");
        if (strcasecmp(name.c_str(), "Main-Class") == 0) {
            manifest.mainClass = platform::replacingOccurrences(value, "/", ".");
        } else if (strcasecmp(name.c_str(), "Automatic-Module-Name") == 0) {
            manifest.moduleName = value;
        } else if (strcasecmp(name.c_str(), "Class-Path") == 0) {
            for (const std::string &url : platform::componentsSeparatedBy(value, " ")) {
                if (const auto path = pathOf(url)) {
                    manifest.classPath.push_back(*path);
                }
            }
        } else {
            addForJarAlone(manifest, name, value);
        }
    }
    return manifest;
}

std::optional<int> javaVersionOfClass(const std::string &archiveOrFolder, std::string_view className) {
    std::string name(className);
    std::replace(name.begin(), name.end(), '.', '/');
    name += ".class";
    // A class file begins with magic, minor version and major version, big-endian.
    constexpr std::string_view magic = "\xCA\xFE\xBA\xBE";
    constexpr std::size_t majorVersion = 6;
    const auto content = platform::directoryExistsAtPath(archiveOrFolder)
                             ? platform::contentsOfFile(platform::appendingPathComponent(archiveOrFolder, name))
                             : contentInArchive(archiveOrFolder, name, majorVersion + 2);
    if (!content) {
        return std::nullopt;
    }
    constexpr int majorVersionOfJava1 = 44;
    if (!content->starts_with(magic) || content->size() < majorVersion + 2) {
        throw Refusal(name + " in " + archiveOrFolder + " is not a class file");
    }
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>((*content)[index]); };
    return byte(majorVersion) * 256 + byte(majorVersion + 1) - majorVersionOfJava1;
}

} // namespace kestrav::tools
