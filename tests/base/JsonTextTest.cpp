#include "BeaconryBase/JsonText.h"

#include "BeaconryBase/ObjectScanner.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

std::vector<std::pair<std::string, std::string>> membersOf(std::string_view object) {
    std::vector<std::pair<std::string, std::string>> members;
    JsonMemberReader reader(object);
    while (const auto member = reader.next())
        members.emplace_back(member->name, member->value);
    return members;
}

std::vector<std::string> elementsOf(std::string_view array) {
    std::vector<std::string> elements;
    JsonElementReader reader(array);
    while (const auto element = reader.next())
        elements.emplace_back(*element);
    return elements;
}

TEST(JsonMemberReader, HandsOutNamesAndValuesAsTheyStand) {
    EXPECT_THAT(membersOf("{}"), IsEmpty());
    EXPECT_THAT(membersOf("{ \n }"), IsEmpty());
    EXPECT_THAT(membersOf(R"({"a":1,"b" : "x,}\"" ,"c":{"d":[1,{"e":"]"}]}, "f":[ ] , "\u0067":null})"),
                ElementsAre(Pair(R"("a")", "1"), Pair(R"("b")", R"("x,}\"")"), Pair(R"("c")", R"({"d":[1,{"e":"]"}]})"),
                            Pair(R"("f")", "[ ]"), Pair(R"("\u0067")", "null")));
}

TEST(JsonMemberReader, FindsNoMembersInOtherValues) {
    for (const std::string_view value : {"", "[]", "\"{}\"", "1", "null"})
        EXPECT_THAT(membersOf(value), IsEmpty()) << value;
}

TEST(JsonElementReader, HandsOutElementsAsTheyStand) {
    EXPECT_THAT(elementsOf("[ ]"), IsEmpty());
    EXPECT_THAT(elementsOf(R"([1 , "a,b",[2,[3]],{"c":"]"},true])"),
                ElementsAre("1", R"("a,b")", "[2,[3]]", R"({"c":"]"})", "true"));
    EXPECT_THAT(elementsOf(R"({"a":1})"), IsEmpty());
    EXPECT_THAT(elementsOf(""), IsEmpty());
}

TEST(JsonMember, TakesTheLastOneOfANameThatStandsTwice) {
    constexpr std::string_view object = R"({"a":1,"b":2,"a":3,"\u0062":4})";
    EXPECT_EQ(jsonMember(object, "a"), "3");
    EXPECT_EQ(jsonMember(object, "b"), "4");
    EXPECT_EQ(jsonMember(object, "c"), "");
    EXPECT_EQ(jsonMember("[1]", "a"), "");
}

TEST(JsonMember, DoesNotLookIntoInnerObjects) {
    EXPECT_EQ(jsonMember(R"({"x":{"a":1},"y":"\"a\":2","z":[{"a":3}]})", "a"), "");
}

TEST(JsonStringEquals, ComparesMeanings) {
    EXPECT_TRUE(jsonStringEquals(R"("allow")", "allow"));
    EXPECT_TRUE(jsonStringEquals(R"("\u0061llow")", "allow"));
    EXPECT_TRUE(jsonStringEquals(R"("")", ""));
    EXPECT_TRUE(jsonStringEquals(R"("a\/b")", "a/b"));
    for (const std::string_view other : {R"("Allow")", R"("allow ")", R"("allo")", "allow", "", "null", R"("\\allow")"})
        EXPECT_FALSE(jsonStringEquals(other, "allow")) << other;
}

TEST(DecodedJsonString, ResolvesEscapes) {
    EXPECT_EQ(decodedJsonString(R"("plain")"), "plain");
    EXPECT_EQ(decodedJsonString(R"("\"\\\/\b\f\n\r\t")"), "\"\\/\b\f\n\r\t");
    EXPECT_EQ(decodedJsonString(R"("\u0041\u00e9\u20AC\ud83d\ude00")"), "A\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");
    EXPECT_EQ(decodedJsonString(R"("\u0000x")"), "\0x"s);
    EXPECT_EQ(decodedJsonString("\"raw \n \xff\""), "raw \n \xff");
    EXPECT_EQ(decodedJsonString("12"), "");
    EXPECT_EQ(decodedJsonString(""), "");
}

TEST(DecodedJsonString, ReplacesHalvesOfSurrogatePairs) {
    const std::string replaced = "\xef\xbf\xbd";
    EXPECT_EQ(decodedJsonString(R"("\ud83d")"), replaced);
    EXPECT_EQ(decodedJsonString(R"("\ude00x")"), replaced + "x");
    EXPECT_EQ(decodedJsonString(R"("\ud83d\u0041")"), replaced + "A");
    EXPECT_EQ(decodedJsonString(R"("\ud83d\ud83d\ude00")"), replaced + "\xf0\x9f\x98\x80");
    EXPECT_EQ(decodedJsonString(R"("\ud83d\n")"), replaced + "\n");
}

