#include "tests/support/LogCapture.h"

#include "BeaconryKit/platform/Guarded.h"

#include <QLoggingCategory>

namespace pelorin {

namespace {

Guarded<QStringList>& captured() {
    static Guarded<QStringList> messages;
    return messages;
}

void capture(QtMsgType, const QMessageLogContext& context, const QString& text) {
    captured().with([&](QStringList& messages) { messages.append(QString::fromUtf8(context.category) + ": " + text); });
}

} // namespace

LogCapture::LogCapture(const QString& category) {
    captured().set({});
    QLoggingCategory::setFilterRules(category + "=true");
    qInstallMessageHandler(capture);
}

LogCapture::~LogCapture() {
    qInstallMessageHandler(nullptr);
    QLoggingCategory::setFilterRules({});
}

QStringList LogCapture::messages() {
    return captured().copy();
}

bool LogCapture::contains(const QString& text) {
    return messages().join(u'\n').contains(text);
}

} // namespace pelorin
