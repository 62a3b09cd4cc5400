#pragma once

#include <QByteArray>
#include <QList>
#include <QStringList>
#include <QTemporaryDir>

namespace pelorin {

/// Programs that stand in for ones which this computer lacks. They come first on the search path as long as the object
/// lives, and note how they were run. One at a time.
class RecordingPrograms {
public:
    explicit RecordingPrograms(const QStringList& names);
    ~RecordingPrograms();
    RecordingPrograms(const RecordingPrograms&) = delete;
    RecordingPrograms& operator=(const RecordingPrograms&) = delete;

    /// What all of them print from now on.
    void setOutput(const QByteArray& output);

    /// The runs so far: the program's name, then its arguments.
    QList<QStringList> runs() const;

private:
    QTemporaryDir m_folder;
    QByteArray m_pathBefore;
};

} // namespace pelorin
