#include "BeaconryKit/interface/panel/PanelPlatform.h"
#include "BeaconryKit/interface/panel/SystemPanelScreens.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#import <AppKit/AppKit.h>
#import <objc/runtime.h>

namespace pelorin {

namespace {

NSRect keepFrame(id, SEL, NSRect frame, NSScreen*) {
    return frame;
}

BOOL yes(id) {
    return YES;
}

// A subclass of the toolkit's panel class, made once: AppKit asks the class, and the toolkit's own class answers
// otherwise.
Class panelClass(Class toolkitClass) {
    static Class made = Nil;
    if (made)
        return made;
    made = objc_allocateClassPair(toolkitClass, "PelorinNotchPanel", 0);
    // The frame is kept as given, so the panel may overlap the menu bar and the notch.
    class_addMethod(made, @selector(constrainFrameRect:toScreen:), reinterpret_cast<IMP>(keepFrame), "@@:@@");
    class_addMethod(made, @selector(canBecomeKeyWindow), reinterpret_cast<IMP>(yes), "c@:");
    objc_registerClassPair(made);
    return made;
}

class AppKitPanelPlatform final : public PanelPlatform {
public:
    void prepare(QWindow& window) override {
        NSView* const view = (__bridge NSView*)reinterpret_cast<void*>(window.winId());
        NSPanel* const panel = static_cast<NSPanel*>(view.window);
        if (![panel isKindOfClass:[NSPanel class]])
            return;
        if (![panel isKindOfClass:panelClass([panel class])])
            object_setClass(panel, panelClass([panel class]));
        panel.styleMask = NSWindowStyleMaskBorderless | NSWindowStyleMaskNonactivatingPanel;
        panel.backgroundColor = NSColor.clearColor;
        panel.opaque = NO;
        panel.hasShadow = NO;
        // Before the level, which it would set back.
        panel.floatingPanel = YES;
        panel.level = PanelWindowProperties::level;
        panel.becomesKeyOnlyIfNeeded = YES;
        panel.hidesOnDeactivate = NO;
        panel.collectionBehavior = static_cast<NSWindowCollectionBehavior>(PanelWindowProperties::collectionBehaviour);
        panel.releasedWhenClosed = NO;
    }

    bool isCompositing() const override { return true; }

    void takeKeyboard(QWindow& window) override {
        window.setFlag(Qt::WindowDoesNotAcceptFocus, false);
        NSView* const view = (__bridge NSView*)reinterpret_cast<void*>(window.winId());
        // A panel that does not activate takes the keys while the other application stays the active one.
        [view.window makeKeyWindow];
    }

    void giveKeyboardBack(QWindow& window) override {
        window.setFlag(Qt::WindowDoesNotAcceptFocus, true);
        NSView* const view = (__bridge NSView*)reinterpret_cast<void*>(window.winId());
        [view.window resignKeyWindow];
    }
};

} // namespace

std::unique_ptr<PanelPlatform> makePanelPlatform() {
    return std::make_unique<AppKitPanelPlatform>();
}

int notchInset(const QScreen& screen) {
    for (NSScreen* candidate in NSScreen.screens) {
        if (QString::fromNSString(candidate.localizedName) != screen.name())
            continue;
        if (@available(macOS 12.0, *))
            return qCeil(candidate.safeAreaInsets.top);
    }
    return 0;
}

} // namespace pelorin
