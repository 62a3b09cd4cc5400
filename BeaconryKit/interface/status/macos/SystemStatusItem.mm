#include "BeaconryKit/interface/status/StatusItem.h"

#import <AppKit/AppKit.h>

/// Takes the clicks on the items of our menu.
@interface PelorinMenuTarget : NSObject
@property(nonatomic, copy) void (^onChosen)(NSMenuItem* item);
- (void)choose:(NSMenuItem*)item;
@end

@implementation PelorinMenuTarget
- (void)choose:(NSMenuItem*)item {
    if (self.onChosen)
        self.onChosen(item);
}
@end

namespace pelorin {

namespace {

class AppKitStatusItem final : public StatusItem {
public:
    AppKitStatusItem()
        : m_item([NSStatusBar.systemStatusBar statusItemWithLength:NSVariableStatusItemLength]),
          m_target([[PelorinMenuTarget alloc] init]),
          m_handlers(std::make_shared<Handlers>()) {
        const std::weak_ptr<Handlers> handlers = m_handlers;
        m_target.onChosen = ^(NSMenuItem* item) {
          const auto action = static_cast<MenuAction>(item.tag);
          std::optional<QString> representedObject;
          if ([item.representedObject isKindOfClass:[NSString class]])
              representedObject = QString::fromNSString(item.representedObject);
          // The menu has closed by then.
          dispatch_async(dispatch_get_main_queue(), ^{
            const auto target = handlers.lock();
            if (target && target->onTriggered)
                target->onTriggered(action, representedObject);
          });
        };
    }

    ~AppKitStatusItem() override {
        m_target.onChosen = nil;
        [NSStatusBar.systemStatusBar removeStatusItem:m_item];
    }

    void setHandlers(Handlers handlers) override { *m_handlers = std::move(handlers); }

    void setIcon(const StatusIcon& icon) override {
        NSStatusBarButton* const button = m_item.button;
        if (!button)
            return;
        button.image = [NSImage imageWithSystemSymbolName:icon.symbol.toNSString()
                                 accessibilityDescription:QString::fromUtf16(accessibilityDescription).toNSString()];
        button.title = icon.title.toNSString();
        button.imagePosition = icon.imagePosition == ImagePosition::imageOnly ? NSImageOnly : NSImageLeading;
    }

    void setMenu(const Menu& menu) override { m_item.menu = makeMenu(menu); }

private:
    NSMenu* makeMenu(const Menu& menu) {
        NSMenu* const made = [[NSMenu alloc] init];
        made.autoenablesItems = NO;
        for (const MenuItem& item : menu)
            [made addItem:makeItem(item)];
        return made;
    }

    NSMenuItem* makeItem(const MenuItem& item) {
        if (item.kind == MenuItem::Kind::separator)
            return [NSMenuItem separatorItem];
        NSMenuItem* const made = [[NSMenuItem alloc] initWithTitle:item.title.toNSString()
                                                            action:nullptr
                                                     keyEquivalent:item.keyEquivalent.toNSString()];
        made.enabled = item.isEnabled;
        made.state = item.checkState == CheckState::on ? NSControlStateValueOn : NSControlStateValueOff;
        if (item.representedObject)
            made.representedObject = item.representedObject->toNSString();
        if (!item.submenu.empty())
            made.submenu = makeMenu(item.submenu);
        else if (item.action != MenuAction::none)
            direct(made, item.action);
        return made;
    }

    void direct(NSMenuItem* made, MenuAction action) {
        made.tag = static_cast<NSInteger>(action);
        made.target = m_target;
        made.action = @selector(choose:);
    }

    NSStatusItem* m_item;
    PelorinMenuTarget* m_target;
    std::shared_ptr<Handlers> m_handlers;
};

} // namespace

std::unique_ptr<StatusItem> makeStatusItem() {
    return std::make_unique<AppKitStatusItem>();
}

} // namespace pelorin
