#include "BeaconryKit/platform/UserDefaults.h"

#import <Foundation/Foundation.h>

namespace pelorin {

namespace {

class NativeUserDefaults final : public UserDefaults {
public:
    std::optional<QJsonValue> object(const QString& key) const override {
        id value = [[NSUserDefaults standardUserDefaults] objectForKey:key.toNSString()];
        if ([value isKindOfClass:[NSString class]])
            return QJsonValue(QString::fromNSString(value));
        if (![value isKindOfClass:[NSNumber class]])
            return std::nullopt;
        // A boolean is stored as a number object of a type of its own.
        if (CFGetTypeID((__bridge CFTypeRef)value) == CFBooleanGetTypeID())
            return QJsonValue([value boolValue] == YES);
        if (CFNumberIsFloatType((__bridge CFNumberRef)value))
            return QJsonValue([value doubleValue]);
        return QJsonValue(static_cast<qint64>([value longLongValue]));
    }

    void setObject(const QString& key, const QJsonValue& value) override {
        NSUserDefaults* defaults = [NSUserDefaults standardUserDefaults];
        NSString* nativeKey = key.toNSString();
        if (value.isString())
            [defaults setObject:value.toString().toNSString() forKey:nativeKey];
        else if (value.isBool())
            [defaults setBool:value.toBool() forKey:nativeKey];
        else
            [defaults setInteger:value.toInteger() forKey:nativeKey];
    }
};

} // namespace

std::unique_ptr<UserDefaults> makeStandardUserDefaults() {
    return std::make_unique<NativeUserDefaults>();
}

} // namespace pelorin
