#pragma once

#include "platform/Controls.h"

#import <AppKit/AppKit.h>

namespace kestrav::platform {

// From now on the real control, which may be nil, shows what the other holds. Both have to outlive each other's use;
// main thread.

void observe(ImageView &view, NSImageView *shown);
/// Closes the real window when the other is closed; showing it is the caller's.
void observe(Window &window, NSWindow *shown);
void observe(ProgressIndicator &bar, NSProgressIndicator *shown);
void observe(Button &button, NSButton *shown);
void observe(TextField &field, NSTextField *shown);

} // namespace kestrav::platform
