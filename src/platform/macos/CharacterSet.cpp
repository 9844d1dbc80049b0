#include "platform/text.h"

#include <CoreFoundation/CoreFoundation.h>

namespace kestrav::platform {

namespace {

bool isMember(CFCharacterSetPredefinedSet set, char16_t unit) {
    return CFCharacterSetIsCharacterMember(CFCharacterSetGetPredefined(set), unit) != 0;
}

} // namespace

bool isDecimalDigit(char16_t unit) {
    return isMember(kCFCharacterSetDecimalDigit, unit);
}

bool isWhitespaceOrNewline(char16_t unit) {
    return isMember(kCFCharacterSetWhitespaceAndNewline, unit);
}

bool isPunctuation(char16_t unit) {
    return isMember(kCFCharacterSetPunctuation, unit);
}

} // namespace kestrav::platform
