#pragma once

#include "BeaconryKit/platform/UserDefaults.h"

#include <QJsonObject>

namespace pelorin {

/// User defaults that last as long as the test, and count what is written.
class MemoryUserDefaults final : public UserDefaults {
public:
    explicit MemoryUserDefaults(QJsonObject initial = {}) : values(std::move(initial)) {}

    std::optional<QJsonValue> object(const QString& key) const override;
    void setObject(const QString& key, const QJsonValue& value) override;

    QJsonObject values;
    int writes = 0;
};

} // namespace pelorin
