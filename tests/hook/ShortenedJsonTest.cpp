#include "BeaconryHook/ShortenedJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace pelorin::hook {
namespace {

QJsonDocument parsed(const std::string& text) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(text), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << text;
    return document;
}

TEST(ShortenedJson, LeavesWhatIsShortEnough) {
    for (const std::string value : {R"({"a": "x" , "b":[1,2]})", R"("text")", "12345", "null"})
        EXPECT_EQ(shortenedJson(value, std::max<std::size_t>(value.size(), leastShortenedSize)), value);
}

TEST(ShortenedJson, TakesTheMiddleOutOfALongText) {
    const std::string value = R"({"command":"begin)" + std::string(5'000, 'x') + R"(end"})";
    const std::string shortened = shortenedJson(value, 100);
    EXPECT_LE(shortened.size(), 100U);
    const QString command = parsed(shortened)["command"].toString();
    EXPECT_TRUE(command.startsWith("beginxxx")) << shortened;
    EXPECT_TRUE(command.endsWith("xxxend")) << shortened;
    EXPECT_EQ(command.count(" […] "), 1);
}

TEST(ShortenedJson, CutsOnlyWhatIsLong) {
    const std::string value =
        R"({"file_path":"/home/user/project/a-rather-long-path-that-stays-whole.cpp","replace_all":false,"content":")" +
        std::string(9'000, 'x') + R"("})";
    const QJsonDocument shortened = parsed(shortenedJson(value, 500));
    EXPECT_EQ(shortened["file_path"].toString(), "/home/user/project/a-rather-long-path-that-stays-whole.cpp");
    EXPECT_EQ(shortened["replace_all"], false);
    EXPECT_GT(shortened["content"].toString().size(), 300);
}

TEST(ShortenedJson, CutsBetweenCharacters) {
    const std::pair<std::string, QString> table[] = {
        {"\xc3\xa9", "é"}, {"\xf0\x9f\x98\x80", "😀"}, {R"(\u00e9)", "é"}, {R"(\ud83d\ude00)", "😀"},
        {R"(\\)", "\\"},   {R"(\")", "\""},           {R"(\n)", "\n"},
    };
    for (const auto& [text, meaning] : table) {
        std::string value = "\"";
        for (int count = 0; count < 100; ++count)
            value += text;
        value += '"';
        for (std::size_t size = leastShortenedSize; size < 80; ++size) {
            const std::string shortened = shortenedJson(value, size);
            EXPECT_LE(shortened.size(), size);
            QString whole = parsed("[" + shortened + "]")[0].toString();
            EXPECT_EQ(whole.count(" […] "), 1);
            EXPECT_EQ(whole.remove(" […] ").remove(meaning), "") << shortened;
        }
    }
}

TEST(ShortenedJson, TakesTheMiddleOutOfTooManyItems) {
    std::string value = "[";
    for (int number = 0; number < 1'000; ++number)
        value += (number > 0 ? "," : "") + std::to_string(number);
    value += "]";
    const std::string shortened = shortenedJson(value, 200);
    EXPECT_LE(shortened.size(), 200U);
    const QJsonArray numbers = parsed(shortened).array();
    EXPECT_GT(numbers.size(), 20);
    EXPECT_EQ(numbers.first(), 0);
    EXPECT_EQ(numbers.last(), 999);
}

TEST(ShortenedJson, KeepsToTheSizeWhateverItIsGiven) {
    std::string nested;
    for (int level = 0; level < 60; ++level)
        nested += R"({"deep":[)";
    nested += '"' + std::string(500, 'y') + '"';
    for (int level = 0; level < 60; ++level)
        nested += "]}";
    std::string manyLong = "{";
    for (int number = 0; number < 300; ++number)
        manyLong += (number > 0 ? ",\"" : "\"") + std::string(40, 'n') + std::to_string(number) + R"(":["long value )" +
                    std::string(100, 'v') + "\"]";
    manyLong += "}";
    const std::string table[] = {nested, manyLong, R"({")" + std::string(500, 'n') + R"(":"long name"})",
                                 "{\"number\":1" + std::string(500, '0') + "}", std::string(500, '1')};
    for (const std::string& value : table) {
        for (const std::size_t size : {leastShortenedSize, std::size_t{33}, std::size_t{64}, std::size_t{300}}) {
            const std::string shortened = shortenedJson(value, size);
            EXPECT_LE(shortened.size(), size);
            parsed("[" + shortened + "]");
        }
    }
}

} // namespace
} // namespace pelorin::hook
