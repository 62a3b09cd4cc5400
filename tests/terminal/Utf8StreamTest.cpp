#include "BeaconryKit/terminal/Utf8Stream.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

const QString replacement{QChar(QChar::ReplacementCharacter)};

TEST(Utf8Stream, HoldsACutCharacterForTheNextPiece) {
    Utf8Stream stream;
    EXPECT_EQ(stream.decode("a\xf0\x9f"), "a");
    EXPECT_EQ(stream.decode("\x98"), "");
    EXPECT_EQ(stream.decode("\x80z\xe2"), "😀z");
    EXPECT_EQ(stream.decode("\x9d\xaf"), "❯");
    EXPECT_EQ(stream.finish(), "");
}

TEST(Utf8Stream, ReplacesAnIncompleteCharacterOnlyWhenItCannotGoOn) {
    Utf8Stream stream;
    EXPECT_EQ(stream.decode("\xf0\x9f\x98"), "");
    EXPECT_EQ(stream.decode("x"), replacement + "x");
    EXPECT_EQ(stream.decode("\xe2\x9d"), "");
    EXPECT_EQ(stream.finish(), replacement);
    // A new stream begins after the end of one.
    EXPECT_EQ(stream.finish(), "");
    EXPECT_EQ(stream.decode("\xaf"), replacement);
}

TEST(Utf8Stream, ForgetsWhatWaitsWhenItIsReset) {
    Utf8Stream stream;
    EXPECT_EQ(stream.decode("\xe2\x9d"), "");
    stream.reset();
    EXPECT_EQ(stream.decode("\xc3\xa9"), "é");
}

struct Bytes {
    QByteArray bytes;
    /// With "?" for each replacement character.
    QString text;
};

class Utf8Bytes : public ::testing::TestWithParam<Bytes> {};

TEST_P(Utf8Bytes, HaveTheSameTextHoweverTheyAreCut) {
    const QString expected = QString(GetParam().text).replace('?', replacement);
    const QByteArray& bytes = GetParam().bytes;
    // Every way to cut so few bytes.
    const std::uint32_t ways = 1U << (bytes.size() - 1);
    for (std::uint32_t cuts = 0; cuts < ways; ++cuts) {
        Utf8Stream stream;
        QString text;
        qsizetype start = 0;
        for (qsizetype end = 1; end <= bytes.size(); ++end) {
            if (end < bytes.size() && (cuts >> (end - 1) & 1U) == 0)
                continue;
            text += stream.decode(QByteArrayView(bytes).sliced(start, end - start));
            start = end;
        }
        text += stream.finish();
        ASSERT_EQ(text, expected) << "cut at " << cuts;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Utf8Stream, Utf8Bytes,
    ::testing::Values(Bytes{"plain\r\n\x1b[m", "plain\r\n\x1b[m"}, Bytes{"\xc2\x80\xdf\xbf", "\u0080\u07ff"},
                      Bytes{"\xe0\xa0\x80\xef\xbf\xbf", "\u0800\uffff"},
                      Bytes{"\xf0\x90\x80\x80\xf4\x8f\xbf\xbf", "\U00010000\U0010ffff"},
                      Bytes{"\xed\x9f\xbf\xee\x80\x80", "\ud7ff\ue000"},
                      // A byte order mark is a character like any other.
                      Bytes{"\xef\xbb\xbfx", QString(QChar(0xfeff)) + "x"}, Bytes{"\x80\xbf", "??"},
                      Bytes{"\xfe\xff", "??"}, Bytes{"\xc0\x80", "??"}, Bytes{"\xc1\xbf", "??"},
                      Bytes{"\xe0\x80\x80", "???"}, Bytes{"\xe0\x9f\xbf", "???"}, Bytes{"\xed\xa0\x80", "???"},
                      Bytes{"\xf0\x80\x80\x80", "????"}, Bytes{"\xf0\x8f\xbf\xbf", "????"},
                      Bytes{"\xf4\x90\x80\x80", "????"}, Bytes{"\xf5\x80\x80\x80", "????"},
                      // One for each longest beginning of a character.
                      Bytes{"\xe2\x9dx", "?x"}, Bytes{"\xf0\x9f\x98x", "?x"}, Bytes{"\xf0\x9fx", "?x"},
                      Bytes{"\xc3", "?"}, Bytes{"\xc3\xc3\xa9", "?é"}, Bytes{"\xe2\x9d\xe2\x9d\xaf", "?❯"},
                      Bytes{"\xf1\x80\x80\xe1\x80\xc2"
                            "b\x80"
                            "c\x80\xbf"
                            "d",
                            "???b?c??d"}));

TEST(Utf8Stream, KeepsNulCharacters) {
    Utf8Stream stream;
    EXPECT_EQ(stream.decode(QByteArrayView("a\0b", 3)), QString("a") + QChar(0) + "b");
    EXPECT_EQ(stream.decode(QByteArrayView()), "");
}

} // namespace
} // namespace pelorin
