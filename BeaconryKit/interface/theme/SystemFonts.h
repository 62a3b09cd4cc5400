#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace pelorin {

/// What QML can't ask of the system's fonts by itself. Main thread.
class SystemFonts : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    /// The family of the system's monospaced font.
    Q_PROPERTY(QString fixedFamily READ fixedFamily CONSTANT FINAL)
    /// The family of the application's own font.
    Q_PROPERTY(QString textFamily READ textFamily CONSTANT FINAL)
    /// The size of the application's own font, in points.
    Q_PROPERTY(double textSize READ textSize CONSTANT FINAL)

public:
    explicit SystemFonts(QObject* parent = nullptr) : QObject(parent) {}

    QString fixedFamily() const;
    QString textFamily() const;
    double textSize() const;
};

} // namespace pelorin
