#pragma once

#include "BeaconryApp/AskAnswering.h"
#include "BeaconryApp/RelayLink.h"
#include "tests/support/FakeHTTPTransport.h"
#include "tests/support/FakeSocketTransport.h"
#include "tests/support/ManualDispatch.h"
#include "tests/support/MemoryUserDefaults.h"
#include "tests/support/RecordingLauncher.h"
#include "tests/support/RecordingRaiser.h"
#include "tests/support/RecordingRunner.h"

#include <QCoreApplication>
#include <gmock/gmock.h>

namespace pelorin {

/// What the delegate owns behind its windows, joined as it does, on a manual clock and without a network.
class PartsFixture : public ::testing::Test {
protected:
    explicit PartsFixture(const QJsonObject& settingsBefore = {}) : defaults(settingsBefore) {
        QObject::connect(&settings, &NotifierSettings::objectWillChange, &link, &RelayLink::followSettings,
                         Qt::QueuedConnection);
    }

    /// Lets everything happen that is due: a change is announced to a later turn, and what follows may be a change too.
    void settle() {
        for (int turn = 0; turn < 3; ++turn) {
            QCoreApplication::sendPostedEvents();
            dispatch.runDue();
        }
    }

    /// Puts a row on screen for which a hook waits, whose reply is noted in `replies`.
    AskEvent parked(const QString& requestId) {
        AskEvent ask = row(requestId);
        router.park(requestId, 45, [this](const QByteArray& reply) { replies.append(reply); });
        return ask;
    }

    /// Puts a row on screen: in tmux, for which no hook waits.
    AskEvent row(const QString& requestId = {}) {
        AskEvent ask{.sessionId = QStringLiteral("session"),
                     .tty = QStringLiteral("pts/7"),
                     .requestId = requestId,
                     .tmuxPane = QStringLiteral("%3")};
        store.upsert(ask);
        return ask;
    }

    QStringList shownIds() {
        QStringList ids;
        for (const SharedAsk& ask : store.asks())
            ids.append(ask->id());
        return ids;
    }

    ManualDispatch dispatch;
    MemoryUserDefaults defaults;
    RecordingRunner runner;
    RecordingLauncher launcher;
    RecordingRaiser raiser;
    FakeHTTPTransport http;
    FakeSocketTransport sockets{dispatch};
    AskStore store;
    SessionRegistry registry;
    NotifierSettings settings{defaults};
    DecisionRouter router{dispatch};
    TerminalFocus focus{launcher, raiser};
    AskAnswering answering{{.store = store,
                            .registry = registry,
                            .settings = settings,
                            .router = router,
                            .focus = focus,
                            .runner = runner}};
    RelayLink link{{.store = store, .settings = settings, .dispatch = dispatch, .http = http, .sockets = sockets},
                   [this](const QString& requestId, Decision decision) {
                       answering.decideByPhone(requestId, decision);
                   }};
    QList<QByteArray> replies;
};

} // namespace pelorin
