#pragma once

#include "BeaconryApp/AppDelegate.h"
#include "tests/support/FakeHTTPTransport.h"
#include "tests/support/FakeSocketTransport.h"
#include "tests/support/FakeStatusItem.h"
#include "tests/support/ManualDispatch.h"
#include "tests/support/MemoryUserDefaults.h"
#include "tests/support/RecordingLauncher.h"
#include "tests/support/RecordingRaiser.h"
#include "tests/support/RecordingRunner.h"

#include <QCoreApplication>
#include <gmock/gmock.h>

namespace pelorin {

/// The whole application without a screen, on a manual clock and without a network.
class DelegateFixture : public ::testing::Test {
protected:
    explicit DelegateFixture(const QJsonObject& settings = {}) : defaults(settings) {}

    void start() { ASSERT_EQ(delegate.start(0, Display::absent), std::nullopt); }

    /// Lets everything happen that is due: a change is announced to a later turn, and what follows may be a change too.
    void settle() {
        for (int turn = 0; turn < 3; ++turn) {
            QCoreApplication::sendPostedEvents();
            dispatch.runDue();
        }
    }

    ManualDispatch dispatch;
    MemoryUserDefaults defaults;
    RecordingRunner runner;
    RecordingLauncher launcher;
    RecordingRaiser raiser;
    FakeHTTPTransport http;
    FakeSocketTransport sockets{dispatch};
    StatusItemRecord statusItem;
    AppDelegate delegate{{.dispatch = dispatch,
                          .defaults = defaults,
                          .runner = runner,
                          .launcher = launcher,
                          .raiser = raiser,
                          .http = http,
                          .sockets = sockets,
                          .statusItem = [this] {
                              return std::make_unique<FakeStatusItem>(statusItem);
                          }}};
};

} // namespace pelorin
