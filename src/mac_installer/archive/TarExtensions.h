#pragma once

#include "mac_installer/archive/PaxRecords.h"
#include "mac_installer/archive/TarHeader.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kestrav {

class GzipStream;

/// What some entries of an archive say about others: long names (GNU tar) and pax records, for the next entry or, in
/// global headers, for all that follow.
class TarExtensions {
public:
    /// True for the types of entries that `read` accepts.
    [[nodiscard]] static bool extends(TarHeader::Type type);

    /// Reads the data of such an entry, without its padding. False if the stream ends within the data or they are
    /// damaged.
    [[nodiscard]] bool read(GzipStream &stream, TarHeader::Type type, std::int64_t length);

    /// The entry with this header, completed by what was said about it. That does not count for the next entry.
    [[nodiscard]] TarEntry take(const TarHeader &header);

private:
    /// The value in the records, or `text` if they have none.
    [[nodiscard]] std::string recorded(std::string_view keyword, std::string text) const;

    std::string longName_;
    std::string longLinkName_;
    PaxRecords records_;
    PaxRecords globalRecords_;
};

} // namespace kestrav
