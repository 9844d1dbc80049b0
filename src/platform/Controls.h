#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

// The controls of the progress window. They hold what they show and may have no window behind them: a hidden window and
// a machine without a display use them as they are. Main thread only.

namespace kestrav::platform {

/// What the controls have in common: the window that shows them is told of each change and shows the new state.
class Control {
public:
    /// Sets a function that is called after each change, and once right away. An empty function removes it.
    void setObserver(std::function<void()> observer) {
        observer_ = std::move(observer);
        changed();
    }

protected:
    void changed() const {
        if (observer_) {
            observer_();
        }
    }

private:
    std::function<void()> observer_;
};

/// The progress window itself. Once closed, it stays closed.
class Window : public Control {
public:
    void setTitle(std::string title) {
        title_ = std::move(title);
        changed();
    }
    [[nodiscard]] const std::string &title() const { return title_; }
    void close() {
        visible_ = false;
        changed();
    }
    [[nodiscard]] bool isVisible() const { return visible_; }

private:
    std::string title_;
    bool visible_ = true;
};

/// A line of text that the user only reads.
class TextField : public Control {
public:
    void setStringValue(std::string text) {
        text_ = std::move(text);
        changed();
    }
    [[nodiscard]] const std::string &stringValue() const { return text_; }

private:
    std::string text_;
};

/// A button. The `ApplicationDelegate` decides what pressing it does.
class Button : public Control {
public:
    void setTitle(std::string title) {
        title_ = std::move(title);
        changed();
    }
    [[nodiscard]] const std::string &title() const { return title_; }
    void setEnabled(bool enabled) {
        enabled_ = enabled;
        changed();
    }
    [[nodiscard]] bool isEnabled() const { return enabled_; }

private:
    std::string title_;
    bool enabled_ = true;
};

/// A bar from 0 to 100, or one that only shows that something is going on (indeterminate).
class ProgressIndicator : public Control {
public:
    void setDoubleValue(double value) {
        value_ = value;
        changed();
    }
    [[nodiscard]] double doubleValue() const { return value_; }
    void setIndeterminate(bool indeterminate) {
        indeterminate_ = indeterminate;
        changed();
    }
    [[nodiscard]] bool isIndeterminate() const { return indeterminate_; }
    void startAnimation() {
        animating_ = true;
        changed();
    }
    [[nodiscard]] bool isAnimating() const { return animating_; }

private:
    double value_ = 0;
    bool indeterminate_ = false;
    bool animating_ = false;
};

/// An item of a menu.
class MenuItem : public Control {
public:
    void setTitle(std::string title) {
        title_ = std::move(title);
        changed();
    }
    [[nodiscard]] const std::string &title() const { return title_; }

private:
    std::string title_;
};

class ImageView : public Control {
public:
    /// The path of the image to show; empty shows none.
    void setImage(std::optional<std::string> path) {
        image_ = std::move(path);
        changed();
    }
    [[nodiscard]] const std::optional<std::string> &image() const { return image_; }

private:
    std::optional<std::string> image_;
};

/// The six controls of the window, and what the application's menu has where applications have one.
struct WindowControls {
    ImageView iconView;
    Window window;
    ProgressIndicator progressBar;
    Button cancelButton;
    TextField label;
    TextField progressLabel;
    MenuItem quitItem;

    /// Sets one observer for all controls of the window.
    void setObserver(const std::function<void()> &observer) {
        for (Control *control : {static_cast<Control *>(&iconView), static_cast<Control *>(&window),
                                 static_cast<Control *>(&progressBar), static_cast<Control *>(&cancelButton),
                                 static_cast<Control *>(&label), static_cast<Control *>(&progressLabel)}) {
            control->setObserver(observer);
        }
    }
};

} // namespace kestrav::platform
