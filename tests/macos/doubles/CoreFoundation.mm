#include <CoreFoundation/CoreFoundation.h>

#include <cstring>

#import <Foundation/Foundation.h>

// Values: each is an object of Foundation.

namespace {

id object(CFTypeRef reference) {
    return static_cast<id>(const_cast<void *>(reference));
}

enum Kind : CFTypeID { None, String, Number, BooleanKind, Data, Date, Array, Dictionary };

bool isBoolean(id value) {
    return value == [NSNumber numberWithBool:YES] || value == [NSNumber numberWithBool:NO];
}

bool isFloating(NSNumber *number) {
    return *[number objCType] == *@encode(double) || *[number objCType] == *@encode(float);
}

} // namespace

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFArrayCallBacks kCFTypeArrayCallBacks = {};
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {};

CFTypeRef CFRetain(CFTypeRef reference) {
    return [object(reference) retain];
}

void CFRelease(CFTypeRef reference) {
    [object(reference) release];
}

CFTypeID CFGetTypeID(CFTypeRef reference) {
    const struct {
        Class type;
        Kind kind;
    } kinds[] = {{[NSString class], String}, {[NSNumber class], Number}, {[NSData class], Data},
                 {[NSDate class], Date},     {[NSArray class], Array},   {[NSDictionary class], Dictionary}};
    for (const auto &[type, kind] : kinds) {
        if ([object(reference) isKindOfClass:type]) {
            return isBoolean(object(reference)) ? BooleanKind : kind;
        }
    }
    return None;
}

CFTypeID CFStringGetTypeID() {
    return String;
}
CFTypeID CFNumberGetTypeID() {
    return Number;
}
CFTypeID CFBooleanGetTypeID() {
    return BooleanKind;
}
CFTypeID CFDataGetTypeID() {
    return Data;
}
CFTypeID CFDateGetTypeID() {
    return Date;
}
CFTypeID CFArrayGetTypeID() {
    return Array;
}
CFTypeID CFDictionaryGetTypeID() {
    return Dictionary;
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar *characters, CFIndex count) {
    return (CFStringRef)[[NSString alloc] initWithCharacters:characters length:static_cast<NSUInteger>(count)];
}

CFIndex CFStringGetLength(CFStringRef string) {
    return static_cast<CFIndex>([(NSString *)string length]);
}

void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar *buffer) {
    [(NSString *)string
        getCharacters:buffer
                range:NSMakeRange(static_cast<NSUInteger>(range.location), static_cast<NSUInteger>(range.length))];
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void *value) {
    if (type == kCFNumberDoubleType) {
        return (CFNumberRef)[[NSNumber alloc] initWithDouble:*static_cast<const double *>(value)];
    }
    return (CFNumberRef)[[NSNumber alloc] initWithLongLong:*static_cast<const int64_t *>(value)];
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
    return isFloating((NSNumber *)number);
}

Boolean CFNumberGetValue(CFNumberRef reference, CFNumberType type, void *value) {
    NSNumber *number = (NSNumber *)reference;
    if (type == kCFNumberDoubleType) {
        *static_cast<double *>(value) = [number doubleValue];
        return true;
    }
    if (type == kCFNumberSInt32Type) {
        *static_cast<int32_t *>(value) = [number intValue];
        return [number longLongValue] == [number intValue];
    }
    *static_cast<int64_t *>(value) = [number longLongValue];
    return *[number objCType] != *@encode(unsigned long long) || [number longLongValue] >= 0;
}

CFBooleanRef CFBooleanDouble(Boolean value) {
    return (CFBooleanRef)[NSNumber numberWithBool:value];
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    return [(NSNumber *)boolean boolValue];
}

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8 *bytes, CFIndex length) {
    return (CFDataRef)[[NSData alloc] initWithBytes:bytes length:static_cast<NSUInteger>(length)];
}

CFIndex CFDataGetLength(CFDataRef data) {
    return static_cast<CFIndex>([(NSData *)data length]);
}

const UInt8 *CFDataGetBytePtr(CFDataRef data) {
    return static_cast<const UInt8 *>([(NSData *)data bytes]);
}

CFDateRef CFDateCreate(CFAllocatorRef, CFAbsoluteTime time) {
    return (CFDateRef)[[NSDate alloc] initWithTimeIntervalSinceReferenceDate:time];
}

CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date) {
    return [(NSDate *)date timeIntervalSinceReferenceDate];
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex, const CFArrayCallBacks *) {
    return (CFMutableArrayRef)[[NSMutableArray alloc] init];
}

void CFArrayAppendValue(CFMutableArrayRef array, const void *value) {
    [(NSMutableArray *)array addObject:object(value)];
}

CFIndex CFArrayGetCount(CFArrayRef array) {
    return static_cast<CFIndex>([(NSArray *)array count]);
}

const void *CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    return [(NSArray *)array objectAtIndex:static_cast<NSUInteger>(index)];
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex, const CFDictionaryKeyCallBacks *,
                                                 const CFDictionaryValueCallBacks *) {
    return (CFMutableDictionaryRef)[[NSMutableDictionary alloc] init];
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void *key, const void *value) {
    [(NSMutableDictionary *)dictionary setObject:object(value) forKey:object(key)];
}

void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction function, void *context) {
    for (id key in (NSDictionary *)dictionary) {
        function(key, [(NSDictionary *)dictionary objectForKey:key], context);
    }
}

CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef, CFDataRef data, CFOptionFlags,
                                               CFPropertyListFormat *format, CFErrorRef *) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    NSPropertyListFormat found = NSPropertyListXMLFormat_v1_0;
    NSData *bytes = (NSData *)data;
    if ([bytes length] >= 3 && memcmp([bytes bytes], "\xEF\xBB\xBF", 3) == 0) {
        bytes = [bytes subdataWithRange:NSMakeRange(3, [bytes length] - 3)];
    }
    id list = nil;
    @try {
        list = [[NSPropertyListSerialization propertyListWithData:bytes
                                                          options:NSPropertyListImmutable
                                                           format:&found
                                                            error:nullptr] retain];
    } @catch (NSException *) {
        list = nil;
    }
    *format = static_cast<CFPropertyListFormat>(found);
    [pool drain];
    return list;
}

CFDataRef CFPropertyListCreateData(CFAllocatorRef, CFPropertyListRef list, CFPropertyListFormat, CFOptionFlags,
                                   CFErrorRef *) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    NSData *data = [[NSPropertyListSerialization dataWithPropertyList:object(list)
                                                               format:NSPropertyListXMLFormat_v1_0
                                                              options:0
                                                                error:nullptr] retain];
    [pool drain];
    return (CFDataRef)data;
}

CFCharacterSetRef CFCharacterSetGetPredefined(CFCharacterSetPredefinedSet set) {
    switch (set) {
    case kCFCharacterSetDecimalDigit:
        return (CFCharacterSetRef)[NSCharacterSet decimalDigitCharacterSet];
    case kCFCharacterSetPunctuation:
        return (CFCharacterSetRef)[NSCharacterSet punctuationCharacterSet];
    default:
        return (CFCharacterSetRef)[NSCharacterSet whitespaceAndNewlineCharacterSet];
    }
}

Boolean CFCharacterSetIsCharacterMember(CFCharacterSetRef set, UniChar character) {
    return [(NSCharacterSet *)set characterIsMember:character];
}
