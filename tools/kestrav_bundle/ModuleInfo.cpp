#include "ModuleInfo.h"

#include "JavaArchive.h"
#include "Request.h"
#include "platform/FileManager.h"
#include "platform/path.h"
#include "platform/text.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <vector>

namespace kestrav::tools {

namespace {

constexpr std::size_t largestDescriptor = 1 << 20U;

/// Reads a class file's numbers, which are big-endian, from its beginning to its end.
class ClassReader {
public:
    ClassReader(std::string_view content, const std::string &source) : content_(content), source_(source) {}

    std::size_t number(std::size_t size) {
        std::size_t value = 0;
        for (const char byte : bytes(size)) {
            value = value * 256 + static_cast<unsigned char>(byte);
        }
        return value;
    }

    std::string_view bytes(std::size_t size) {
        if (size > content_.size() - at_) {
            refuse();
        }
        at_ += size;
        return content_.substr(at_ - size, size);
    }

    [[noreturn]] void refuse() const { throw Refusal("The module descriptor in " + source_ + " cannot be read"); }

private:
    std::string_view content_;
    const std::string &source_;
    std::size_t at_ = 0;
};

/// The constants of a class file: texts, and what points to them.
class Constants {
public:
    explicit Constants(ClassReader &reader) : reader_(reader), entries_(reader.number(2)) {
        constexpr std::size_t longTag = 5;
        constexpr std::size_t doubleTag = 6;
        for (std::size_t i = 1; i < entries_.size(); ++i) {
            const std::size_t tag = read(entries_[i]);
            i += tag == longTag || tag == doubleTag ? 1 : 0; // they take two places
        }
    }

    [[nodiscard]] std::string text(std::size_t index) const {
        return index < entries_.size() ? std::string(entries_[index].text) : refused();
    }

    /// The text that a constant points to which is a class or a module.
    [[nodiscard]] std::string name(std::size_t index) const {
        return index < entries_.size() ? text(entries_[index].target) : refused();
    }

private:
    struct Entry {
        std::string_view text;
        std::size_t target = 0;
    };

    std::size_t read(Entry &entry) {
        // How long a constant of a class file is, by its tag.
        constexpr std::string_view sizes("\0\0\0\4\4\10\10\2\2\4\4\4\4\0\0\3\2\4\4\2\2", 21);
        constexpr std::size_t textTag = 1;
        const std::size_t tag = reader_.number(1);
        if (tag == textTag) {
            entry.text = reader_.bytes(reader_.number(2));
        } else if (tag < sizes.size() && sizes[tag] == 2) {
            entry.target = reader_.number(2);
        } else if (tag < sizes.size() && sizes[tag] != 0) {
            static_cast<void>(reader_.bytes(static_cast<std::size_t>(sizes[tag])));
        } else {
            reader_.refuse();
        }
        return tag;
    }

    [[nodiscard]] std::string refused() const { reader_.refuse(); }

    ClassReader &reader_;
    std::vector<Entry> entries_;
};

/// The modules that an attribute requires, which follow the module's own name; not those that only compiling needs.
std::vector<std::string> neededModules(ClassReader &attribute, const Constants &constants) {
    constexpr std::size_t flagsAndVersion = 4;
    constexpr std::size_t staticFlag = 0x40;
    static_cast<void>(attribute.bytes(flagsAndVersion));
    std::vector<std::string> modules;
    for (std::size_t count = attribute.number(2); count > 0; --count) {
        const std::string module = constants.name(attribute.number(2));
        const std::size_t flags = attribute.number(2);
        static_cast<void>(attribute.number(2)); // its version
        if ((flags & staticFlag) == 0) {
            modules.push_back(module);
        }
    }
    return modules;
}

ModuleInfo parse(std::string_view content, const std::string &source) {
    constexpr std::size_t headerSize = 8;    // magic and version
    constexpr std::size_t memberCounts = 12; // access, class, superclass, no interfaces, no fields, no methods
    ClassReader reader(content, source);
    static_cast<void>(reader.bytes(headerSize));
    const Constants constants(reader);
    static_cast<void>(reader.bytes(memberCounts));
    ModuleInfo info;
    for (std::size_t count = reader.number(2); count > 0; --count) {
        const std::string name = constants.text(reader.number(2));
        ClassReader attribute(reader.bytes(reader.number(4)), source);
        if (name == "Module") {
            info.name = constants.name(attribute.number(2));
            info.needs = neededModules(attribute, constants);
        } else if (name == "ModuleMainClass") {
            info.mainClass = platform::replacingOccurrences(constants.name(attribute.number(2)), "/", ".");
        }
    }
    return info;
}

} // namespace

std::optional<ModuleInfo> moduleInfoOf(const std::string &archiveOrFolder) {
    const bool isFolder = platform::directoryExistsAtPath(archiveOrFolder);
    for (const char *name : {"module-info.class", "META-INF/versions/9/module-info.class"}) {
        const auto content = isFolder
                                 ? platform::contentsOfFile(platform::appendingPathComponent(archiveOrFolder, name))
                                 : contentInArchive(archiveOrFolder, name, largestDescriptor);
        if (content) {
            return parse(*content, archiveOrFolder);
        }
    }
    return std::nullopt;
}

std::string automaticModuleName(const std::string &archive) {
    constexpr std::string_view suffix = ".jar";
    const auto isDigit = [](unsigned char c) { return std::isdigit(c) != 0; };
    std::string name = platform::lastPathComponent(archive);
    name.resize(name.size() - (name.ends_with(suffix) ? suffix.size() : 0));
    for (std::size_t dash = name.find('-'); dash != std::string::npos; dash = name.find('-', dash + 1)) {
        const auto digits = name.begin() + static_cast<std::ptrdiff_t>(dash) + 1;
        const auto end = std::find_if_not(digits, name.end(), isDigit);
        if (end != digits && (end == name.end() || *end == '.')) {
            name.resize(dash); // a version follows
            break;
        }
    }
    std::string result;
    for (const char character : name) {
        const bool isWord = std::isalnum(static_cast<unsigned char>(character)) != 0;
        if (isWord || (!result.empty() && result.back() != '.')) {
            result += isWord ? character : '.';
        }
    }
    result.resize(result.size() - (result.ends_with('.') ? 1 : 0));
    return result;
}

} // namespace kestrav::tools
