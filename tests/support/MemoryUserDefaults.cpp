#include "tests/support/MemoryUserDefaults.h"

namespace pelorin {

std::optional<QJsonValue> MemoryUserDefaults::object(const QString& key) const {
    const auto found = values.constFind(key);
    return found == values.constEnd() ? std::nullopt : std::optional<QJsonValue>(*found);
}

void MemoryUserDefaults::setObject(const QString& key, const QJsonValue& value) {
    values.insert(key, value);
    ++writes;
}

} // namespace pelorin
