#include "BeaconryKit/terminal/ProcessRunner.h"

#include "BeaconryKit/platform/Programs.h"

#include <QLoggingCategory>
#include <QStringDecoder>

namespace pelorin {

namespace {

Q_LOGGING_CATEGORY(log, "pelorin.terminal.runner", QtWarningMsg)

/// The text, byte for byte: a byte order mark is a character like any other. Nothing when the bytes are not UTF-8.
std::optional<QString> decodeUtf8(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
    QString text = decoder.decode(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(std::move(text));
}

} // namespace

std::optional<QString> ProcessRunner::run(const QString& command, const QStringList& arguments) {
    ChildProcess::Launch launch;
    launch.executable = QByteArrayLiteral("/usr/bin/env");
    launch.arguments.append(command.toUtf8());
    for (const QString& argument : arguments)
        launch.arguments.append(argument.toUtf8());
    const auto output = capture(std::move(launch), timeout, outputLimit);
    // Whatever went wrong, the caller only learns that there is nothing to show.
    if (!output) {
        qCDebug(log) << command << "could not be run or did not end in time";
        return std::nullopt;
    }
    auto text = decodeUtf8(*output);
    if (!text)
        qCDebug(log) << command << "printed what is not UTF-8";
    return text;
}

} // namespace pelorin
