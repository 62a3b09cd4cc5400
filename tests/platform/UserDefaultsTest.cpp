#include "BeaconryKit/platform/FileUserDefaults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <gmock/gmock.h>

#include <csignal>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pelorin {
namespace {

using ::testing::HasSubstr;

class FileUserDefaultsTest : public ::testing::Test {
protected:
    void write(const QByteArray& bytes) {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QByteArray read(const QString& name) {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }
    QJsonObject stored() { return QJsonDocument::fromJson(read(path)).object(); }
    QStringList folder() { return QDir(QFileInfo(path).path()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }

    QTemporaryDir home;
    QString path = home.filePath("config/com.pelorin.manager/defaults.json");
};

TEST_F(FileUserDefaultsTest, WritesNothingUntilSomethingIsStored) {
    const FileUserDefaults defaults(path);
    EXPECT_EQ(defaults.object("x"), std::nullopt);
    EXPECT_FALSE(QFileInfo::exists(home.filePath("config")));
}

TEST_F(FileUserDefaultsTest, KeepsTypesApart) {
    {
        FileUserDefaults defaults(path);
        defaults.setObject("number", 45);
        defaults.setObject("text", "45");
        defaults.setObject("truth", true);
        defaults.setObject("large", qint64(9007199254740993));
    }
    const FileUserDefaults defaults(path);
    EXPECT_EQ(defaults.integer("number"), 45);
    EXPECT_EQ(defaults.string("number"), std::nullopt);
    EXPECT_EQ(defaults.boolean("number"), std::nullopt);
    EXPECT_EQ(defaults.string("text"), "45");
    EXPECT_EQ(defaults.integer("text"), std::nullopt);
    EXPECT_EQ(defaults.boolean("truth"), true);
    EXPECT_EQ(defaults.integer("truth"), std::nullopt);
    EXPECT_EQ(defaults.integer("large"), 9007199254740993);
    EXPECT_EQ(defaults.integer("missing"), std::nullopt);
}

TEST_F(FileUserDefaultsTest, ReadsOnlyWholeNumbersAsIntegers) {
    write(R"({"whole":45.0,"half":45.5,"zero":0,"one":1,"huge":1e30,"null":null})");
    const FileUserDefaults defaults(path);
    EXPECT_EQ(defaults.integer("whole"), 45);
    EXPECT_EQ(defaults.integer("half"), std::nullopt);
    EXPECT_EQ(defaults.integer("zero"), 0);
    EXPECT_EQ(defaults.integer("one"), 1);
    EXPECT_EQ(defaults.integer("huge"), std::nullopt);
    EXPECT_EQ(defaults.integer("null"), std::nullopt);
}

TEST_F(FileUserDefaultsTest, IsForItsOwnerOnly) {
    FileUserDefaults(path).setObject("x", 1);
    struct stat status {};
    ASSERT_EQ(stat(QFile::encodeName(path).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    ASSERT_EQ(stat(QFile::encodeName(QFileInfo(path).path()).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700U);
    ASSERT_TRUE(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther));
    FileUserDefaults(path).setObject("x", 2);
    ASSERT_EQ(stat(QFile::encodeName(path).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(FileUserDefaultsTest, KeepsKeysItDoesNotKnowAndWhatOthersWroteMeanwhile) {
    write(R"({"foreign":{"a":[1,2.5,null]},"x":1})");
    FileUserDefaults defaults(path);
    write(R"({"foreign":{"a":[1,2.5,null]},"x":1,"later":"too"})");
    defaults.setObject("x", 2);
    EXPECT_EQ(stored(), QJsonDocument::fromJson(R"({"foreign":{"a":[1,2.5,null]},"x":2,"later":"too"})").object());
    EXPECT_EQ(folder(), QStringList("defaults.json"));
}

TEST_F(FileUserDefaultsTest, LeavesAFileAloneThatHoldsTheValueAlready) {
    FileUserDefaults defaults(path);
    defaults.setObject("number", 45);
    defaults.setObject("truth", true);
    // A file that is replaced is another one.
    const auto fileNumber = [this] {
        struct stat status {};
        stat(qPrintable(path), &status);
        return status.st_ino;
    };
    const auto before = fileNumber();
    const QByteArray textBefore = read(path);
    defaults.setObject("number", 45);
    defaults.setObject("truth", true);
    EXPECT_EQ(fileNumber(), before);
    EXPECT_EQ(read(path), textBefore);
    // The same in another type, and what another program has changed, is written.
    defaults.setObject("number", "45");
    EXPECT_EQ(stored()["number"], "45");
    write(R"({"number": "45", "truth": false})");
    defaults.setObject("truth", true);
    EXPECT_EQ(stored()["truth"], true);
}

TEST_F(FileUserDefaultsTest, FollowsALinkInsteadOfReplacingIt) {
    write("{}");
    const QString target = home.filePath("dotfiles.json");
    ASSERT_TRUE(QFile::rename(path, target));
    ASSERT_TRUE(QFile::link(target, path));
    FileUserDefaults(path).setObject("x", 1);
    EXPECT_TRUE(QFileInfo(path).isSymLink());
    EXPECT_EQ(QJsonDocument::fromJson(read(target)).object(), QJsonObject({{"x", 1}}));
}

class UnreadableFile : public FileUserDefaultsTest, public ::testing::WithParamInterface<QByteArray> {};

TEST_P(UnreadableFile, ReadsAsEmptyAndIsKeptBeforeTheFirstWrite) {
    write(GetParam());
    FileUserDefaults defaults(path);
    EXPECT_EQ(defaults.object("x"), std::nullopt);
    EXPECT_EQ(read(path), GetParam());

    testing::internal::CaptureStderr();
    defaults.setObject("x", 1);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("defaults.json.unreadable-1"));
    EXPECT_EQ(read(path + ".unreadable-1"), GetParam());
    EXPECT_EQ(stored(), QJsonObject({{"x", 1}}));

    // A second bad file does not push out the first.
    write("again bad");
    testing::internal::CaptureStderr();
    defaults.setObject("y", 2);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("defaults.json.unreadable-2"));
    EXPECT_EQ(read(path + ".unreadable-1"), GetParam());
    EXPECT_EQ(read(path + ".unreadable-2"), "again bad");
}

INSTANTIATE_TEST_SUITE_P(Contents, UnreadableFile, ::testing::Values("nonsense", "", "[1]", R"({"x":1)", "45"));

TEST_F(FileUserDefaultsTest, KeepsWhatItCannotWriteAndWarnsOnce) {
    // A file stands where the folder would have to be.
    QFile blocker(home.filePath("config"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    FileUserDefaults defaults(path);
    testing::internal::CaptureStderr();
    defaults.setObject("x", 1);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("cannot write its settings"));
    EXPECT_EQ(defaults.integer("x"), 1);
    testing::internal::CaptureStderr();
    defaults.setObject("y", 2);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(defaults.integer("y"), 2);

    // Once it is possible again, everything is written.
    ASSERT_TRUE(blocker.remove());
    defaults.setObject("z", 3);
    EXPECT_EQ(stored(), QJsonObject({{"x", 1}, {"y", 2}, {"z", 3}}));
}

TEST_F(FileUserDefaultsTest, LeavesTheOldFileWhenTheDiskTakesNoMore) {
    write(R"({"x":1})");
    FileUserDefaults defaults(path);
    // The system refuses every further byte, as it does on a full disk.
    const auto signalBefore = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit none = before;
    none.rlim_cur = 0;
    testing::internal::CaptureStderr();
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
    defaults.setObject("x", 2);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, signalBefore);
    // The warning itself could not be captured: it goes to a file too.
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(defaults.integer("x"), 2);
    EXPECT_EQ(stored(), QJsonObject({{"x", 1}}));
    defaults.setObject("y", 3);
    EXPECT_EQ(stored(), QJsonObject({{"x", 2}, {"y", 3}}));
}

TEST_F(FileUserDefaultsTest, TakesAnythingButAnOrdinaryFileForUnreadable) {
    const std::string name = path.toStdString();
    write("{}");
    const std::pair<const char*, std::function<void()>> kinds[] = {
        {"a pipe",
         [&] {
             ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
         }},
        {"a device without end",
         [&] {
             ASSERT_EQ(symlink("/dev/zero", name.c_str()), 0);
         }},
        {"a folder",
         [&] {
             ASSERT_TRUE(QDir().mkdir(path));
         }},
        {"a file without bounds", [&] {
             write("{}");
             ASSERT_TRUE(QFile::resize(path, 1'000'000'000'000));
         }}};
    for (const auto& [kind, make] : kinds) {
        SCOPED_TRACE(kind);
        ASSERT_TRUE(QFile::exists(path) && QFile::rename(path, home.filePath(kind)));
        make();
        testing::internal::CaptureStderr();
        FileUserDefaults defaults(path);
        EXPECT_EQ(defaults.object("x"), std::nullopt);
        defaults.setObject("x", 1);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("could not understand"));
        EXPECT_EQ(stored(), QJsonObject({{"x", 1}}));
    }
}

TEST(StandardUserDefaults, StandWhereTheBaseDirectoryRulesSay) {
    QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    const std::pair<QByteArray, QString> rows[] = {
        {home.filePath("xdg").toUtf8(), home.filePath("xdg/com.pelorin.manager/defaults.json")},
        {"", home.filePath(".config/com.pelorin.manager/defaults.json")},
        {"relative/path", home.filePath(".config/com.pelorin.manager/defaults.json")},
    };
    for (const auto& [variable, expected] : rows) {
        qputenv("XDG_CONFIG_HOME", variable);
        QFile::remove(expected);
        makeStandardUserDefaults()->setObject("x", 1);
        EXPECT_TRUE(QFileInfo::exists(expected)) << variable.constData();
    }
}

} // namespace
} // namespace pelorin
