#include "StartReport.h"
#include "platform/format.h"
#include "platform/text.h"

namespace kestrav::tools {

namespace {

std::string json(const std::string &text) {
    std::string result = "\"";
    for (const char character : platform::utf8(platform::utf16(text))) {
        if (character == '"' || character == '\\') {
            result += {'\\', character};
        } else if (static_cast<unsigned char>(character) < ' ') {
            result += platform::format("\\u%04x", static_cast<unsigned>(character));
        } else {
            result += character;
        }
    }
    return result + "\"";
}

std::string json(int number) {
    return std::to_string(number);
}

std::string json(bool value) {
    return value ? "true" : "false";
}

template <class Value> std::string json(const std::optional<Value> &value) {
    return value ? json(*value) : "null";
}

/// Members of an object, or entries of an array, one after another.
class List {
public:
    template <class Value> List &add(const char *name, const Value &value) { return entry(json(name) + ": " + value); }
    List &entry(const std::string &text) {
        text_ += (text_.empty() ? "" : ", ") + text;
        return *this;
    }
    [[nodiscard]] std::string object() const { return "{" + text_ + "}"; }
    [[nodiscard]] std::string array() const { return "[" + text_ + "]"; }

private:
    static std::string json(const char *name) { return std::string("\"") + name + "\""; }
    std::string text_;
};

template <class Entries, class Function> std::string arrayOf(const Entries &entries, const Function &jsonOfEntry) {
    List list;
    for (const auto &each : entries) {
        list.entry(jsonOfEntry(each));
    }
    return list.array();
}

std::string arrayOf(const std::vector<std::string> &strings) {
    return arrayOf(strings, [](const std::string &each) { return json(each); });
}

} // namespace

std::string jsonOf(const StartReport &report) {
    const auto runtime = [](const StartReport::Runtime &each) {
        return List()
            .add("path", json(each.path))
            .add("version", json(each.version))
            .add("place", json(each.place))
            .object();
    };
    const auto candidate = [](const Candidate &each) {
        const bool accepted = each.verdict.launchVersion.has_value();
        return List()
            .add("path", json(each.path))
            .add("place", json(each.place))
            .add("accepted", json(accepted))
            .add("reason", accepted ? "null" : json(each.verdict.refusal))
            .object();
    };
    const auto origin = [](const StartReport::Origin &each) {
        return List().add("value", json(each.value)).add("file", json(each.file)).add("line", json(each.line)).object();
    };
    const auto leftOut = [](const StartReport::LeftOut &each) {
        return List().add("path", json(each.path)).add("reason", json(each.reason)).object();
    };
    const auto obtained = [](const StartReport::Obtained &each) {
        return List().add("from", json(each.from)).add("to", json(each.to)).object();
    };
    const auto place = report.mainClassPlace.empty() ? std::nullopt : std::optional(report.mainClassPlace);
    const std::string mainClass = List()
                                      .add("name", json(report.mainClass))
                                      .add("place", json(place))
                                      .add("javaVersion", json(report.mainClassNeeds))
                                      .object();
    return List()
               .add("wouldStart", json(report.problems.empty()))
               .add("problems", arrayOf(report.problems))
               .add("runtime", report.runtime ? runtime(*report.runtime) : "null")
               .add("candidates", arrayOf(report.candidates, candidate))
               .add("mainClass", mainClass)
               .add("commandLine", arrayOf(report.commandLine))
               .add("origins", arrayOf(report.origins, origin))
               .add("leftOut", arrayOf(report.leftOut, leftOut))
               .add("missing", arrayOf(report.missing))
               .add("unreplaced", arrayOf(report.unreplaced))
               .add("obtains", arrayOf(report.obtains, obtained))
               .object() +
           "\n";
}

std::string jsonOfRefusal(const std::string &reason) {
    return List().add("wouldStart", json(false)).add("error", json(reason)).object() + "\n";
}

} // namespace kestrav::tools
