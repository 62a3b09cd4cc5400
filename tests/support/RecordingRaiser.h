#pragma once

#include "BeaconryKit/platform/WindowRaiser.h"

#include <QStringList>

namespace pelorin {

/// Notes the terminal devices whose windows it is to raise.
class RecordingRaiser final : public WindowRaiser {
public:
    bool raise(const QString& ttyDevicePath) override {
        devices.append(ttyDevicePath);
        return isFound;
    }

    QStringList devices;
    /// Whether there is a window to be raised.
    bool isFound = true;
};

} // namespace pelorin
