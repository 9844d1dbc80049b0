#pragma once

// The part of CoreFoundation that the macOS platform calls, for checks on a machine without it. Signatures are those of
// the real one. CoreFoundation.mm makes each object one of Foundation's, so that casts between the two hold here too.

#include <stddef.h>
#include <stdint.h>

extern "C" {

typedef unsigned char Boolean;
typedef uint8_t UInt8;
typedef int32_t SInt32;
typedef uint16_t UniChar;
typedef uint32_t UTF32Char;
typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef signed long CFIndex;
typedef double CFTimeInterval;
typedef double CFAbsoluteTime;

typedef const void *CFTypeRef;
typedef CFTypeRef CFPropertyListRef;
typedef const struct __CFAllocator *CFAllocatorRef;
typedef const struct __CFString *CFStringRef;
typedef const struct __CFNumber *CFNumberRef;
typedef const struct __CFBoolean *CFBooleanRef;
typedef const struct __CFData *CFDataRef;
typedef const struct __CFDate *CFDateRef;
typedef const struct __CFArray *CFArrayRef;
typedef struct __CFArray *CFMutableArrayRef;
typedef const struct __CFDictionary *CFDictionaryRef;
typedef struct __CFDictionary *CFMutableDictionaryRef;
typedef const struct __CFURL *CFURLRef;
typedef const struct __CFCharacterSet *CFCharacterSetRef;
typedef struct __CFBundle *CFBundleRef;
typedef struct __CFError *CFErrorRef;

typedef struct {
    CFIndex location;
    CFIndex length;
} CFRange;
inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
    return CFRange{location, length};
}

extern const CFAllocatorRef kCFAllocatorDefault;
CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);

CFTypeID CFStringGetTypeID(void);
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator, const UniChar *characters, CFIndex count);
CFIndex CFStringGetLength(CFStringRef string);
void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar *buffer);

typedef CFIndex CFNumberType;
enum { kCFNumberSInt32Type = 3, kCFNumberSInt64Type = 4, kCFNumberDoubleType = 13 };
CFTypeID CFNumberGetTypeID(void);
CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void *value);
Boolean CFNumberIsFloatType(CFNumberRef number);
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void *value);

// Constants there; here no object can be made before the program runs.
CFBooleanRef CFBooleanDouble(Boolean value);
#define kCFBooleanTrue CFBooleanDouble(true)
#define kCFBooleanFalse CFBooleanDouble(false)
CFTypeID CFBooleanGetTypeID(void);
Boolean CFBooleanGetValue(CFBooleanRef boolean);

CFTypeID CFDataGetTypeID(void);
CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8 *bytes, CFIndex length);
CFIndex CFDataGetLength(CFDataRef data);
const UInt8 *CFDataGetBytePtr(CFDataRef data);

CFTypeID CFDateGetTypeID(void);
CFDateRef CFDateCreate(CFAllocatorRef allocator, CFAbsoluteTime time);
CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date);

typedef struct CFCallBacks CFArrayCallBacks, CFDictionaryKeyCallBacks, CFDictionaryValueCallBacks;
struct CFCallBacks {
    CFIndex version;
};
extern const CFArrayCallBacks kCFTypeArrayCallBacks;
extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

CFTypeID CFArrayGetTypeID(void);
CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity, const CFArrayCallBacks *callBacks);
void CFArrayAppendValue(CFMutableArrayRef array, const void *value);
CFIndex CFArrayGetCount(CFArrayRef array);
const void *CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

CFTypeID CFDictionaryGetTypeID(void);
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks *keyCallBacks,
                                                 const CFDictionaryValueCallBacks *valueCallBacks);
void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void *key, const void *value);
typedef void (*CFDictionaryApplierFunction)(const void *key, const void *value, void *context);
void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction function, void *context);

typedef CFIndex CFPropertyListFormat;
enum { kCFPropertyListOpenStepFormat = 1, kCFPropertyListXMLFormat_v1_0 = 100, kCFPropertyListBinaryFormat_v1_0 = 200 };
enum { kCFPropertyListImmutable = 0 };
CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef allocator, CFDataRef data, CFOptionFlags options,
                                               CFPropertyListFormat *format, CFErrorRef *error);
CFDataRef CFPropertyListCreateData(CFAllocatorRef allocator, CFPropertyListRef list, CFPropertyListFormat format,
                                   CFOptionFlags options, CFErrorRef *error);

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8 *path, CFIndex length,
                                                 Boolean isDirectory);
Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolve, UInt8 *buffer, CFIndex size);

CFBundleRef CFBundleGetMainBundle(void);
CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url);
CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);
CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef bundle);
CFURLRef CFBundleCopyResourcesDirectoryURL(CFBundleRef bundle);
CFURLRef CFBundleCopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type, CFStringRef folder);
CFStringRef CFBundleCopyLocalizedString(CFBundleRef bundle, CFStringRef key, CFStringRef value, CFStringRef table);
CFArrayRef CFBundleCopyExecutableArchitectures(CFBundleRef bundle);

extern const CFStringRef kCFPreferencesCurrentApplication;
CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef application);
void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef application);
void CFPreferencesAddSuitePreferencesToApp(CFStringRef application, CFStringRef suite);
Boolean CFPreferencesAppSynchronize(CFStringRef application);

typedef CFIndex CFCharacterSetPredefinedSet;
enum { kCFCharacterSetWhitespaceAndNewline = 3, kCFCharacterSetDecimalDigit = 4, kCFCharacterSetPunctuation = 11 };
CFCharacterSetRef CFCharacterSetGetPredefined(CFCharacterSetPredefinedSet set);
Boolean CFCharacterSetIsCharacterMember(CFCharacterSetRef set, UniChar character);

enum { kCFUserNotificationStopAlertLevel = 0 };
SInt32 CFUserNotificationDisplayNotice(CFTimeInterval timeout, CFOptionFlags flags, CFURLRef icon, CFURLRef sound,
                                       CFURLRef localization, CFStringRef header, CFStringRef message,
                                       CFStringRef buttonTitle);

} // extern "C"
