#pragma once

#include <QJsonValue>
#include <QString>

#include <memory>
#include <optional>

namespace pelorin {

/// The user's own settings database: typed values under string keys. Types are kept apart: the integer 45, the string
/// "45" and true are three different values. Lives on the main thread.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;
    UserDefaults() = default;
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    /// The value stored under the key, or nothing when there is none.
    virtual std::optional<QJsonValue> object(const QString& key) const = 0;

    /// Stores the value under the key at once. Never fails towards the caller: what cannot be written is kept for the
    /// run of the program.
    virtual void setObject(const QString& key, const QJsonValue& value) = 0;

    /// The string under the key; nothing when there is none or it is of another type.
    std::optional<QString> string(const QString& key) const;

    /// The whole number under the key; nothing when there is none or it is of another type. A boolean is no number, and
    /// neither is a number with a fraction or one beyond 64 bits.
    std::optional<qint64> integer(const QString& key) const;

    /// The boolean under the key; nothing when there is none or it is of another type.
    std::optional<bool> boolean(const QString& key) const;
};

/// The application's standard database: the platform's own on macOS; elsewhere the file
/// `$XDG_CONFIG_HOME/com.pelorin.manager/defaults.json` (`~/.config` without the variable). Nothing is written until
/// the first value is stored.
std::unique_ptr<UserDefaults> makeStandardUserDefaults();

} // namespace pelorin
