#include "CoreFoundationDouble.h"

#include <CoreFoundation/CoreFoundation.h>
#include <sys/sysctl.h>

#include <cerrno>
#include <cstring>

#import <Foundation/Foundation.h>

// The services of CoreFoundation and of the system: bundles, defaults, notices, settings.

/// A bundle in the layout of macOS, which GNUstep's own does not know.
@interface BundleDouble : NSObject {
    NSString *path;
    NSDictionary *information;
}
- (id)initWithPath:(NSString *)bundlePath;
- (NSString *)path;
- (NSDictionary *)information;
- (NSString *)resources;
- (NSString *)pathForResource:(NSString *)file;
@end

namespace {

NSArray *preferredLanguages = nil;
std::optional<std::vector<std::optional<std::int32_t>>> architectures;
std::function<std::int32_t(const kestrav::tests::DisplayedNotice &)> displayNotice;
std::function<std::optional<std::vector<std::uint8_t>>(const std::string &)> control;

BOOL isDirectory(NSString *path) {
    BOOL directory = NO;
    return [[NSFileManager defaultManager] fileExistsAtPath:path isDirectory:&directory] && directory;
}

NSString *string(const std::string &text) {
    return [NSString stringWithUTF8String:text.c_str()];
}

std::optional<std::string> text(CFStringRef reference) {
    return reference == nullptr ? std::nullopt : std::optional<std::string>([(NSString *)reference UTF8String]);
}

BundleDouble *bundleOf(CFBundleRef bundle) {
    return (BundleDouble *)bundle;
}

} // namespace

@implementation BundleDouble

- (id)initWithPath:(NSString *)bundlePath {
    self = [super init];
    path = [bundlePath copy];
    for (NSString *place in
         [NSArray arrayWithObjects:@"Contents/Info.plist", @"Resources/Info.plist", @"Info.plist", nil]) {
        NSData *data = [NSData dataWithContentsOfFile:[path stringByAppendingPathComponent:place]];
        if (data != nil) {
            id list = [NSPropertyListSerialization propertyListWithData:data options:0 format:nullptr error:nullptr];
            information = [list isKindOfClass:[NSDictionary class]] ? [list retain] : nil;
            break;
        }
    }
    return self;
}

- (void)dealloc {
    [path release];
    [information release];
    [super dealloc];
}

- (NSString *)path {
    return path;
}

- (NSDictionary *)information {
    return information;
}

- (NSString *)resources {
    for (NSString *place in [NSArray arrayWithObjects:@"Contents/Resources", @"Resources", nil]) {
        NSString *folder = [path stringByAppendingPathComponent:place];
        if (isDirectory(folder)) {
            return folder;
        }
    }
    return path;
}

- (NSString *)pathForResource:(NSString *)file {
    NSMutableArray *folders = [NSMutableArray array];
    for (NSString *language in preferredLanguages) {
        [folders addObject:[language stringByAppendingString:@".lproj"]];
    }
    NSString *region = [information objectForKey:@"CFBundleDevelopmentRegion"];
    if (region != nil) {
        [folders addObject:[region stringByAppendingString:@".lproj"]];
    }
    [folders addObject:@"en.lproj"];
    [folders addObject:@""];
    for (NSString *folder in folders) {
        NSString *candidate =
            [[[self resources] stringByAppendingPathComponent:folder] stringByAppendingPathComponent:file];
        if ([[NSFileManager defaultManager] fileExistsAtPath:candidate]) {
            return candidate;
        }
    }
    return nil;
}

@end

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8 *path, CFIndex length, Boolean isFolder) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    NSString *file = string(std::string(reinterpret_cast<const char *>(path), static_cast<size_t>(length)));
    NSURL *url = file != nil ? [[NSURL alloc] initFileURLWithPath:file isDirectory:isFolder] : nil;
    [pool drain];
    return (CFURLRef)url;
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean, UInt8 *buffer, CFIndex size) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    const char *path = [[(NSURL *)url path] fileSystemRepresentation];
    const size_t length = std::strlen(path) + 1;
    const bool fits = length <= static_cast<size_t>(size);
    if (fits) {
        std::memcpy(buffer, path, length);
    }
    [pool drain];
    return fits;
}

CFBundleRef CFBundleGetMainBundle() {
    static BundleDouble *bundle = nil;
    if (bundle == nil) {
        NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
        bundle = [[BundleDouble alloc] initWithPath:[[NSBundle mainBundle] bundlePath]];
        [pool drain];
    }
    return (CFBundleRef)bundle;
}

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef url) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    BundleDouble *bundle = [[BundleDouble alloc] initWithPath:[(NSURL *)url path]];
    [pool drain];
    return (CFBundleRef)bundle;
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle) {
    return (CFURLRef)[[NSURL alloc] initFileURLWithPath:[bundleOf(bundle) path] isDirectory:YES];
}

CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef bundle) {
    return (CFDictionaryRef)[bundleOf(bundle) information];
}

CFURLRef CFBundleCopyResourcesDirectoryURL(CFBundleRef bundle) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    NSURL *url = [[NSURL alloc] initFileURLWithPath:[bundleOf(bundle) resources] isDirectory:YES];
    [pool drain];
    return (CFURLRef)url;
}

CFURLRef CFBundleCopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type, CFStringRef) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    NSString *file =
        type != nullptr ? [(NSString *)name stringByAppendingPathExtension:(NSString *)type] : (NSString *)name;
    NSString *path = [bundleOf(bundle) pathForResource:file];
    NSURL *url = path != nil ? [[NSURL alloc] initFileURLWithPath:path] : nil;
    [pool drain];
    return (CFURLRef)url;
}

CFStringRef CFBundleCopyLocalizedString(CFBundleRef bundle, CFStringRef key, CFStringRef value, CFStringRef) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    NSString *path = [bundleOf(bundle) pathForResource:@"Localizable.strings"];
    NSData *data = path != nil ? [NSData dataWithContentsOfFile:path] : nil;
    const auto *bytes = static_cast<const unsigned char *>([data bytes]);
    const bool isWide = [data length] >= 2 && (bytes[0] ^ bytes[1]) == (0xFE ^ 0xFF);
    NSString *table =
        [[[NSString alloc] initWithData:data
                               encoding:isWide ? NSUnicodeStringEncoding : NSUTF8StringEncoding] autorelease];
    NSString *found = [[table propertyListFromStringsFileFormat] objectForKey:(NSString *)key];
    if (found == nil) {
        found = [(NSString *)value length] > 0 ? (NSString *)value : (NSString *)key;
    }
    [found retain];
    [pool drain];
    return (CFStringRef)found;
}

CFArrayRef CFBundleCopyExecutableArchitectures(CFBundleRef) {
    if (!architectures) {
        return nullptr;
    }
    NSMutableArray *list = [[NSMutableArray alloc] init];
    for (const auto &architecture : *architectures) {
        [list addObject:architecture ? (id)[NSNumber numberWithInt:*architecture] : (id) @"unknown"];
    }
    return (CFArrayRef)list;
}

const CFStringRef kCFPreferencesCurrentApplication = (CFStringRef) @"kCFPreferencesCurrentApplication";

CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    id value = [[[NSUserDefaults standardUserDefaults] objectForKey:(NSString *)key] retain];
    [pool drain];
    return value;
}

void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    [[NSUserDefaults standardUserDefaults] setObject:(id)value forKey:(NSString *)key];
    [pool drain];
}

void CFPreferencesAddSuitePreferencesToApp(CFStringRef, CFStringRef suite) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    [[NSUserDefaults standardUserDefaults] addSuiteNamed:(NSString *)suite];
    [pool drain];
}

Boolean CFPreferencesAppSynchronize(CFStringRef) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    const BOOL written = [[NSUserDefaults standardUserDefaults] synchronize];
    [pool drain];
    return written;
}

SInt32 CFUserNotificationDisplayNotice(CFTimeInterval timeout, CFOptionFlags flags, CFURLRef icon, CFURLRef sound,
                                       CFURLRef localization, CFStringRef header, CFStringRef message,
                                       CFStringRef buttonTitle) {
    const bool hasMore = icon != nullptr || sound != nullptr || localization != nullptr;
    const kestrav::tests::DisplayedNotice notice{timeout,      flags,         hasMore,
                                                 text(header), text(message), text(buttonTitle)};
    if (displayNotice) {
        return displayNotice(notice);
    }
    fprintf(stderr, "notice: %s: %s\n", notice.header.value_or("").c_str(), notice.message.value_or("").c_str());
    return 0;
}

int sysctlbyname(const char *name, void *value, size_t *size, void *, size_t) {
    const auto bytes = control ? control(name) : std::nullopt;
    if (!bytes || bytes->size() > *size) {
        errno = bytes ? ENOMEM : ENOENT;
        return -1;
    }
    std::memcpy(value, bytes->data(), bytes->size());
    *size = bytes->size();
    return 0;
}

namespace kestrav::tests {

void setDisplayNotice(std::function<std::int32_t(const DisplayedNotice &)> display) {
    displayNotice = std::move(display);
}

void setArchitectures(std::optional<std::vector<std::optional<std::int32_t>>> list) {
    architectures = std::move(list);
}

void setSysctl(std::function<std::optional<std::vector<std::uint8_t>>(const std::string &)> answer) {
    control = std::move(answer);
}

void setLanguagesOfBundles(const std::vector<std::string> &languages) {
    [preferredLanguages release];
    NSMutableArray *list = [[NSMutableArray alloc] init];
    for (const std::string &language : languages) {
        [list addObject:string(language)];
    }
    preferredLanguages = list;
}

} // namespace kestrav::tests
