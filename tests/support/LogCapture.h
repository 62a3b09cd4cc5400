#pragma once

#include <QStringList>

namespace pelorin {

/// Switches a log category on and keeps all that is logged, by whatever category, as long as it exists. One at a time.
class LogCapture {
public:
    explicit LogCapture(const QString& category);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// What has been logged so far, one text a message with its category before it. Any thread.
    static QStringList messages();
    static bool contains(const QString& text);
};

} // namespace pelorin
