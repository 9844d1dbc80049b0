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
    // The set also has the zero-width space, which Unicode no longer counts as a space.
    constexpr char16_t zeroWidthSpace = 0x200B;
    return unit != zeroWidthSpace && isMember(kCFCharacterSetWhitespaceAndNewline, unit);
}

bool isPunctuation(char16_t unit) {
    return isMember(kCFCharacterSetPunctuation, unit);
}

} // namespace kestrav::platform
