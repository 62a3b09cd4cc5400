#pragma once

#include "BeaconryKit/interface/status/StatusItem.h"

#include <optional>

namespace pelorin {

/// Notes what a status item is told, for as long as the test needs it.
struct StatusItemRecord {
    StatusItem::Handlers handlers;
    std::optional<StatusIcon> icon;
    Menu menu;
    int iconsSet = 0;
    int menusSet = 0;
};

/// A status item that is nowhere to be seen.
class FakeStatusItem final : public StatusItem {
public:
    /// The record must outlive the item.
    explicit FakeStatusItem(StatusItemRecord& record) : m_record(record) {}

    void setHandlers(Handlers handlers) override { m_record.handlers = std::move(handlers); }
    void setIcon(const StatusIcon& icon) override {
        m_record.icon = icon;
        ++m_record.iconsSet;
    }
    void setMenu(const Menu& menu) override {
        m_record.menu = menu;
        ++m_record.menusSet;
    }

private:
    StatusItemRecord& m_record;
};

} // namespace pelorin
