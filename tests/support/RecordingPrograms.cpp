#include "tests/support/RecordingPrograms.h"

#include <QFile>

namespace pelorin {

RecordingPrograms::RecordingPrograms(const QStringList& names) : m_pathBefore(qgetenv("PATH")) {
    // A run is noted as the number of its arguments, the name and the arguments, each ended by a NUL, which no argument
    // can hold.
    const QByteArray script = QStringLiteral("#!/bin/sh\n"
                                             "printf '%s\\0' \"$#\" \"${0##*/}\" \"$@\" >>'%1/runs'\n"
                                             "[ ! -f '%1/output' ] || cat '%1/output'\n")
                                  .replace("%1", m_folder.path())
                                  .toUtf8();
    for (const QString& name : names) {
        QFile program(m_folder.filePath(name));
        if (!program.open(QIODevice::WriteOnly))
            qFatal("A recording program could not be written.");
        program.write(script);
        program.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    qputenv("PATH", m_folder.path().toUtf8() + ':' + m_pathBefore);
}

RecordingPrograms::~RecordingPrograms() {
    qputenv("PATH", m_pathBefore);
}

void RecordingPrograms::setOutput(const QByteArray& output) {
    QFile file(m_folder.filePath("output"));
    if (!file.open(QIODevice::WriteOnly))
        qFatal("A recording program's output could not be written.");
    file.write(output);
}

QList<QStringList> RecordingPrograms::runs() const {
    QFile file(m_folder.filePath("runs"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QByteArray> words = file.readAll().split('\0');
    QList<QStringList> runs;
    while (words.size() > 1) {
        const qsizetype count = words.takeFirst().toLongLong();
        QStringList run;
        for (qsizetype word = 0; word <= count && !words.isEmpty(); ++word)
            run.append(QString::fromUtf8(words.takeFirst()));
        runs.append(run);
    }
    return runs;
}

} // namespace pelorin
