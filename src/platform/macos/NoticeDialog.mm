#include "platform/posix/NoticeDialog.h"

#include "platform/Application.h"
#include "platform/Bundle.h"
#include "platform/macos/CFValue.h"

#import <AppKit/AppKit.h>

namespace kestrav::platform {

namespace {

NSString *textOfButton(const char *key, const char *usual) {
    NSString *text = (NSString *)cfText(Bundle::mainBundle().localizedStringForKey(key, usual)).release();
    return [text autorelease];
}

} // namespace

bool runNoticeDialog(const NoticeDialog &dialog, void (*shown)()) {
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    [NSApplication sharedApplication]; // ends the process if there is no window server
    Application::hideFromDock();
    Application::activateIgnoringOtherApps();
    NSAlert *alert = [[NSAlert alloc] init];
    [alert setMessageText:(NSString *)cfText(dialog.title).get()];
    [alert setInformativeText:(NSString *)cfText(dialog.message).get()];
    [alert addButtonWithTitle:textOfButton("ButtonClose", "Close")];
    [alert addButtonWithTitle:textOfButton("ButtonCopy", "Copy")];
    shown();
    while ([alert runModal] == NSAlertSecondButtonReturn) {
        NSPasteboard *pasteboard = [NSPasteboard generalPasteboard];
        [pasteboard declareTypes:[NSArray arrayWithObject:NSPasteboardTypeString] owner:nil];
        [pasteboard setString:(NSString *)cfText(dialog.title + "\n" + dialog.message).get()
                      forType:NSPasteboardTypeString];
    }
    [alert release];
    [pool drain];
    return true;
}

} // namespace kestrav::platform
