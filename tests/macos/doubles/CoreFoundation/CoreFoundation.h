#ifndef COREFOUNDATION_DOUBLE
#define COREFOUNDATION_DOUBLE

// The part of CoreFoundation that the macOS platform calls, for checks on a machine without it. Signatures are those of
// the real one. Each object is one of Foundation's, so that casts between the two work here too; CoreFoundation.mm
// implements each call as a message to the object.

#include <stddef.h>
#include <stdint.h>

extern "C" {
#ifndef CALL
#define CALL(RESULT, NAME, PARAMETERS, ...) RESULT NAME PARAMETERS;
#endif

typedef unsigned char Boolean;
typedef uint8_t UInt8;
typedef int32_t SInt32;
typedef uint16_t UniChar;
typedef unsigned long CFTypeID, CFOptionFlags;
typedef signed long CFIndex, CFNumberType, CFPropertyListFormat, CFCharacterSetPredefinedSet;
typedef double CFTimeInterval, CFAbsoluteTime;
typedef const void *CFTypeRef, *CFPropertyListRef;
typedef const struct __CFAllocator *CFAllocatorRef;
typedef const struct __CFURL *CFURLRef;
typedef const struct __CFCharacterSet *CFCharacterSetRef;
typedef struct __CFBundle *CFBundleRef;
typedef struct __CFError *CFErrorRef;
typedef struct {
    CFIndex location, length;
} CFRange;
inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
    return {location, length};
}

/// A type's number is its class.
#define TYPE(NAME)                                                                                                     \
    typedef const struct __CF##NAME *CF##NAME##Ref;                                                                    \
    CALL(CFTypeID, CF##NAME##GetTypeID, (void), [NS##NAME class])
TYPE(String)
TYPE(Number)
TYPE(Boolean)
TYPE(Data)
TYPE(Date)
TYPE(Array)
TYPE(Dictionary)
#undef TYPE
CFTypeID CFGetTypeID(CFTypeRef object);
const CFAllocatorRef kCFAllocatorDefault = nullptr;
CALL(CFTypeRef, CFRetain, (CFTypeRef reference), [object(reference) retain])
CALL(void, CFRelease, (CFTypeRef reference), [object(reference) release])
CALL(CFStringRef, CFStringCreateWithCharacters, (CFAllocatorRef, const UniChar *characters, CFIndex count),
     [[NSString alloc] initWithCharacters:characters length:NSUInteger(count)])
CALL(CFIndex, CFStringGetLength, (CFStringRef string), [object(string) length])
CALL(void, CFStringGetCharacters, (CFStringRef string, CFRange range, UniChar *buffer),
     [object(string) getCharacters:buffer range:NSMakeRange(NSUInteger(range.location), NSUInteger(range.length))])
enum { kCFNumberSInt32Type = 3, kCFNumberSInt64Type = 4, kCFNumberDoubleType = 13 };
CALL(CFNumberRef, CFNumberCreate, (CFAllocatorRef, CFNumberType type, const void *value),
     type == kCFNumberDoubleType ? [[NSNumber alloc] initWithDouble:*(const double *)value]
                                 : [[NSNumber alloc] initWithLongLong:*(const int64_t *)value])
CALL(Boolean, CFNumberIsFloatType, (CFNumberRef number), strchr("df", *[object(number) objCType]) != nullptr)
typedef enum : CFIndex { kCFCompareLessThan = -1, kCFCompareEqualTo, kCFCompareGreaterThan } CFComparisonResult;
CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef other, void *context);
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void *value);
// Constants in the real header; here an object cannot be made before the program runs.
#define kCFBooleanTrue CFBooleanDouble(true)
#define kCFBooleanFalse CFBooleanDouble(false)
CALL(CFBooleanRef, CFBooleanDouble, (Boolean value), [NSNumber numberWithBool:value])
CALL(Boolean, CFBooleanGetValue, (CFBooleanRef boolean), [object(boolean) boolValue])
CALL(CFDataRef, CFDataCreate, (CFAllocatorRef, const UInt8 *bytes, CFIndex length),
     [[NSData alloc] initWithBytes:bytes length:NSUInteger(length)])
CALL(CFIndex, CFDataGetLength, (CFDataRef data), [object(data) length])
CALL(const UInt8 *, CFDataGetBytePtr, (CFDataRef data), [object(data) bytes])
CALL(CFDateRef, CFDateCreate, (CFAllocatorRef, CFAbsoluteTime time),
     [[NSDate alloc] initWithTimeIntervalSinceReferenceDate:time])
CALL(CFAbsoluteTime, CFDateGetAbsoluteTime, (CFDateRef date), [object(date) timeIntervalSinceReferenceDate])
typedef const struct {
} CFArrayCallBacks, CFDictionaryKeyCallBacks, CFDictionaryValueCallBacks;
CFArrayCallBacks kCFTypeArrayCallBacks, kCFTypeDictionaryKeyCallBacks, kCFTypeDictionaryValueCallBacks;
typedef struct __CFArray *CFMutableArrayRef;
CALL(CFMutableArrayRef, CFArrayCreateMutable, (CFAllocatorRef, CFIndex, const CFArrayCallBacks *),
     [[NSMutableArray alloc] init])
CALL(void, CFArrayAppendValue, (CFMutableArrayRef array, const void *value), [object(array) addObject:object(value)])
CALL(CFIndex, CFArrayGetCount, (CFArrayRef array), [object(array) count])
CALL(const void *, CFArrayGetValueAtIndex, (CFArrayRef array, CFIndex index),
     [object(array) objectAtIndex:NSUInteger(index)])
