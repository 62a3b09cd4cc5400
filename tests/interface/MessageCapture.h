#pragma once

#include <QStringList>
#include <QtGlobal>

#include <utility>

namespace pelorin {

/// Keeps the warnings that are logged while it lives, instead of printing them. One at a time.
class MessageCapture {
public:
    MessageCapture() {
        captured().clear();
        m_previous = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
            if (type == QtWarningMsg || type == QtCriticalMsg)
                captured().append(text);
        });
    }
    ~MessageCapture() { qInstallMessageHandler(m_previous); }
    MessageCapture(const MessageCapture&) = delete;
    MessageCapture& operator=(const MessageCapture&) = delete;

    const QStringList& warnings() const { return captured(); }

private:
    static QStringList& captured() {
        static QStringList texts;
        return texts;
    }

    QtMessageHandler m_previous = nullptr;
};

} // namespace pelorin
