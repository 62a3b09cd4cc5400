#include "BeaconryKit/service/RequestFraming.h"

#include <QList>
#include <gmock/gmock.h>

#include <random>

namespace pelorin {
namespace {

using Progress = RequestFraming::Progress;

struct Outcome {
    Progress progress;
    HookRequest request;

    bool operator==(const Outcome&) const = default;
};

Outcome frame(const QList<QByteArray>& pieces) {
    RequestFraming framing;
    for (const QByteArray& piece : pieces) {
        const Progress progress = framing.append(piece);
        if (progress == Progress::complete)
            return {progress, framing.takeRequest()};
        if (progress == Progress::refused)
            return {progress, {}};
    }
    return {Progress::incomplete, {}};
}

Outcome frame(const QByteArray& bytes) {
    return frame(QList<QByteArray>{bytes});
}

const Outcome incomplete{Progress::incomplete, {}};
const Outcome refused{Progress::refused, {}};

Outcome complete(const QByteArray& path, const QByteArray& body) {
    return {Progress::complete, {path, body}};
}

struct Case {
    QByteArray bytes;
    Outcome expected;
};

const Case cases[] = {
    {"POST /event HTTP/1.1\r\nContent-Length: 5\r\n\r\nhello", complete("/event", "hello")},
    // The surplus is dropped.
    {"POST /event HTTP/1.1\r\nContent-Length: 5\r\n\r\nhello!!", complete("/event", "hello")},
    {"GET /status HTTP/1.1\r\n\r\n", complete("/status", "")},
    {"GET /status HTTP/1.1\r\n\r\nsurplus", complete("/status", "")},
    // Two words make a request line, and any number of blanks parts them.
    {"GET /status\r\n\r\n", complete("/status", "")},
    {"  POST   /a?b=c#d   x y z\r\n\r\n", complete("/a?b=c#d", "")},
    {"POST /event HTTP/1.1\r\ncOnTeNt-LeNgTh:\t 3 \t\r\n\r\nabc", complete("/event", "abc")},
    {"POST / x\r\nContent-Length: +2\r\n\r\nab", complete("/", "ab")},
    // What is no whole decimal number counts as zero.
    {"POST / x\r\nContent-Length: 2x\r\n\r\nab", complete("/", "")},
    {"POST / x\r\nContent-Length: \r\n\r\nab", complete("/", "")},
    {"POST / x\r\nContent-Length: 99999999999999999999\r\n\r\nab", complete("/", "")},
    {"POST / x\r\nContent-Length: -2\r\n\r\nab", complete("/", "")},
    {"POST / x\r\nContent-Length : 2\r\n\r\nab", complete("/", "")},
    {"POST / x\r\nX-Content-Length: 2\r\n\r\nab", complete("/", "")},
    // The last one counts, and the value begins after the first colon.
    {"POST / x\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\nabc", complete("/", "ab")},
    {"POST / x\r\nContent-Length: 2:1\r\n\r\nab", complete("/", "")},
    {"POST / x\r\nno colon\r\nContent-Length: 1\r\n\r\nab", complete("/", "a")},
    // A line ends with both characters.
    {"POST / x\nContent-Length: 1\r\n\r\nab", complete("/", "")},
    {"POST /\xC3\xA9 x\r\n\r\n", complete("/\xC3\xA9", "")},
    {QByteArray("POST / x\r\nContent-Length: 3\r\n\r\n") + QByteArray("\0\xff\n", 3),
     complete("/", QByteArray("\0\xff\n", 3))},
    {"", incomplete},
    {"POST /event HTTP/1.1\r\nContent-Length: 5\r\n\r\nhell", incomplete},
    {"POST /event HTTP/1.1\r\nContent-Length: 5\r\n", incomplete},
    {"PUT /event HTTP/1.1\r\nContent-Length: 0\r\n\r\n", incomplete},
    {"post /event HTTP/1.1\r\n\r\n", incomplete},
    {"POST\r\n\r\n", incomplete},
    {"\r\n\r\nPOST /event x\r\n\r\n", incomplete},
    {"POST /\xff x\r\n\r\n", incomplete},
    {"POST / x\r\nX: \xC3\r\n\r\n", incomplete},
    // Only pages in a browser say where they come from.
    {"POST /permission HTTP/1.1\r\nOrigin: https://example.com\r\nContent-Length: 0\r\n\r\n", refused},
    {"GET /status HTTP/1.1\r\noRIGIN:\r\n\r\n", refused},
    {"POST / x\r\nX-Origin: a\r\n\r\n", complete("/", "")},
    // A page of the same origin does not say so, but under which name it has reached this machine.
    {"GET /status HTTP/1.1\r\nHost: rebound.example.com:45789\r\n\r\n", refused},
    {"GET /status HTTP/1.1\r\nhOST:a.b\r\n\r\n", refused},
    {"GET /status HTTP/1.1\r\nHost: 127.0.0.1\r\nHost: a.b.:1\r\n\r\n", refused},
    {"GET /status HTTP/1.1\r\nHost: 127.0.0.1.example.com\r\n\r\n", refused},
    {"GET /status HTTP/1.1\r\nHost: com.\r\n\r\n", refused},
    {"GET /status HTTP/1.1\r\nHost: a.0xg\r\n\r\n", refused},
    {"GET /status HTTP/1.1\r\n\r\n", complete("/status", "")},
    {"GET /status HTTP/1.1\r\nHost:\r\n\r\n", complete("/status", "")},
    {"GET /status HTTP/1.1\r\nHost: localhost:45789\r\n\r\n", complete("/status", "")},
    {"GET /status HTTP/1.1\r\nHost: LocalHost.\r\n\r\n", complete("/status", "")},
    {"GET /status HTTP/1.1\r\nHost: 127.0.0.1:45789\r\n\r\n", complete("/status", "")},
    {"GET /status HTTP/1.1\r\nHost: 127.0.0.1.\r\n\r\n", complete("/status", "")},
    {"GET /status HTTP/1.1\r\nHost: 127.0x1\r\n\r\n", complete("/status", "")},
    {"GET /status HTTP/1.1\r\nHost: [::ffff:127.0.0.1]:45789\r\n\r\n", complete("/status", "")},
    {"GET /status HTTP/1.1\r\nHost: desk\r\n\r\n", complete("/status", "")},
    // Of all others the name says nothing.
    {"POST /status HTTP/1.1\r\nHost: a.b\r\n\r\n", complete("/status", "")},
    {"POST /permission HTTP/1.1\r\nHost: a.b\r\n\r\n", complete("/permission", "")},
    {"GET /status? HTTP/1.1\r\nHost: a.b\r\n\r\n", complete("/status?", "")},
    {"GET /status HTTP/1.1\r\nX-Host: a.b\r\n\r\n", complete("/status", "")},
    {"POST / x\r\nContent-Length: 5\r\n\r\nOrigin: no\r\n", complete("/", "Origi")},
};

TEST(RequestFraming, FindsTheRequest) {
    for (const Case& test : cases)
        EXPECT_EQ(frame(test.bytes), test.expected) << test.bytes.constData();
}

TEST(RequestFraming, GivesTheSameForEverySplitInTwo) {
    for (const Case& test : cases) {
        for (qsizetype cut = 0; cut <= test.bytes.size(); ++cut)
            EXPECT_EQ(frame(QList{test.bytes.first(cut), test.bytes.sliced(cut)}), test.expected)
                << test.bytes.constData() << " cut at " << cut;
    }
}

TEST(RequestFraming, GivesTheSameForRandomSplits) {
    std::mt19937 random(3);
    for (int round = 0; round < 2000; ++round) {
        const Case& test = cases[random() % std::size(cases)];
        QList<QByteArray> pieces;
        qsizetype start = 0;
        while (start < test.bytes.size()) {
            const qsizetype length = 1 + static_cast<qsizetype>(random() % 6);
            pieces.append(test.bytes.mid(start, length));
            start += length;
        }
        ASSERT_EQ(frame(pieces), test.expected) << test.bytes.constData();
    }
}

TEST(RequestFraming, RefusesFromOneMillionAndOneBytesOn) {
    const QByteArray head = "POST / x\r\nContent-Length: 999999\r\n\r\n";
    EXPECT_EQ(frame(head.leftJustified(1'000'000, 'x')), incomplete);
    EXPECT_EQ(frame(head.leftJustified(1'000'001, 'x')), refused);
    EXPECT_EQ(frame(QList<QByteArray>{QByteArray(1'000'000, 'x'), "y"}), refused);
    EXPECT_EQ(frame(QList<QByteArray>{"PUT / x\r\n\r\n", QByteArray(1'000'000, 'x')}), refused);
    // Even a complete request is refused when what came with it is too long.
    EXPECT_EQ(frame(QByteArray("GET / x\r\n\r\n").leftJustified(1'000'001, 'x')), refused);

    const QByteArray largestHead = "POST / x\r\nContent-Length: 999964\r\n\r\n";
    ASSERT_EQ(largestHead.size() + 999'964, 1'000'000);
    EXPECT_EQ(frame(largestHead + QByteArray(999'964, 'b')), complete("/", QByteArray(999'964, 'b')));
}

TEST(RequestFraming, ReadsALongRequestByteByByte) {
    const QByteArray body(300'000, 'b');
    RequestFraming framing;
    for (const char byte : QByteArray("POST / x\r\nContent-Length: 300000\r\n\r\n") + body.chopped(1))
        ASSERT_EQ(framing.append({&byte, 1}), Progress::incomplete);
    ASSERT_EQ(framing.append("b"), Progress::complete);
    EXPECT_EQ(framing.takeRequest().body, body);
}

} // namespace
} // namespace pelorin