typedef struct __CFDictionary *CFMutableDictionaryRef;
CALL(CFMutableDictionaryRef, CFDictionaryCreateMutable,
     (CFAllocatorRef, CFIndex, const CFDictionaryKeyCallBacks *, const CFDictionaryValueCallBacks *),
     [[NSMutableDictionary alloc] init])
CALL(void, CFDictionarySetValue, (CFMutableDictionaryRef dictionary, const void *key, const void *value),
     [object(dictionary) setObject:object(value) forKey:object(key)])
typedef void (*CFDictionaryApplierFunction)(const void *key, const void *value, void *context);
void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction function, void *context);
enum { kCFPropertyListOpenStepFormat = 1, kCFPropertyListXMLFormat_v1_0 = 100, kCFPropertyListImmutable = 0 };
CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef, CFDataRef data, CFOptionFlags,
                                               CFPropertyListFormat *format, CFErrorRef *);
CALL(CFDataRef, CFPropertyListCreateData,
     (CFAllocatorRef, CFPropertyListRef list, CFPropertyListFormat format, CFOptionFlags options, CFErrorRef *),
     [[NSPropertyListSerialization dataWithPropertyList:object(list)
                                                 format:static_cast<NSPropertyListFormat>(format)
                                                options:options
                                                  error:nullptr] retain])
CALL(CFURLRef, CFURLCreateFromFileSystemRepresentation, (CFAllocatorRef, const UInt8 *path, CFIndex length, Boolean),
     newURL([[NSFileManager defaultManager] stringWithFileSystemRepresentation:(const char *)path
                                                                        length:NSUInteger(length)]))
CALL(Boolean, CFURLGetFileSystemRepresentation, (CFURLRef url, Boolean, UInt8 *buffer, CFIndex size),
     snprintf((char *)buffer, size_t(size), "%s", [[object(url) path] fileSystemRepresentation]) < size)

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef url);
CFBundleRef CFBundleGetMainBundle(void);
CALL(CFURLRef, CFBundleCopyBundleURL, (CFBundleRef bundle), newURL([object(bundle) objectForKey:@"path"]))
CALL(CFDictionaryRef, CFBundleGetInfoDictionary, (CFBundleRef bundle), [object(bundle) objectForKey:@"information"])
CALL(CFTypeRef, CFBundleGetValueForInfoDictionaryKey, (CFBundleRef bundle, CFStringRef key),
     [[object(bundle) objectForKey:@"information"] objectForKey:object(key)])
CALL(CFURLRef, CFBundleCopyResourcesDirectoryURL, (CFBundleRef bundle), newURL(resources(bundle)))
CALL(CFURLRef, CFBundleCopyResourceURL, (CFBundleRef bundle, CFStringRef name, CFStringRef type, CFStringRef),
     newURL(pathForResource(bundle, type != nullptr ? [object(name) stringByAppendingPathExtension:object(type)]
                                                    : object(name))))
CFStringRef CFBundleCopyLocalizedString(CFBundleRef bundle, CFStringRef key, CFStringRef value, CFStringRef table);
CALL(CFArrayRef, CFBundleCopyExecutableArchitectures, (CFBundleRef), nullptr)
CFArrayRef CFBundleCopyExecutableArchitecturesForURL(CFURLRef url); // of Mach-O files for one processor
const CFStringRef kCFPreferencesCurrentApplication = nullptr;
CALL(CFPropertyListRef, CFPreferencesCopyAppValue, (CFStringRef key, CFStringRef),
     [[[NSUserDefaults standardUserDefaults] objectForKey:object(key)] retain])
CALL(void, CFPreferencesSetAppValue, (CFStringRef key, CFPropertyListRef value, CFStringRef),
     [[NSUserDefaults standardUserDefaults] setObject:object(value) forKey:object(key)])
CALL(void, CFPreferencesAddSuitePreferencesToApp, (CFStringRef, CFStringRef suite),
     [[NSUserDefaults standardUserDefaults] addSuiteNamed:object(suite)])
CALL(Boolean, CFPreferencesAppSynchronize, (CFStringRef), [[NSUserDefaults standardUserDefaults] synchronize])
enum { kCFCharacterSetWhitespaceAndNewline = 3, kCFCharacterSetDecimalDigit = 4, kCFCharacterSetPunctuation = 11 };
CALL(CFCharacterSetRef, CFCharacterSetGetPredefined, (CFCharacterSetPredefinedSet set),
     set == kCFCharacterSetDecimalDigit  ? [NSCharacterSet decimalDigitCharacterSet]
     : set == kCFCharacterSetPunctuation ? [NSCharacterSet punctuationCharacterSet]
                                         : [NSCharacterSet whitespaceAndNewlineCharacterSet])
CALL(Boolean, CFCharacterSetIsCharacterMember, (CFCharacterSetRef set, UniChar character),
     [object(set) characterIsMember:character])
enum { kCFUserNotificationStopAlertLevel = 0 }; // an empty message is not shown
CALL(SInt32, CFUserNotificationDisplayNotice,
     (CFTimeInterval timeout, CFOptionFlags flags, CFURLRef icon, CFURLRef sound, CFURLRef localization,
      CFStringRef header, CFStringRef message, CFStringRef buttonTitle),
     timeout != 0 || flags != kCFUserNotificationStopAlertLevel || icon || sound || localization || buttonTitle ||
             [object(message) length] == 0
         ? -1
         : fprintf(stderr, "notice: %s: %s\n", [object(header) UTF8String], [object(message) UTF8String]) * 0)

#undef CALL
} // extern "C"
#endif
