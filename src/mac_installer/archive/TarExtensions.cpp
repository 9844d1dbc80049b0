#include "mac_installer/archive/TarExtensions.h"

#include <algorithm>
#include <utility>

namespace kestrav {

using Type = TarHeader::Type;

namespace {

/// Reads a name that ends with its first NUL, or with the data.
bool readName(GzipStream &stream, std::int64_t length, std::string &name) {
    auto text = readTarText(stream, length);
    if (text) {
        text->resize(std::min(text->find('\0'), text->size()));
        name = std::move(*text);
    }
    return text.has_value();
}

} // namespace

bool TarExtensions::extends(Type type) {
    return type == Type::longName || type == Type::longLinkName || type == Type::records || type == Type::globalRecords;
}

bool TarExtensions::read(GzipStream &stream, Type type, std::int64_t length) {
    switch (type) {
    case Type::longName:
        return readName(stream, length, longName_);
    case Type::longLinkName:
        return readName(stream, length, longLinkName_);
    default:
        return readPaxRecords(stream, length, type == Type::globalRecords ? globalRecords_ : records_);
    }
}

TarEntry TarExtensions::take(const TarHeader &header) {
    TarEntry entry;
    entry.type = header.type();
    entry.name = recorded(pax::path, longName_.empty() ? header.name() : longName_);
    entry.linkName = recorded(pax::linkPath, longLinkName_.empty() ? header.linkName() : longLinkName_);
    entry.mode = header.mode();
    const auto size = parseDecimal(recorded(pax::size, ""));
    entry.fileLength = size.value_or(header.fileLength());
    entry.sparse = entry.type == Type::sparseFile || records_.count(pax::sparse) != 0;
    if (entry.sparse) {
        entry.name = recorded(pax::sparseName, entry.name);
    }
    longName_.clear();
    longLinkName_.clear();
    records_.clear();
    return entry;
}

std::string TarExtensions::recorded(std::string_view keyword, std::string text) const {
    for (const PaxRecords *records : {&records_, &globalRecords_}) {
        const auto found = records->find(keyword);
        if (found != records->end()) {
            return found->second.empty() ? text : found->second;
        }
    }
    return text;
}

} // namespace kestrav
