#pragma once

#include "platform/Application.h"

#include <functional>

namespace kestrav::platform {

/// The six controls of the progress window.
struct WindowControls {
    ImageView iconView;
    Window window;
    ProgressIndicator progressBar;
    Button cancelButton;
    TextField label;
    TextField progressLabel;

    void connect(ApplicationDelegate &delegate) {
        delegate.setIconView(&iconView);
        delegate.setWindow(&window);
        delegate.setProgressBar(&progressBar);
        delegate.setCancelButton(&cancelButton);
        delegate.setLabel(&label);
        delegate.setProgressLabel(&progressLabel);
    }

    /// Has one function called after each change of any of them, and at once.
    void setObserver(const std::function<void()> &observer) {
        for (Control *control : {static_cast<Control *>(&iconView), static_cast<Control *>(&window),
                                 static_cast<Control *>(&progressBar), static_cast<Control *>(&cancelButton),
                                 static_cast<Control *>(&label), static_cast<Control *>(&progressLabel)}) {
            control->setObserver(observer);
        }
    }
};

} // namespace kestrav::platform
