#pragma once

#include "BeaconryKit/interface/status/Menu.h"

#include <functional>
#include <memory>

namespace pelorin {

/// Where the status item's picture stands.
enum class ImagePosition { imageOnly, imageLeading };

/// How the status item looks. A value.
struct StatusIcon {
    /// The symbol's name, one of `Symbols::names()`.
    QString symbol = {};
    /// The text beside the picture; empty when the picture stands alone.
    QString title = {};
    ImagePosition imagePosition = ImagePosition::imageOnly;
    /// What the user should know whenever the pointer rests on the item; empty for nothing.
    QString notice = {};

    bool operator==(const StatusIcon&) const = default;
};

/// Our one item in the system's status bar or tray, with a picture, a short text and a menu. It shows the last picture
/// and menu that it was given wherever there is a place for it, now or later; where there is none, it does nothing.
/// Lives on the main thread.
class StatusItem {
public:
    /// What the picture is for those who cannot see it, and the item's name.
    static constexpr const char16_t* accessibilityDescription = u"Pelorin";

    /// What the user did; called on a later turn of the main queue than the platform's own notice.
    struct Handlers {
        /// An enabled item of the menu was chosen.
        std::function<void(MenuAction action, const std::optional<QString>& representedObject)> onTriggered;
        /// The item itself was activated, in a place that does not open the menu.
        std::function<void()> onActivated;
    };

    virtual ~StatusItem() = default;
    StatusItem() = default;
    StatusItem(const StatusItem&) = delete;
    StatusItem& operator=(const StatusItem&) = delete;

    virtual void setHandlers(Handlers handlers) = 0;
    virtual void setIcon(const StatusIcon& icon) = 0;
    /// Replaces the whole menu.
    virtual void setMenu(const Menu& menu) = 0;
};

/// The one for the desktop that the application runs on. Nothing when it is certain that there never can be a place to
/// show it.
std::unique_ptr<StatusItem> makeStatusItem();

} // namespace pelorin
