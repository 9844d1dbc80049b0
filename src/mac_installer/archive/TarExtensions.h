#pragma once

#include "mac_installer/archive/PaxRecords.h"
#include "mac_installer/archive/TarHeader.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kestrav {

class GzipStream;

/// What some entries of an archive say of others: long names of GNU tar and pax records, for the entry that follows
/// them or, in global headers, for all that follow.
class TarExtensions {
public:
    /// True for the types that `read` takes.
    [[nodiscard]] static bool extends(TarHeader::Type type);

    /// Reads the data of such an entry, without its padding. False if the stream ends in them or something is wrong.
    [[nodiscard]] bool read(GzipStream &stream, TarHeader::Type type, std::int64_t length);

    /// The entry that has this header, with what was said of it, which does not count for the next.
    [[nodiscard]] TarEntry take(const TarHeader &header);

private:
    /// What records say; the text itself if they do not.
    [[nodiscard]] std::string recorded(std::string_view keyword, std::string text) const;

    std::string longName_;
    std::string longLinkName_;
    PaxRecords records_;
    PaxRecords globalRecords_;
};

} // namespace kestrav
