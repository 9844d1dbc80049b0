#include <cstdio>
#include <cstring>
#include <initializer_list>

#define COREFOUNDATION_DOUBLE // not yet, because GNUstep includes it too
#import <Foundation/Foundation.h>
#undef COREFOUNDATION_DOUBLE

typedef NSNull NSBoolean; // a class that no other type uses

namespace {

/// Frees what is autoreleased during a call, because the product's threads have no pool.
struct Pool {
    NSAutoreleasePool *const pool = [[NSAutoreleasePool alloc] init];
    ~Pool() { [pool drain]; }
};

id object(const void *reference) {
    return static_cast<id>(const_cast<void *>(reference));
}

NSURL *newURL(NSString *path) {
    return path != nil ? [[NSURL alloc] initFileURLWithPath:path] : nil;
}

// Bundles, in the layouts of macOS, which GNUstep's own does not know: each is a dictionary of its path and its
// information.

/// The first of these paths below a folder at which something exists.
NSString *find(NSString *path, std::initializer_list<NSString *> places) {
    for (NSString *place : places) {
        NSString *file = [path stringByAppendingPathComponent:place];
        if ([[NSFileManager defaultManager] fileExistsAtPath:file]) {
            return file;
        }
    }
    return nil;
}

NSString *resources(const void *bundle) {
    return find([object(bundle) objectForKey : @"path"], { @"Contents/Resources", @"Resources", @"" });
}

/// The user's language is always English here. A file outside the languages' folders comes first.
NSString *pathForResource(const void *bundle, NSString *file) {
    return find(resources(bundle), {file, [@"en.lproj" stringByAppendingPathComponent:file]});
}

} // namespace

#define CALL(RESULT, NAME, PARAMETERS, ...)                                                                            \
    RESULT NAME PARAMETERS {                                                                                           \
        const Pool pool;                                                                                               \
        return (RESULT)(__VA_ARGS__);                                                                                  \
    }
#include <CoreFoundation/CoreFoundation.h>

CFTypeID CFGetTypeID(CFTypeRef reference) {
    if (reference == kCFBooleanTrue || reference == kCFBooleanFalse) {
        return CFBooleanGetTypeID();
    }
    for (Class type :
         {[NSString class], [NSNumber class], [NSData class], [NSDate class], [NSArray class], [NSDictionary class]}) {
        if ([object(reference) isKindOfClass:type]) {
            return (CFTypeID)type;
        }
    }
    return 0;
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void *value) {
    if (type == kCFNumberDoubleType) {
        *(double *)value = [object(number) doubleValue];
        return true;
    }
    const int64_t integer = [object(number) longLongValue];
    memcpy(value, &integer, type == kCFNumberSInt32Type ? sizeof(int32_t) : sizeof integer);
    return true; // even if its upper bits are lost
}

CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef other, void *) {
    const auto wide = [](CFNumberRef value) -> __int128 {
        return *[object(value) objCType] == *@encode(unsigned long long)
                   ? __int128([object(value) unsignedLongLongValue])
                   : [object(value) longLongValue];
    };
    return CFComparisonResult((wide(number) > wide(other)) - (wide(number) < wide(other)));
}

void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction function, void *context) {
    for (id key in object(dictionary)) {
        function(key, [object(dictionary) objectForKey:key], context);
    }
}

CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef, CFDataRef data, CFOptionFlags options,
                                               CFPropertyListFormat *format, CFErrorRef *) {
    const Pool pool;
    NSPropertyListFormat found = NSPropertyListXMLFormat_v1_0;
    id list = nil;
    @try {
        list = [NSPropertyListSerialization propertyListWithData:object(data)
                                                         options:options
                                                          format:&found
                                                           error:nullptr];
    } @catch (NSException *) {
    }
    *format = static_cast<CFPropertyListFormat>(found);
    return [list retain];
}

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef url) {
    const Pool pool;
    NSString *path = [object(url) path];
    NSString *file = find(path, {@"Contents/Info.plist", @"Resources/Info.plist", @"Info.plist"});
    CFPropertyListFormat format = 0;
    CFDataRef data = (CFDataRef)(file != nil ? [NSData dataWithContentsOfFile:file] : nil);
    id list = [object(CFPropertyListCreateWithData(nullptr, data, 0, &format, nullptr)) autorelease];
    id information = [list isKindOfClass:[NSDictionary class]] ? list : nil;
    return (CFBundleRef)[[NSDictionary alloc] initWithObjectsAndKeys:path, @"path", information, @"information", nil];
}

CFBundleRef CFBundleGetMainBundle() {
    const Pool pool;
    NSString *path = [[NSBundle mainBundle] bundlePath];
    static const CFBundleRef bundle = CFBundleCreate(nullptr, (CFURLRef)[NSURL fileURLWithPath:path]);
    return bundle;
}

CFArrayRef CFBundleCopyExecutableArchitecturesForURL(CFURLRef url) {
    const Pool pool;
    NSData *content = [NSData dataWithContentsOfFile:[object(url) path]];
    uint32_t header[2] = {}; // mark and processor
    [content getBytes:header length:sizeof header];
    return header[0] == 0xFEEDFACF
               ? (CFArrayRef)[[NSArray alloc] initWithObjects:[NSNumber numberWithUnsignedInt:header[1]], nil]
               : nullptr;
}

CFStringRef CFBundleCopyLocalizedString(CFBundleRef bundle, CFStringRef key, CFStringRef value, CFStringRef) {
    const Pool pool;
    NSString *path = pathForResource(bundle, @"Localizable.strings");
    NSString *table =
        path != nil ? [NSString stringWithContentsOfFile:path encoding:NSUTF8StringEncoding error:nullptr] : nil;
    id entries = [table hasPrefix:@"<"] ? [table propertyList] : [table propertyListFromStringsFileFormat];
    id found = [entries objectForKey:object(key)];
    return (CFStringRef)[found != nil ? found : object(CFStringGetLength(value) > 0 ? value : key) retain];
}
