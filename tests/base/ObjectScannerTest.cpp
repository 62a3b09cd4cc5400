#include "BeaconryBase/ObjectScanner.h"

#include "tests/hook/CapturedPayloads.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

using namespace std::string_literals;
using Progress = ObjectScanner::Progress;

struct Outcome {
    Progress progress = Progress::incomplete;
    std::size_t consumed = 0;

    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    constexpr const char* names[] = {"incomplete", "complete", "malformed"};
    return stream << names[static_cast<int>(outcome.progress)] << " after " << outcome.consumed;
}

Outcome scan(std::initializer_list<std::string_view> pieces) {
    ObjectScanner scanner;
    for (const std::string_view piece : pieces)
        scanner.feed(piece);
    return {scanner.progress(), scanner.consumed()};
}

Outcome scan(std::string_view text) {
    return scan({text});
}

Outcome complete(std::string_view object) {
    return {Progress::complete, object.size()};
}

const std::vector<std::string> objects = {
    R"({})",
    R"({ })",
    " \t\r\n{\n}",
    R"({"a":1})",
    R"({ "a" : "b" , "c" : [ ] })",
    R"({"a":{"b":{"c":[{},[[]],{"d":[1,2,{"e":null}]}]}}})",
    R"({"a":"}","b":"]","c":"{\"","d":"\\"})",
    R"({"a":"\"\\\/\b\f\n\r\t\u00e9\uD83D\uDE00"})",
    R"({"a":"\\\\\\"})",
    R"({"a":true,"b":false,"c":null})",
    R"({"a":0,"b":-0,"c":10,"d":-12.5,"e":0.125,"f":1e9,"g":1E-9,"h":2.5e+10})",
    R"({"a":[1,2,3],"b":[-1],"c":[0]})",
    "{\"a\":\"raw \n line end, \t tab, \x01\x1f and \x7f\"}",
    "{\"a\":\"a zero \0 byte\"}"s,
    "{\"a\":\"\xff\xfe no UTF-8 \xc3\"}",
    "{\"\xc3\xa9\":\"\xf0\x9f\x98\x80\"}",
    R"({"":""})",
    R"({"a":1,"a":2})",
};

TEST(ObjectScanner, FindsTheEndOfAnObject) {
    for (const std::string& object : objects) {
        SCOPED_TRACE(object);
        EXPECT_EQ(scan(object), complete(object));
        EXPECT_EQ(scan(object + "} trailing {"), complete(object));
        EXPECT_EQ(scan(object + object), complete(object));
    }
}

TEST(ObjectScanner, FindsTheSameEndHoweverTheBytesAreCut) {
    for (const std::string& object : objects) {
        SCOPED_TRACE(object);
        const std::string text = object + "\n{\"next\":1}";
        for (std::size_t cut = 0; cut <= text.size(); ++cut) {
            for (std::size_t second = cut; second <= text.size(); ++second) {
                const std::string_view view = text;
                ASSERT_EQ(scan({view.substr(0, cut), view.substr(cut, second - cut), view.substr(second)}),
                          complete(object))
                    << "cut at " << cut << " and " << second;
            }
        }
    }
}

TEST(ObjectScanner, FindsTheEndOfEveryCapturedPayload) {
    for (const char* cli : {"claude", "codex", "gemini"}) {
        for (const CapturedPayload& payload : capturedPayloads(cli)) {
            SCOPED_TRACE(payload.name);
            const std::size_t end = payload.text.rfind('}') + 1;
            EXPECT_EQ(scan(payload.text), (Outcome{Progress::complete, end}));
        }
    }
}

TEST(ObjectScanner, WaitsForMoreAfterEveryPartOfAnObject) {
    for (const std::string& object : objects) {
        for (std::size_t size = 0; size < object.size(); ++size)
            ASSERT_EQ(scan(std::string_view(object).substr(0, size)), (Outcome{Progress::incomplete, size})) << object;
    }
}

