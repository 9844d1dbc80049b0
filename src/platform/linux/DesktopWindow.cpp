#include "platform/linux/DesktopWindow.h"

#include "platform/Bundle.h"
#include "platform/DebugLog.h"
#include "platform/FileManager.h"
#include "platform/IconImage.h"
#include "platform/OperationQueue.h"
#include "platform/ProcessInfo.h"
#include "platform/linux/Display.h"
#include "platform/linux/Module.h"
#include "platform/linux/SessionBus.h"

namespace kestrav::platform {

namespace {

/// The edge of the icon to load, in pixels: the size that the window shows, for a screen of double density.
constexpr std::uint32_t IconEdge = 128;

std::string interfaceFile(const Bundle &bundle) {
    const std::string name = bundle.infoDictionary().stringForKey("NSMainNibFile").value_or("MainWindow");
    return bundle.pathForResource(name, "ui").value_or("");
}

} // namespace

DesktopWindow::DesktopWindow(WindowControls &controls, ApplicationDelegate &delegate,
                             std::function<void()> withoutWindow)
    : controls_(controls), delegate_(delegate), withoutWindow_(std::move(withoutWindow)) {
    displayIsLikely_ = displayIsLikely();
    if (displayIsLikely_) {
        interfacePath_ = interfaceFile(Bundle::mainBundle());
        programName_ = ProcessInfo::processInfo().processName();
        prepareForWindow(findSessionBus().has_value());
    }
}

bool DesktopWindow::open() {
    if (!displayIsLikely_ || !loadModule()) {
        return false;
    }
    settings_.interfacePath = interfacePath_.c_str();
    settings_.programName = programName_.c_str();
    settings_.taskDescriptor = OperationQueue::mainQueue().descriptor();
    settings_.context = this;
    settings_.runTasks = [](void *context) noexcept {
        fromContext(context).act([] { OperationQueue::mainQueue().runPending(); });
    };
    settings_.cancelPressed = [](void *context) noexcept {
        DesktopWindow &self = fromContext(context);
        self.act([&self] {
            if (self.controls_.cancelButton.isEnabled()) {
                self.delegate_.cancel();
            }
        });
    };
    settings_.closeRequested = [](void *context) noexcept {
        DesktopWindow &self = fromContext(context);
        self.act([&self] { self.requestClose(); });
    };
    settings_.displayLost = [](void *context) noexcept {
        DesktopWindow &self = fromContext(context);
        callProgram(self.delegate_, [&self] {
            self.note("it is gone");
            self.closed_ = true;
            self.withoutWindow_();
        });
    };
    settings_.message = [](void *context, const char *text) noexcept { fromContext(context).note(text); };

    if (module_.open(&settings_, &content()) == 0) {
        return false;
    }
    controls_.setObserver([this] { changed_ = true; });
    return true;
}

void DesktopWindow::run() {
    showChanges();
    module_.run();
}

bool DesktopWindow::loadModule() {
    if (interfacePath_.empty()) {
        note("there is no interface file");
        return false;
    }
    const auto module = openModule<KestravWindowModule>(Bundle::mainBundle().bundlePath());
    module_ = module.functions;
    return module.failure.empty();
}

void DesktopWindow::note(std::string_view text) const {
    _DLog("%s [Line %d] no window: %@", "-[DesktopWindow open]", __LINE__, text);
}

template <class Action> void DesktopWindow::act(Action action) {
    callProgram(delegate_, [&] {
        action();
        showChanges();
    });
}

void DesktopWindow::requestClose() {
    if (controls_.cancelButton.isEnabled()) {
        delegate_.cancel(); // the window stays open until the run has ended
    } else {
        controls_.window.close();
    }
}

void DesktopWindow::showChanges() {
    if (!changed_ || closed_) {
        return;
    }
    changed_ = false;
    if (controls_.window.isVisible()) {
        module_.update(&content());
    } else {
        closed_ = true;
        module_.close();
    }
}

const KestravWindowContent &DesktopWindow::content() {
    loadIcon();
    content_.title = controls_.window.title().c_str();
    content_.label = controls_.label.stringValue().c_str();
    content_.progressLabel = controls_.progressLabel.stringValue().c_str();
    content_.buttonTitle = controls_.cancelButton.title().c_str();
    content_.buttonEnabled = controls_.cancelButton.isEnabled() ? 1 : 0;
    content_.value = controls_.progressBar.doubleValue();
    content_.indeterminate = controls_.progressBar.isIndeterminate() ? 1 : 0;
    content_.animating = controls_.progressBar.isAnimating() ? 1 : 0;
    return content_;
}

void DesktopWindow::loadIcon() {
    if (controls_.iconView.image() == iconPath_) {
        return;
    }
    iconPath_ = controls_.iconView.image();
    iconFile_ = iconPath_ ? contentsOfFile(*iconPath_).value_or(std::string()) : std::string();
    const auto image = iconImage(iconFile_, IconEdge);
    content_.icon = image ? image->data() : nullptr;
    content_.iconLength = image ? image->size() : 0;
}

} // namespace kestrav::platform
