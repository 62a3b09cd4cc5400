#pragma once

#include "BeaconryKit/platform/UserDefaults.h"

#include <QJsonObject>

namespace pelorin {

/// User defaults kept as one JSON object in a file. Keys that the program does not know stay in it. Every store reads
/// the file again under a lock, so that a change made by somebody else meanwhile is not lost, and replaces it whole
/// (written beside and renamed, mode 0600), unless it holds the value already. A file that cannot be read, or is no
/// JSON object, reads as empty; before the first write over such a file it is kept beside it as
/// `defaults.json.unreadable-N`, and a warning says so.
class FileUserDefaults final : public UserDefaults {
public:
    /// Loads the file at the path. Neither it nor its folder has to exist; nothing is written here.
    explicit FileUserDefaults(const QString& path);

    std::optional<QJsonValue> object(const QString& key) const override;
    void setObject(const QString& key, const QJsonValue& value) override;

private:
    struct Contents {
        QJsonObject values;
        // A file is there, but it holds no JSON object that could be kept by reading it.
        bool isUnreadable = false;
    };

    Contents read() const;
    bool write();
    bool keepUnreadableFile() const;

    QString m_path;
    QJsonObject m_values;
    // What this run has stored but the file does not hold yet.
    QJsonObject m_unsaved;
    bool m_warnedOfFailedWrite = false;
};

} // namespace pelorin
