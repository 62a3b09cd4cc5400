#pragma once

#include <QString>

#include <optional>
#include <vector>

namespace pelorin {

/// What an item of the status menu does.
enum class MenuAction {
    none,
    openManager,
    toggleSilentMode,
    trackAllSessions,
    trackOnlyWyrn,
    jumpToSession,
    toggleMute,
    quit,
};

/// Whether an item can have a check mark, and has it.
enum class CheckState { none, off, on };

/// One item of a menu, and the menu that it opens. A value: menus are built anew, never edited.
struct MenuItem {
    enum class Kind { standard, separator };

    Kind kind = Kind::standard;
    /// The text to the letter, without marks for the keyboard.
    QString title = {};
    bool isEnabled = true;
    CheckState checkState = CheckState::none;
    /// The key that, together with the platform's command key, does the same; empty for none.
    QString keyEquivalent = {};
    MenuAction action = MenuAction::none;
    /// The session that the item is about, if it is about one.
    std::optional<QString> representedObject = {};
    /// Empty when the item opens none.
    std::vector<MenuItem> submenu = {};

    bool operator==(const MenuItem& other) const = default;
};

using Menu = std::vector<MenuItem>;

} // namespace pelorin
