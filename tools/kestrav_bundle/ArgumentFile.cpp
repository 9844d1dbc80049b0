#include "ArgumentFile.h"

#include "Request.h"
#include "platform/FileManager.h"

#include <algorithm>

namespace kestrav::tools {

namespace {

constexpr std::string_view blanks = " \t\f\r\n";
constexpr std::string_view lineBreaks = "\r\n";

class WordReader {
public:
    explicit WordReader(std::string_view text) : text_(text) {}

    std::vector<std::string> words() {
        while (skipToWord()) {
            readWord();
        }
        return std::move(words_);
    }

private:
    bool skipToWord() {
        at_ = text_.find_first_not_of(blanks, at_);
        while (at_ < text_.size() && text_[at_] == '#') {
            at_ = text_.find_first_not_of(blanks, text_.find_first_of(lineBreaks, at_));
        }
        return at_ < text_.size();
    }

    void readWord() {
        std::string word;
        while (at_ < text_.size() && text_[at_] != '#' && blanks.find(text_[at_]) == std::string_view::npos) {
            const char character = text_[at_++];
            if (character == '"' || character == '\'') {
                readQuoted(word, character);
            } else {
                word += character;
            }
        }
        words_.push_back(std::move(word));
    }

    /// As far as the second quotation mark, or the end of the line.
    void readQuoted(std::string &word, char mark) {
        while (at_ < text_.size() && lineBreaks.find(text_[at_]) == std::string_view::npos) {
            const char character = text_[at_++];
            if (character == mark) {
                return;
            }
            if (character == '\\' && at_ < text_.size()) {
                readEscaped(word);
            } else {
                word += character;
            }
        }
    }

    void readEscaped(std::string &word) {
        constexpr std::string_view letters = "nrtf";
        constexpr std::string_view meanings = "\n\r\t\f";
        const char character = text_[at_++];
        const std::size_t letter = letters.find(character);
        if (lineBreaks.find(character) == std::string_view::npos) {
            word += letter == std::string_view::npos ? character : meanings[letter];
            return;
        }
        at_ = std::min(text_.find_first_not_of(blanks, at_), text_.size()); // the lines are one
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::vector<std::string> words_;
};

} // namespace

std::vector<std::string> wordsOf(std::string_view text) {
    return WordReader(text).words();
}

std::vector<std::string> wordsOfFile(const std::string &path) {
    const auto text = platform::stringWithContentsOfFile(path);
    if (!text) {
        throw Refusal("The file with options " + path + " cannot be read as UTF-8 text");
    }
    return wordsOf(*text);
}

} // namespace kestrav::tools