std::string jsonString(std::string_view text) {
    std::string out;
    appendJsonString(out, text);
    return out;
}

TEST(AppendJsonString, EscapesWhatMustBeEscaped) {
    EXPECT_EQ(jsonString(""), R"("")");
    EXPECT_EQ(jsonString("xterm-256color"), R"("xterm-256color")");
    EXPECT_EQ(jsonString(R"(say "hi" \ bye)"), R"("say \"hi\" \\ bye")");
    EXPECT_EQ(jsonString("\b\f\n\r\t"), R"("\b\f\n\r\t")");
    EXPECT_EQ(jsonString("\0\x01\x1b\x1f\x7f"s), "\"\\u0000\\u0001\\u001b\\u001f\x7f\"");
    EXPECT_EQ(jsonString("\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80"), "\"\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80\"");
}

TEST(AppendJsonString, ReplacesEveryByteThatIsNoUtf8) {
    const std::string replaced = "\xef\xbf\xbd";
    const std::pair<std::string, std::string> table[] = {
        {"\x80", replaced},
        {"a\xffz", "a" + replaced + "z"},
        {"\xc3", replaced},
        {"\xc3(", replaced + "("},
        {"\xe2\x82", replaced + replaced},
        {"\xe2\x82\xe2\x82\xac", replaced + replaced + "\xe2\x82\xac"},
        {"\xc0\xaf", replaced + replaced},
        {"\xc1\xbf", replaced + replaced},
        {"\xe0\x9f\xbf", replaced + replaced + replaced},
        {"\xe0\xa0\x80", "\xe0\xa0\x80"},
        {"\xed\x9f\xbf", "\xed\x9f\xbf"},
        {"\xed\xa0\x80", replaced + replaced + replaced},
        {"\xf0\x8f\xbf\xbf", replaced + replaced + replaced + replaced},
        {"\xf0\x90\x80\x80", "\xf0\x90\x80\x80"},
        {"\xf4\x8f\xbf\xbf", "\xf4\x8f\xbf\xbf"},
        {"\xf4\x90\x80\x80", replaced + replaced + replaced + replaced},
        {"\xf5\x80\x80\x80", replaced + replaced + replaced + replaced},
    };
    for (const auto& [text, expected] : table)
        EXPECT_EQ(jsonString(text), '"' + expected + '"');
}

TEST(AppendRepaired, LeavesGoodTextAsItStands) {
    for (const std::string_view value : {R"({"a" : "b\"\\\u00e9", "c":[1.50, -0, 1e5,null ]})", "\"\xf0\x9f\x98\x80\"",
                                         "12.0", "true", "[ ]", "{\n\t\"a\": 1\r\n}"}) {
        std::string out;
        appendRepaired(out, value);
        EXPECT_EQ(out, value);
    }
}

TEST(AppendRepaired, MakesGoodWhatStandsRawInStringsAndOnlyThere) {
    std::string out = "{\"v\":";
    appendRepaired(out, "{\n\"a\tb\":\"x\ny\\\"\n\\\\\",\n\"c\":[\"\x01\0\x1b\"]}"s);
    EXPECT_EQ(out, "{\"v\":{\n\"a\\tb\":\"x\\ny\\\"\\n\\\\\",\n\"c\":[\"\\u0001\\u0000\\u001b\"]}");
    out.clear();
    appendRepaired(out, "[\"\xff\",\"\xc3\xa9\xc3\"]");
    EXPECT_EQ(out, "[\"\xef\xbf\xbd\",\"\xc3\xa9\xef\xbf\xbd\"]");
}

// The application's reader refuses what it can't decode: the helper must not hand it such bodies.
TEST(AppendRepaired, GivesWhatTheApplicationCanRead) {
    std::string raw = "{\"a\":\"";
    for (int byte = 0; byte < 256; ++byte) {
        if (byte != '"' && byte != '\\')
            raw += static_cast<char>(byte);
    }
    raw += "\"}";
    ASSERT_EQ(ObjectScanner().feed(raw), ObjectScanner::Progress::complete);
    std::string repaired;
    appendRepaired(repaired, raw);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(repaired), &error);
    ASSERT_EQ(error.error, QJsonParseError::NoError);
    const QString text = document.object().value("a").toString();
    EXPECT_EQ(text.size(), 254);
    EXPECT_EQ(text.at(0), QChar(0));
    EXPECT_EQ(text.at(10), QChar('\n'));
    EXPECT_EQ(text.back(), QChar(QChar::ReplacementCharacter));
}

TEST(IsUtf8, KnowsValidSequences) {
    for (const std::string_view text : {"", "plain", "\xC3\xA4", "\xE4\xBD\xA0", "\xF0\x9F\x98\x80", "\xEF\xBB\xBF"})
        EXPECT_TRUE(isUtf8(text)) << text;
    for (const std::string_view text :
         {"\x80", "a\xC3", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF\xFE", "\xC3("})
        EXPECT_FALSE(isUtf8(text)) << text;
}

} // namespace
} // namespace pelorin
