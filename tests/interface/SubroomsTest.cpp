// The interface is one target, because its QML is one module: nothing but this keeps its arrows.

#include <QDirIterator>
#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <gtest/gtest.h>

namespace pelorin {
namespace {

const QString interfaceFolder = QStringLiteral(PELORIN_SOURCE_DIR "/BeaconryKit/interface/");

/// Which rooms of the interface a room may use besides itself.
const QHash<QString, QStringList> allowed{
    {"theme", {}},
    {"controls", {"theme"}},
    {"asks", {"theme", "controls"}},
    {"alert", {"theme", "controls"}},
    {"panel", {"theme", "controls", "asks", "wayland"}},
    {"manager", {"theme", "controls", "asks"}},
    {"status", {"theme"}},
    {"wayland", {}},
};

struct Source {
    QString path;
    QString room;
    QString text;
};

QList<Source> sources(const QStringList& patterns) {
    QList<Source> found;
    for (const QString& room : allowed.keys()) {
        QDirIterator files(interfaceFolder + room, patterns, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            EXPECT_TRUE(file.open(QIODevice::ReadOnly));
            found.append({file.fileName(), room, QString::fromUtf8(file.readAll())});
        }
    }
    return found;
}

void expectAllowed(const Source& user, const QString& usedRoom, const QString& what) {
    EXPECT_TRUE(usedRoom == user.room || allowed.value(user.room).contains(usedRoom))
        << user.path.toStdString() << " uses " << what.toStdString();
}

TEST(Subrooms, IncludeOnlyWhatStandsBelowThem) {
    static const QRegularExpression include(QStringLiteral(R"re(#include "BeaconryKit/interface/(\w+)/([^"]+)")re"));
    int includes = 0;
    for (const Source& source : sources({"*.h", "*.cpp", "*.mm"})) {
        for (const QRegularExpressionMatch& match : include.globalMatch(source.text)) {
            expectAllowed(source, match.captured(1), match.captured(2));
            ++includes;
        }
    }
    EXPECT_GT(includes, 50);
}

TEST(Subrooms, UseOnlyQmlTypesThatStandBelowThem) {
    static const QRegularExpression named(QStringLiteral(R"(QML_NAMED_ELEMENT\((\w+)\))"));
    static const QRegularExpression commentOrText(QStringLiteral(R"re(//[^\n]*|"[^"\n]*")re"));
    static const QRegularExpression type(QStringLiteral(R"(\b[A-Z]\w+)"));
    QHash<QString, QString> rooms;
    const QList<Source> qml = sources({"*.qml"});
    for (const Source& source : qml)
        rooms.insert(QFileInfo(source.path).completeBaseName(), source.room);
    for (const Source& source : sources({"*.h"})) {
        for (const QRegularExpressionMatch& match : named.globalMatch(source.text))
            rooms.insert(match.captured(1), source.room);
    }
    int uses = 0;
    for (const Source& source : qml) {
        const QString code = QString(source.text).remove(commentOrText);
        for (const QRegularExpressionMatch& match : type.globalMatch(code)) {
            const QString room = rooms.value(match.captured());
            if (room.isEmpty())
                continue;
            expectAllowed(source, room, match.captured());
            ++uses;
        }
    }
    EXPECT_GT(uses, 500);
}

} // namespace
} // namespace pelorin
