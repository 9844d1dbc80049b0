#include "mac_installer/archive/PaxRecords.h"

#include "mac_installer/archive/GzipStream.h"

#include <algorithm>
#include <charconv>
#include <span>

namespace kestrav {

namespace {

/// The data of one extended header, read once from front to back.
class Data {
public:
    Data(GzipStream &stream, std::int64_t length) : stream_(stream), rest_(length) {}

    [[nodiscard]] std::int64_t rest() const { return rest_; }
    [[nodiscard]] bool skip(std::int64_t length) {
        rest_ -= length;
        return stream_.skip(length);
    }
    [[nodiscard]] std::optional<std::string> text(std::int64_t length) {
        rest_ -= length;
        return readTarText(stream_, length);
    }
    /// The bytes up to and including the delimiter, but at most `limit`. Fewer at the end of the data.
    [[nodiscard]] std::string textThrough(char delimiter, std::int64_t limit) {
        std::string text;
        for (char byte = '\0'; limit > 0 && rest_ > 0 && !text.ends_with(delimiter); --limit) {
            if (stream_.read({&byte, 1}) != 1) {
                break;
            }
            --rest_;
            text += byte;
        }
        return text;
    }

private:
    GzipStream &stream_;
    std::int64_t rest_;
};

bool isWanted(std::string_view keyword) {
    return keyword == pax::path || keyword == pax::linkPath || keyword == pax::size || keyword == pax::sparseName;
}

/// Reads what follows the length in a record, "LENGTH KEYWORD=VALUE\n".
bool readRecord(Data &data, std::int64_t left, PaxRecords &records) {
    constexpr std::int64_t longestKeyword = 32; // all keywords that matter are shorter
    std::string keyword = data.textThrough('=', std::min(left, longestKeyword));
    left -= static_cast<std::int64_t>(keyword.size());
    keyword.resize(keyword.ends_with('=') ? keyword.size() - 1 : 0);
    if (keyword.starts_with(pax::sparse)) {
        records[std::string(pax::sparse)] = "";
    }
    if (!isWanted(keyword)) {
        return data.skip(left);
    }
    auto value = left > 0 ? data.text(left - 1) : std::nullopt;
    if (!value || data.text(1) != "\n" || (keyword == pax::size && !value->empty() && !parseDecimal(*value))) {
        return false;
    }
    records[keyword] = std::move(*value);
    return true;
}

} // namespace

std::optional<std::int64_t> parseDecimal(std::string_view text) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool good = error == std::errc() && end == text.data() + text.size() && text.front() != '-';
    return good ? std::optional(value) : std::nullopt;
}

std::optional<std::string> readTarText(GzipStream &stream, std::int64_t length) {
    std::string text;
    if (length > longestTarName) {
        return std::nullopt;
    }
    while (static_cast<std::int64_t>(text.size()) < length) {
        const std::span<const char> piece = stream.next(static_cast<std::size_t>(length) - text.size());
        if (piece.empty()) {
            return std::nullopt;
        }
        text.append(piece.data(), piece.size());
    }
    return text;
}

bool readPaxRecords(GzipStream &stream, std::int64_t length, PaxRecords &records) {
    constexpr std::int64_t mostDigits = 20;
    Data data(stream, length);
    while (data.rest() > 0) {
        const std::int64_t start = data.rest();
        const std::string number = data.textThrough(' ', mostDigits);
        if (number.starts_with('\0')) {
            return data.skip(data.rest()); // padding
        }
        const auto recordLength = parseDecimal(number.substr(0, number.find(' ')));
        if (!recordLength || *recordLength > start || *recordLength <= static_cast<std::int64_t>(number.size()) ||
            !readRecord(data, *recordLength - static_cast<std::int64_t>(number.size()), records)) {
            return false;
        }
    }
    return true;
}

} // namespace kestrav
