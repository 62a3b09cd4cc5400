#pragma once

#include "BeaconryApp/AppDelegate.h"
#include "tests/support/FakeStatusItem.h"
#include "tests/support/RecordingLauncher.h"
#include "tests/support/RecordingRaiser.h"
#include "tests/support/RecordingRunner.h"

namespace pelorin {

/// Notes what an application does to the machine that it runs on.
struct RecordedMachine {
    /// What the application is made with. The machine and all that is given must outlive it.
    AppDependencies with(Dispatch& dispatch, UserDefaults& defaults, HTTPTransport& http, SocketTransport& sockets) {
        return {.dispatch = dispatch,
                .defaults = defaults,
                .runner = runner,
                .launcher = launcher,
                .raiser = raiser,
                .http = http,
                .sockets = sockets,
                .statusItem = [this] {
                    return std::make_unique<FakeStatusItem>(statusItem);
                }};
    }

    RecordingRunner runner;
    RecordingLauncher launcher;
    RecordingRaiser raiser;
    StatusItemRecord statusItem;
};

} // namespace pelorin