TEST(ObjectScanner, RefusesWhatCannotBecomeAnObjectAtTheFirstWrongByte) {
    const std::pair<std::string_view, std::string_view> table[] = {
        {"", "[]"},
        {"", "\"text\""},
        {"", "null"},
        {"", "1"},
        {"", "}"},
        {"", "\xef\xbb\xbf{}"},
        {"{", "a:1}"},
        {"{", "1:1}"},
        {"{", ",}"},
        {"{", "]"},
        {R"({"a")", "}"},
        {R"({"a")", ",1}"},
        {R"({"a":)", "}"},
        {R"({"a":)", ",}"},
        {R"({"a":)", ":1}"},
        {R"({"a":)", "'b'}"},
        {R"({"a":)", "+1}"},
        {R"({"a":)", ".5}"},
        {R"({"a":)", "NaN}"},
        {R"({"a":n)", "il}"},
        {R"({"a":tru)", "}"},
        {R"({"a":true)", "e}"},
        {R"({"a":0)", "1}"},
        {R"({"a":-)", "}"},
        {R"({"a":-)", "-1}"},
        {R"({"a":1)", "-}"},
        {R"({"a":1.)", "}"},
        {R"({"a":1.5)", ".5}"},
        {R"({"a":1e)", "}"},
        {R"({"a":1e+)", "}"},
        {R"({"a":1e5)", "e}"},
        {R"({"a":1e5)", ".5}"},
        {R"({"a":1 )", "2}"},
        {R"({"a":1)", "]"},
        {R"({"a":1,)", "}"},
        {R"({"a":1,)", ",}"},
        {R"({"a":"b")", "\"c\"}"},
        {R"({"a":[1,)", "]}"},
        {R"({"a":[)", ",1]}"},
        {R"({"a":[)", "}"},
        {R"({"a":[1)", "}"},
        {R"({"a":[1)", ":2]}"},
        {R"({"a":"\)", "x\"}"},
        {R"({"a":"\)", "U0041\"}"},
        {R"({"a":"\u00)", "g0\"}"},
        {R"({"a":"\u)", "\"}"},
        {"{\"a\":1", "\x01}"},
        {"{\"a\":1", "\xc2\xa0}"},
        {"{\"a\":", std::string_view("\0}", 2)},
    };
    for (const auto& [valid, wrong] : table) {
        SCOPED_TRACE(std::string(valid) + " then " + std::string(wrong));
        EXPECT_EQ(scan(valid), (Outcome{Progress::incomplete, valid.size()}));
        EXPECT_EQ(scan({valid, wrong}), (Outcome{Progress::malformed, valid.size() + 1}));
        EXPECT_EQ(scan({valid, wrong, "{}"}), (Outcome{Progress::malformed, valid.size() + 1}));
    }
}

std::string nested(std::size_t depth, char open, char close) {
    return "{\"a\":" + std::string(depth - 1, open) + std::string(depth - 1, close) + "}";
}

TEST(ObjectScanner, TakesNestingUpToTheLimit) {
    const std::string deepest = nested(ObjectScanner::maximumDepth, '[', ']');
    EXPECT_EQ(scan(deepest), complete(deepest));
    const std::string tooDeep = nested(ObjectScanner::maximumDepth + 1, '[', ']');
    EXPECT_EQ(scan(tooDeep).progress, Progress::malformed);
    // It is the depth that counts, not the number.
    std::string wide = R"({"a":[)";
    for (int count = 0; count < 5000; ++count)
        wide += "[],";
    wide += "{}]}";
    EXPECT_EQ(scan(wide), complete(wide));
}

TEST(ObjectScanner, TellsHowDeepTheObjectIs) {
    const auto depthOf = [](std::string_view text) {
        ObjectScanner scanner;
        scanner.feed(text);
        return scanner.deepest();
    };
    EXPECT_EQ(depthOf(" "), 0U);
    EXPECT_EQ(depthOf("{}"), 1U);
    EXPECT_EQ(depthOf(R"({"a":[{}],"b":{},"c":"[[[["})"), 3U);
    EXPECT_EQ(depthOf(nested(ObjectScanner::maximumDepth, '[', ']')), ObjectScanner::maximumDepth);
}

TEST(ObjectScanner, TellsWhereAStringFirstHoldsARawControlCharacter) {
    const std::pair<std::string, std::optional<std::size_t>> table[] = {
        {"\n{\n\t\"a\":\t\"b\"\r\n}\n", std::nullopt},
        {R"({"a":"\n\u0001"})", std::nullopt},
        {"{\"a\":\"\x7f\x80\xff\"}", std::nullopt},
        {"{\"a\n\":\"\t\"}", 3},
        {"{\"a\":\"b\\\"\x1f\"}", 9},
        {"{\"a\":\"\0\"}"s, 6},
    };
    for (const auto& [text, position] : table) {
        for (std::size_t cut = 0; cut <= text.size(); ++cut) {
            ObjectScanner scanner;
            scanner.feed(std::string_view(text).substr(0, cut));
            scanner.feed(std::string_view(text).substr(cut));
            EXPECT_EQ(scanner.rawControl(), position) << text << " cut at " << cut;
        }
    }
}

TEST(ObjectScanner, PassesOverHugeStrings) {
    const std::string huge = R"({"a":")" + std::string(3'000'000, 'x') + R"(","b":1})";
    EXPECT_EQ(scan(huge), complete(huge));
}

} // namespace
} // namespace pelorin
