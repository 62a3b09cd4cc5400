#pragma once

#include <QByteArrayView>
#include <QJsonObject>
#include <QJsonParseError>
#include <QString>
#include <tl/expected.hpp>

#include <variant>

namespace pelorin {

/// Why a well-formed hook body could not become a record.
enum class DecodeError {
    /// No JSON object, an empty one, or one without a string under "session_id".
    invalidPayload
};

/// Why a hook body could not be decoded: the JSON reader's own error, or ours.
using DecodeFailure = std::variant<QJsonParseError, DecodeError>;

/// A record, or why there is none.
template <class Record>
using DecodeResult = tl::expected<Record, DecodeFailure>;

/// A hook body that is known to be an object with a string under "session_id". Reading an optional field never fails: a
/// key that is missing, or whose value is of another type, gives the default.
class HookPayload {
public:
    static DecodeResult<HookPayload> parse(QByteArrayView jsonData);

    /// The string under the key, else `missing`.
    QString string(QLatin1StringView key, const QString& missing = {}) const;

    /// The boolean under the key, else false.
    bool boolean(QLatin1StringView key) const;

    /// The object under the key, else an empty one.
    QJsonObject object(QLatin1StringView key) const;

private:
    explicit HookPayload(QJsonObject values) : m_values(std::move(values)) {}

    QJsonObject m_values;
};

/// The string under "session_id" of a body that holds nothing else of interest; nothing when it is no JSON object or
/// has no string there.
std::optional<QString> sessionIdOf(QByteArrayView jsonData);

} // namespace pelorin
