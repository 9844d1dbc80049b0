#include "platform/macos/ControlObservers.h"

#include "platform/macos/CFText.h"

namespace kestrav::platform {

namespace {

NSString *stringOf(const std::string &text) {
    return [(NSString *)cfText(text).release() autorelease];
}

} // namespace

void observe(ImageView &view, NSImageView *shown) {
    view.setObserver([&view, shown] {
        NSImage *image = view.image() ? [[NSImage alloc] initWithContentsOfFile:stringOf(*view.image())] : nil;
        [shown setImage:image];
        [image release];
    });
}

void observe(Window &window, NSWindow *shown) {
    window.setObserver([&window, shown] {
        [shown setTitle:stringOf(window.title())];
        if (!window.isVisible()) {
            [shown close];
        }
    });
}

void observe(ProgressIndicator &bar, NSProgressIndicator *shown) {
    [shown setDisplayedWhenStopped:YES];
    bar.setObserver([&bar, shown] {
        [shown setIndeterminate:bar.isIndeterminate()];
        [shown setDoubleValue:bar.doubleValue()];
        if (bar.isIndeterminate() && bar.isAnimating()) {
            [shown startAnimation:nil];
        } else {
            [shown stopAnimation:nil];
        }
    });
}

void observe(Button &button, NSButton *shown) {
    button.setObserver([&button, shown] {
        [shown setTitle:stringOf(button.title())];
        [shown setEnabled:button.isEnabled()];
    });
}

void observe(TextField &field, NSTextField *shown) {
    field.setObserver([&field, shown] { [shown setStringValue:stringOf(field.stringValue())]; });
}

} // namespace kestrav::platform
