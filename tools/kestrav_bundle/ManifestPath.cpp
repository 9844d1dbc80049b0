#include "ManifestPath.h"

#include "JavaClass.h"
#include "ProgramFiles.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>

namespace kestrav::tools {

namespace {

namespace fs = std::filesystem;

/// An archive or a folder in which classes are looked for.
struct Source {
    fs::path path;  ///< the user's
    fs::path place; ///< in the application's folder of files; empty if it does not travel
    bool isGiven;   ///< by the user, not by a manifest
};

bool isThere(const fs::path &path) {
    std::error_code unknown;
    return fs::exists(path, unknown);
}

/// Without "." and "..", where they can be resolved, and without a "/" at the end.
fs::path normal(const fs::path &path) {
    const fs::path plain = path.lexically_normal();
    return plain.has_filename() ? plain : plain.parent_path();
}

class Follower {
public:
    explicit Follower(Program &program) : program_(program) {}

    std::vector<std::string> follow(const std::vector<Program::File> &classPath) {
        for (const Program::File &file : classPath) {
            pending_.push_back({file.source, file.name, true});
            while (!pending_.empty()) {
                const Source source = std::move(pending_.back());
                pending_.pop_back();
                visit(source);
            }
        }
        return std::move(found_);
    }

private:
    void visit(const Source &source) {
        if (!known_.insert(fs::canonical(source.path).string()).second) {
            return;
        }
        const bool isArchive = source.path.extension() == ".jar" || source.path.extension() == ".zip";
        const bool isFolder = fs::is_directory(source.path);
        if (!isFolder && !source.isGiven && !isArchive) {
            return; // Java passes over what is not an archive
        }
        found_.push_back(source.path.string());
        if (isFolder) {
            return;
        }
        std::vector<Source> named;
        for (const std::string &name : manifestOf(source.path.string()).classPath) {
            if (auto next = take(name, source)) {
                named.push_back(std::move(*next));
            }
        }
        pending_.insert(pending_.end(), named.rbegin(), named.rend());
    }

    /// What an archive's manifest names, if it is there. It becomes a part of the application unless it is one already.
    std::optional<Source> take(const std::string &name, const Source &archive) {
        const fs::path path = normal(archive.path.parent_path() / name);
        if (fs::path(name).is_absolute() || archive.place.empty()) {
            if (!isThere(path)) {
                note(name, archive, "which is not there");
                return std::nullopt;
            }
            return Source{path, {}, false};
        }
        const fs::path place = normal(archive.place.parent_path() / name);
        if (place == ".") {
            return std::nullopt; // the folder of files itself
        }
        if (const auto source = sourceOf(place)) {
            return Source{*source, place, false};
        }
        const bool climbs = *place.begin() == "..";
        if (!isThere(path)) {
            if (!isNamedLikeGiven(place)) {
                note(name, archive,
                     "which is not in the application" + std::string(climbs ? "" : "; --file can add it"));
            }
            return std::nullopt;
        }
        if (isGiven(path)) {
            return std::nullopt;
        }
        if (climbs) {
            throw Refusal("The class path in the manifest of " + archive.path.string() + " names " + name +
                          ", which would lie outside the application; give it with --class-path");
        }
        addFile(program_, path.string(), place.string());
        return Source{path, place, false};
    }

    void note(const std::string &name, const Source &archive, const std::string &what) {
        program_.notes.push_back("the class path in the manifest of " + archive.path.string() + " names " + name +
                                 ", " + what);
    }

    /// The user's file that lies at this place in the application, be it in a folder.
    [[nodiscard]] std::optional<fs::path> sourceOf(const fs::path &place) const {
        for (const Program::File &file : program_.files) {
            const fs::path inFile = place.lexically_relative(file.name);
            const fs::path source = inFile == "." ? fs::path(file.source) : file.source / inFile;
            if (!inFile.empty() && *inFile.begin() != ".." && isThere(source)) {
                return source;
            }
        }
        return std::nullopt;
    }

    [[nodiscard]] bool isGiven(const fs::path &path) const {
        return std::any_of(program_.files.begin(), program_.files.end(), [&](const Program::File &file) {
            std::error_code missing;
            return fs::equivalent(file.source, path, missing);
        });
    }

    [[nodiscard]] bool isNamedLikeGiven(const fs::path &place) const {
        return std::any_of(program_.files.begin(), program_.files.end(),
                           [&](const Program::File &file) { return file.name == place.filename(); });
    }

    Program &program_;
    std::vector<Source> pending_; ///< the next one is the last
    std::set<std::string> known_;
    std::vector<std::string> found_;
};

} // namespace

std::vector<std::string> followManifests(Program &program, const std::vector<Program::File> &classPath) {
    return Follower(program).follow(classPath);
}

} // namespace kestrav::tools
