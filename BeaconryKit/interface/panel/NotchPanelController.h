#pragma once

#include "BeaconryKit/interface/asks/AskListController.h"
#include "BeaconryKit/interface/asks/AskListModel.h"
#include "BeaconryKit/interface/panel/NotchPanel.h"
#include "BeaconryKit/interface/panel/PanelFacade.h"
#include "BeaconryKit/interface/panel/PanelPlatform.h"
#include "BeaconryKit/interface/panel/PanelScreens.h"
#include "BeaconryKit/model/AskAction.h"
#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/sessions/NotifierSettings.h"

#include <QMetaObject>
#include <QObject>

#include <functional>
#include <memory>
#include <utility>

class QQuickItem;

namespace pelorin {

class InterfaceEngine;

/// What the panel needs of the system that it runs on.
struct PanelDependencies {
    std::unique_ptr<PanelScreens> screens;
    std::unique_ptr<PanelPlatform> platform;
    /// May be shared with other windows.
    std::shared_ptr<InterfaceEngine> engine;
};

/// The real ones. Nothing given as the engine: a new one.
PanelDependencies makePanelDependencies(std::shared_ptr<InterfaceEngine> engine = nullptr);

/// Shows the asks of a store in the panel that hangs from the top of the screen, as long as there are any, and reports
/// what the user does to them. The window and its content are made when they are first shown. Lives on the main thread
/// for as long as the application; owned by the delegate.
class NotchPanelController final : public QObject {
    Q_OBJECT

public:
    using ActionHandler = AskActionHandler;

    static constexpr auto settleTime = AskListController::settleTime;
    static constexpr auto countdownInterval = AskListController::countdownInterval;
    static constexpr std::chrono::seconds announcementTime{6};

    /// The store, the settings and the dispatch must outlive the controller. What is in the store already is shown on a
    /// later turn.
    NotchPanelController(AskStore& store, NotifierSettings& settings, Dispatch& dispatch, ActionHandler onAction,
                         PanelDependencies dependencies = makePanelDependencies());
    ~NotchPanelController() override;

    /// From now on the rows count down to their own ends, where those are known.
    void setEndOfWait(EndOfWait endOfWait) { m_asks.setEndOfWait(std::move(endOfWait)); }

    /// Says a line above the rows for some seconds, and shows the panel for that if need be; not while silenced.
    void announce(const QString& line);

    bool silenced() const { return m_silenced; }
    /// Hides the panel and keeps it hidden, or shows it again if there are asks; at once.
    void setSilenced(bool silenced);

    /// Lays the content out anew and brings the panel to the place that fits it. Nothing without a screen.
    void layoutAndShow();

    /// Fades the panel out; nothing unless it is shown.
    void hide();

    /// What the panel covers, in the desktop's coordinates; empty while it is not shown.
    QRect shownFrame() const;

    /// The panel; made now if nothing has been shown yet.
    NotchPanel& panel();
    /// What the panel shows; made now if nothing has been shown yet.
    QQuickItem& hosting();
    AskListModel& asks() { return m_asks; }

private:
    enum class Later { follow, layOut };

    bool hasContent() const;
    void makePanel();
    bool isShown() const;
    void scheduleLater(Later what);
    void runLater();
    void follow();
    void endAnnouncement();
    void alert(const QString& text);
    void finishHiding();
    void takeKeyboard(const QString& askId);
    void giveKeyboardBack();

    PanelDependencies m_dependencies;
    AskListModel m_asks;
    PanelFacade m_facade;
    AskListController m_askList;
    // Both are made at once, and the content goes first.
    std::unique_ptr<NotchPanel> m_panel;
    std::unique_ptr<QQuickItem> m_hosting;
    AskStore& m_store;
    QMetaObject::Connection m_cancellable;
    int m_panelWidth = minimumPanelWidth;
    bool m_silenced = false;

    NotifierSettings& m_settings;
    Dispatch& m_dispatch;
    bool m_isScheduled = false;
    bool m_followsLater = false;
    bool m_isAnnouncing = false;
    // Only the newest line's time counts.
    int m_lastAnnouncement = 0;
};

} // namespace pelorin
