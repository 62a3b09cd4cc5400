#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace pelorin {

/// What our own hook helper tells in a hook's body beside what every hook may tell. A body without it comes from some
/// other sender. A value; what is not known is 0 or empty.
struct HelperDetails {
    /// Which edition of these members the helper knows; from 1.
    qint64 version = 0;
    /// The helper's own process.
    qint64 helperProcess = 0;
    /// The CLI's process, whose hook the helper is.
    qint64 cliProcess = 0;
    /// When that was started, in the measure of `ProcessFacts::startTime`. Together they name the process for ever.
    quint64 cliStartTime = 0;
    /// The socket of the tmux server that the session's pane belongs to.
    QString tmuxServer;

    bool operator==(const HelperDetails&) const = default;

    /// Reads them off a hook's body. Nothing when it is no JSON object or names no version. A member of another type,
    /// or a number that is out of range, counts as not known.
    static std::optional<HelperDetails> decode(QByteArrayView jsonData);
};

} // namespace pelorin
