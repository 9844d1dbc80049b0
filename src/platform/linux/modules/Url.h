#pragma once

#include "platform/linux/modules/FreeWith.h"

#include <curl/curl.h>

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

using Url = std::unique_ptr<CURLU, FreeWith<curl_url_cleanup>>;

/// Spaces and bytes beyond ASCII percent-encoded, as browsers do; host names have an encoding of their own.
inline std::string encoded(std::string_view text) {
    const std::size_t authority = text.find("://");
    const std::size_t path =
        authority == std::string_view::npos ? text.find(':') : text.find_first_of("/?#", authority + 3);
    std::string result(text.substr(0, path));
    for (const char character : text.substr(result.size())) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte == ' ' || byte >= 0x80) {
            char code[4];
            std::snprintf(code, sizeof code, "%%%02X", byte);
            result += code;
        } else {
            result += character;
        }
    }
    return result;
}

/// A part of the URL, decoded; empty if it has none.
inline std::string partOf(CURLU *url, CURLUPart part) {
    char *text = nullptr;
    const std::unique_ptr<char, FreeWith<curl_free>> owner(
        curl_url_get(url, part, &text, CURLU_URLDECODE) == CURLUE_OK ? text : nullptr);
    return owner ? owner.get() : "";
}
