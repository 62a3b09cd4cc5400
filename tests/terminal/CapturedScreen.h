#pragma once

#include <QFile>
#include <gtest/gtest.h>

namespace pelorin {

/// A screen that was captured of a real CLI, by its path below the fixtures.
inline QString capturedScreen(const QString& path) {
    QFile file(QStringLiteral(PELORIN_SOURCE_DIR "/tests/fixtures/") + path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return QString::fromUtf8(file.readAll());
}

} // namespace pelorin
