#pragma once

#include "BeaconryKit/platform/WindowRaiser.h"

#include <QStringList>

namespace pelorin {

/// Notes the terminal devices whose windows it is to raise.
class RecordingRaiser final : public WindowRaiser {
public:
    void raise(const QString& ttyDevicePath) override { devices.append(ttyDevicePath); }

    QStringList devices;
};

} // namespace pelorin
