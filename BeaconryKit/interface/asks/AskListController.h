#pragma once

#include "BeaconryKit/interface/asks/AskActions.h"
#include "BeaconryKit/interface/asks/AskListModel.h"
#include "BeaconryKit/model/AskAction.h"
#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/sessions/NotifierSettings.h"

#include <QObject>

#include <functional>
#include <memory>

namespace pelorin {

/// Called on the main thread with the ask as the store holds it.
using AskActionHandler = std::function<void(const AskEvent& ask, const AskAction& action)>;

/// Keeps the rows of one view while somebody looks at them: counts them down, arms those that have stood still, and
/// reports what the user does to them. While nobody looks it keeps no timer. Main thread; the view's controller owns
/// it.
class AskListController final : public QObject {
public:
    /// How long a row that came, moved or changed its answers takes no clicks: whoever was about to click there meant
    /// something else.
    static constexpr std::chrono::milliseconds settleTime{400};
    static constexpr std::chrono::seconds countdownInterval{1};

    /// All must outlive the controller.
    AskListController(AskStore& store, NotifierSettings& settings, Dispatch& dispatch, AskListModel& asks,
                      AskActions& actions, AskActionHandler onAction);

    /// Takes over what the store holds.
    void follow();
    /// Forgets all rows.
    void clear();

    /// The rows can be seen from now on.
    void watch();
    /// They can't any more, and take no clicks.
    void unwatch();
    /// All rows have moved.
    void disarm();

private:
    void report(const QString& askId, const AskAction& action);
    void refreshCountdown();
    void scheduleArming();
    AskListModel::Moment settledMoment() const;

    AskStore& m_store;
    NotifierSettings& m_settings;
    Dispatch& m_dispatch;
    AskListModel& m_asks;
    AskActionHandler m_onAction;
    bool m_isWatched = false;
    bool m_isArmingScheduled = false;
    std::unique_ptr<RepeatingTimer> m_countdownTimer;
};

} // namespace pelorin
