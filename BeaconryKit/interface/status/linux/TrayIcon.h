#pragma once

#include "BeaconryKit/interface/status/StatusItem.h"

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QPoint>
#include <QSize>

#include <cstdint>
#include <memory>

struct xcb_connection_t;

namespace pelorin {

class MenuPopup;
class TipWindow;

/// The status item in a tray of the X server's older protocol, which embeds a small window of ours. The menu is our own
/// popup. It docks in a tray that starts, or starts again, later. Such trays show no text: the count is drawn into the
/// picture, and stands in the window's name and in a tip of ours. Lives on the main thread.
class TrayIcon final : public QObject, public StatusItem, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    /// The connection is the toolkit's own, and must outlive the object. Nothing is shown until it is wanted.
    TrayIcon(xcb_connection_t* connection, int screenNumber);
    ~TrayIcon() override;

    void setHandlers(Handlers handlers) override { m_handlers = std::move(handlers); }
    void setIcon(const StatusIcon& icon) override;
    void setMenu(const Menu& menu) override { m_menu = menu; }

    /// Docks wherever there is a tray from now on, or leaves it.
    void setWanted(bool isWanted);

    /// Whether a tray has taken the window in.
    bool isDocked() const { return m_isDocked; }

    /// The popup while the menu is open.
    MenuPopup* popup() const { return m_popup; }

    /// The tip while the pointer rests on the picture, else null.
    const TipWindow* tip() const { return m_tip.get(); }

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
    void trayStarted();
    void trayEnded();
    void dock();
    void undock();
    void createWindow();
    void sendDockRequest() const;
    std::uint32_t trayVisual() const;
    QString name() const;
    void setName() const;
    void setText(std::uint32_t property, std::uint32_t type, const QByteArray& text) const;
    void paint() const;
    QImage background() const;
    void put(const QImage& image) const;
    void openMenu(const QPoint& place);
    void showTip(const QPoint& place);
    void keepPopupInFront(std::uint32_t changedProperty) const;

    xcb_connection_t* m_connection;
    int m_screenNumber;
    std::uint32_t m_selection;
    std::uint32_t m_managerMessage;
    // What a window manager changes when a window comes to the front.
    std::uint32_t m_activeWindow;
    std::uint32_t m_stacking;
    std::uint32_t m_tray = 0;
    std::uint32_t m_window = 0;
    std::uint32_t m_colormap = 0;
    std::uint8_t m_depth = 0;
    QSize m_size;
    StatusIcon m_icon;
    Menu m_menu;
    Handlers m_handlers;
    MenuPopup* m_popup = nullptr;
    std::unique_ptr<TipWindow> m_tip;
    bool m_isWanted = false;
    bool m_isDocked = false;
};

} // namespace pelorin
