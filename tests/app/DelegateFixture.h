#pragma once

#include "tests/app/RecordedMachine.h"
#include "tests/support/FakeHTTPTransport.h"
#include "tests/support/FakeSocketTransport.h"
#include "tests/support/ManualDispatch.h"
#include "tests/support/MemoryUserDefaults.h"

#include <QCoreApplication>
#include <gmock/gmock.h>

namespace pelorin {

/// The whole application without a screen, on a manual clock and without a network.
class DelegateFixture : public ::testing::Test, public RecordedMachine {
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
    FakeHTTPTransport http;
    FakeSocketTransport sockets{dispatch};
    AppDelegate delegate{with(dispatch, defaults, http, sockets)};
};

} // namespace pelorin
