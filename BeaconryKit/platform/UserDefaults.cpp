#include "BeaconryKit/platform/UserDefaults.h"

namespace pelorin {

std::optional<QString> UserDefaults::string(const QString& key) const {
    const auto value = object(key);
    return value && value->isString() ? std::optional(value->toString()) : std::nullopt;
}

std::optional<qint64> UserDefaults::integer(const QString& key) const {
    const auto value = object(key);
    if (!value || !value->isDouble())
        return std::nullopt;
    // Two different fallbacks tell "no whole number" from any number that is really there.
    if (value->toInteger(0) != value->toInteger(1))
        return std::nullopt;
    return value->toInteger();
}

std::optional<bool> UserDefaults::boolean(const QString& key) const {
    const auto value = object(key);
    return value && value->isBool() ? std::optional(value->toBool()) : std::nullopt;
}

} // namespace pelorin
