#include "BeaconryKit/interface/asks/AskListModel.h"

#include "tests/interface/SampleAsks.h"

#include "BeaconryKit/interface/asks/SourceStyle.h"
#include "BeaconryKit/service/AskStore.h"

#include <QAbstractItemModelTester>
#include <QColor>
#include <QSignalSpy>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using Moment = AskListModel::Moment;

const Moment start{1h};
const Moment later = start + 400ms;

class AskListModelTest : public ::testing::Test {
protected:
    void sync() { model.sync(store.asks(), later); }

    QVariant value(int row, int role) const { return model.data(model.index(row), role); }

    QStringList ids() const {
        QStringList ids;
        for (int i = 0; i < model.rowCount(); ++i)
            ids.append(value(i, AskListModel::askIdRole).toString());
        return ids;
    }

    AskStore store;
    AskListModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(AskListModelTest, ShowsAnAsk) {
    AskEvent ask = permissionAsk(QStringLiteral("r1"));
    ask.source = QStringLiteral("codex");
    ask.agentType = QStringLiteral("general-purpose");
    ask.detail = QStringLiteral("a\nb");
    ask.options = {{QStringLiteral("1"), QStringLiteral("Yes")}, {QStringLiteral("2"), QStringLiteral("No")}};
    ask.acceptsText = true;
    store.upsert(ask);
    sync();
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_EQ(value(0, AskListModel::askIdRole), QStringLiteral("r1"));
    EXPECT_EQ(value(0, AskListModel::sourceLabelRole), QStringLiteral("Codex"));
    const SourceStyle::Colour dot = SourceStyle::dotColor(ask.sessionId);
    EXPECT_EQ(value(0, AskListModel::dotColorRole).value<QColor>(), QColor::fromRgbF(dot.red, dot.green, dot.blue));
    EXPECT_EQ(value(0, AskListModel::projectNameRole), QStringLiteral("lighthouse"));
    EXPECT_EQ(value(0, AskListModel::messageRole), QStringLiteral("Bash: cmake --build build --target r1"));
    EXPECT_EQ(value(0, AskListModel::isPermissionRole), true);
    EXPECT_EQ(value(0, AskListModel::agentTypeRole), QStringLiteral("general-purpose"));
    EXPECT_EQ(value(0, AskListModel::detailRole), QStringLiteral("a\nb"));
    EXPECT_EQ(value(0, AskListModel::optionLabelsRole).toStringList(),
              QStringList({QStringLiteral("Yes"), QStringLiteral("No")}));
    EXPECT_EQ(value(0, AskListModel::acceptsTextRole), true);
    EXPECT_EQ(value(0, AskListModel::expandedRole), false);
    EXPECT_EQ(value(0, AskListModel::draftRole), QString());
}

TEST_F(AskListModelTest, NamesEveryRole) {
    const QHash<int, QByteArray> names = model.roleNames();
    for (int role = AskListModel::askIdRole; role <= AskListModel::armedRole; ++role)
        EXPECT_FALSE(names.value(role).isEmpty()) << role;
}

TEST_F(AskListModelTest, ShowsACommandThatHidesWhatItIs) {
    AskEvent ask = permissionAsk(QStringLiteral("r1"));
    ask.actionSummary = QStringLiteral("rm \u202Efdp.exe");
    store.upsert(ask);
    sync();
    EXPECT_EQ(value(0, AskListModel::messageRole), QStringLiteral("Bash: rm [U+202E]fdp.exe"));
}

TEST_F(AskListModelTest, ShowsTheBeginningOfANoticeOfAMegabyte) {
    AskEvent ask = noticeAsk(QStringLiteral("s1"));
    ask.message = QStringLiteral("x").repeated(1'000'000);
    store.upsert(ask);
    sync();
    EXPECT_EQ(value(0, AskListModel::messageRole).toString().size(), 1001);
}

TEST_F(AskListModelTest, AppendsInOneStep) {
    for (const char* id : {"a", "b", "c"})
        store.upsert(permissionAsk(QString::fromLatin1(id)));
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    sync();
    ASSERT_EQ(inserted.size(), 1);
    EXPECT_EQ(inserted[0][1], 0);
    EXPECT_EQ(inserted[0][2], 2);
    EXPECT_EQ(ids(), QStringList({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}));
}

TEST_F(AskListModelTest, TellsOnlyWhatChangedOfARow) {
    const AskEvent ask = noticeAsk(QStringLiteral("s1"));
    store.upsert(ask);
    store.upsert(noticeAsk(QStringLiteral("s2")));
    sync();
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    AskEvent fuller = ask;
    fuller.detail = QStringLiteral("$ ");
    fuller.acceptsText = true;
    store.upsert(fuller);
    sync();
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex().row(), 0);
    EXPECT_EQ(changed[0][1].toModelIndex().row(), 0);
    EXPECT_EQ(changed[0][2].value<QList<int>>(),
              QList<int>({AskListModel::detailRole, AskListModel::questionRole, AskListModel::acceptsTextRole}));
}

TEST_F(AskListModelTest, SaysNothingWhenNothingChanged) {
    store.upsert(permissionAsk(QStringLiteral("a")));
    sync();
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
    // The same again, in a new row.
    store.upsert(permissionAsk(QStringLiteral("a")));
    store.remove(QStringLiteral("nobody"));
    sync();
    EXPECT_EQ(changed.size() + inserted.size() + removed.size(), 0);
}

TEST_F(AskListModelTest, MovesTheRowThatCameBackAtTheEnd) {
    for (const char* id : {"a", "b", "c", "d"})
        store.upsert(permissionAsk(QString::fromLatin1(id)));
    sync();
    model.setDraft(QStringLiteral("a"), QStringLiteral("half a reply"));
    QSignalSpy moved(&model, &QAbstractItemModel::rowsMoved);
    QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
    store.remove(QStringLiteral("a"));
    store.upsert(permissionAsk(QStringLiteral("a")));
    sync();
    EXPECT_EQ(moved.size(), 1);
    EXPECT_EQ(removed.size(), 0);
    EXPECT_EQ(ids().last(), QStringLiteral("a"));
    EXPECT_EQ(value(3, AskListModel::draftRole), QStringLiteral("half a reply"));
}

// The length of a longest increasing run, the slow way.
int longestRun(const std::vector<int>& values) {
    std::vector<int> lengths(values.size(), 1);
    for (std::size_t i = 0; i < values.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (values[j] < values[i])
                lengths[i] = std::max(lengths[i], lengths[j] + 1);
        }
    }
    return lengths.empty() ? 0 : std::ranges::max(lengths);
}

TEST_F(AskListModelTest, FollowsAnyStoreInAsFewMovesAsCanBe) {
    std::mt19937 random(20240501);
    const auto upTo = [&](int last) {
        return std::uniform_int_distribution<int>(0, last)(random);
    };
    QSignalSpy moved(&model, &QAbstractItemModel::rowsMoved);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    for (int round = 0; round < 1000; ++round) {
        for (int step = upTo(6); step >= 0; --step) {
            const QString id = QString::number(upTo(14));
            switch (upTo(4)) {
            case 0:
                store.remove(id);
                break;
            case 1:
                store.clear(upTo(1) == 0 ? QStringLiteral("session of ") + id : id);
                break;
            case 2:
                store.upsert(noticeAsk(id));
                break;
            default: {
                AskEvent ask = permissionAsk(id);
                ask.detail = QString::number(upTo(3));
                store.upsert(ask);
            }
            }
        }
        const QStringList before = ids();
        std::vector<int> kept;
        for (const SharedAsk& row : store.asks()) {
            if (before.contains(row->id()))
                kept.push_back(static_cast<int>(before.indexOf(row->id())));
        }
        const auto movesBefore = moved.size();
        sync();
        ASSERT_EQ(model.rowCount(), store.asks().size());
        for (int i = 0; i < model.rowCount(); ++i) {
            const AskEvent& ask = *store.asks()[i];
            ASSERT_EQ(value(i, AskListModel::askIdRole), ask.id());
            ASSERT_EQ(value(i, AskListModel::messageRole), ask.displayMessage());
            ASSERT_EQ(value(i, AskListModel::detailRole), ask.detail);
            ASSERT_EQ(model.ask(ask.id()), store.asks()[i]);
        }
        EXPECT_EQ(moved.size() - movesBefore, static_cast<qsizetype>(kept.size()) - longestRun(kept));
    }
    EXPECT_GT(moved.size(), 20);
    EXPECT_EQ(reset.size(), 0);
}

TEST_F(AskListModelTest, KnowsTheRowsWhileTheyStillChange) {
    for (const char* id : {"a", "b", "c", "d"})
        store.upsert(permissionAsk(QString::fromLatin1(id)));
    sync();
    QStringList seen;
    QObject::connect(&model, &QAbstractItemModel::rowsRemoved, &model, [&] {
        // As a view does that lays its rows out at once.
        model.setPlace(QStringLiteral("d"), 10, later);
        seen.append(model.ask(QStringLiteral("d"))->id());
        EXPECT_EQ(model.ask(QStringLiteral("a")), nullptr);
    });
    store.remove(QStringLiteral("a"));
    sync();
    EXPECT_EQ(seen, QStringList{QStringLiteral("d")});
}

TEST_F(AskListModelTest, KeepsWhatTheUserDidToARowAsLongAsItStays) {
    store.upsert(permissionAsk(QStringLiteral("a")));
    store.upsert(permissionAsk(QStringLiteral("b")));
    sync();
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    model.setFold(QStringLiteral("b"), AskListModel::Fold::expanded);
    model.setFold(QStringLiteral("b"), AskListModel::Fold::expanded);
    model.setDraft(QStringLiteral("b"), QStringLiteral("use the"));
    model.setDraft(QStringLiteral("b"), QStringLiteral("use the"));
    model.setFold(QStringLiteral("nobody"), AskListModel::Fold::expanded);
    model.setDraft(QStringLiteral("nobody"), QStringLiteral("x"));
    EXPECT_EQ(changed.size(), 2);
    store.remove(QStringLiteral("a"));
    sync();
    EXPECT_EQ(value(0, AskListModel::expandedRole), true);
    EXPECT_EQ(value(0, AskListModel::draftRole), QStringLiteral("use the"));
    store.remove(QStringLiteral("b"));
    sync();
    store.upsert(permissionAsk(QStringLiteral("b")));
    sync();
    EXPECT_EQ(value(0, AskListModel::expandedRole), false);
    EXPECT_EQ(value(0, AskListModel::draftRole), QString());
}

TEST_F(AskListModelTest, CountsDownForPermissionRequestsAlone) {
    const WallTime now(1'700'000'000s);
    store.upsert(noticeAsk(QStringLiteral("s1"), now));
    store.upsert(permissionAsk(QStringLiteral("r1"), now));
    store.upsert(permissionAsk(QStringLiteral("r2"), now - 44s));
    store.upsert(permissionAsk(QStringLiteral("r3"), now - 60s));
    sync();
    EXPECT_FALSE(model.isCountingDown());
    model.setCountdown(45, now);
    EXPECT_TRUE(model.isCountingDown());
    EXPECT_EQ(value(0, AskListModel::countdownTextRole), QString());
    EXPECT_EQ(value(1, AskListModel::countdownTextRole), QStringLiteral("45s left"));
    EXPECT_EQ(value(1, AskListModel::countdownIsUrgentRole), false);
    EXPECT_EQ(value(2, AskListModel::countdownTextRole), QStringLiteral("1s left"));
    EXPECT_EQ(value(2, AskListModel::countdownIsUrgentRole), true);
    EXPECT_EQ(value(2, AskListModel::countdownIsOverRole), false);
    EXPECT_EQ(value(3, AskListModel::countdownTextRole), QStringLiteral("→ terminal"));
    EXPECT_EQ(value(3, AskListModel::countdownIsOverRole), true);

    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    model.setCountdown(45, now + 300ms);
    EXPECT_EQ(changed.size(), 0);
    model.setCountdown(45, now + 1s);
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex().row(), 1);
    EXPECT_EQ(changed[0][1].toModelIndex().row(), 2);
    model.setCountdown(45, now + 45s);
    EXPECT_FALSE(model.isCountingDown());
    model.setCountdown(0, now + 45s);
    EXPECT_EQ(value(3, AskListModel::countdownTextRole), QString());
}

TEST_F(AskListModelTest, ArmsANewRowOnceItHasStood) {
    store.upsert(permissionAsk(QStringLiteral("a")));
    sync();
    EXPECT_EQ(value(0, AskListModel::armedRole), false);
    EXPECT_EQ(model.arm(later - 1ns), later);
    EXPECT_EQ(value(0, AskListModel::armedRole), false);
    EXPECT_EQ(model.arm(later), std::nullopt);
    EXPECT_EQ(value(0, AskListModel::armedRole), true);
}

TEST_F(AskListModelTest, DisarmsTheRowThatMoved) {
    store.upsert(permissionAsk(QStringLiteral("a")));
    store.upsert(permissionAsk(QStringLiteral("b")));
    sync();
    model.setPlace(QStringLiteral("a"), 0, later);
    model.setPlace(QStringLiteral("b"), 80, later);
    model.arm(later);
    model.setPlace(QStringLiteral("a"), 0, later + 1s);
    model.setPlace(QStringLiteral("b"), 60, later + 1s);
    model.setPlace(QStringLiteral("nobody"), 60, later + 1s);
    EXPECT_EQ(value(0, AskListModel::armedRole), true);
    EXPECT_EQ(value(1, AskListModel::armedRole), false);
    EXPECT_EQ(model.arm(later), later + 1s);
}

TEST_F(AskListModelTest, ARowThatIsSeenForTheFirstTimeHasNotMoved) {
    store.upsert(permissionAsk(QStringLiteral("a")));
    sync();
    model.arm(later);
    model.setPlace(QStringLiteral("a"), 900, later + 1s);
    EXPECT_EQ(value(0, AskListModel::armedRole), true);
}

TEST_F(AskListModelTest, DisarmsARowWhoseAnswersAreOthersNow) {
    const AskEvent ask = noticeAsk(QStringLiteral("s1"));
    store.upsert(ask);
    sync();
    model.arm(later);
    AskEvent withDetail = ask;
    withDetail.detail = QStringLiteral("$");
    store.upsert(withDetail);
    sync();
    EXPECT_EQ(value(0, AskListModel::armedRole), true);
    store.upsert(withAnswers(ask, {QStringLiteral("Yes")}));
    sync();
    EXPECT_EQ(value(0, AskListModel::armedRole), false);
    model.arm(later);
    AskEvent other = withAnswers(ask, {QStringLiteral("Yes")});
    other.message = QStringLiteral("Something else");
    store.upsert(other);
    sync();
    EXPECT_EQ(value(0, AskListModel::armedRole), false);
}

TEST_F(AskListModelTest, ArmsManyRowsWithOneSignal) {
    for (int i = 0; i < 100; ++i)
        store.upsert(permissionAsk(QString::number(i)));
    sync();
    model.setPlace(QStringLiteral("50"), 5, later);
    model.setPlace(QStringLiteral("50"), 7, later + 1s);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    EXPECT_EQ(model.arm(later), later + 1s);
    ASSERT_EQ(changed.size(), 2);
    EXPECT_EQ(changed[0][1].toModelIndex().row(), 49);
    EXPECT_EQ(changed[1][0].toModelIndex().row(), 51);
    EXPECT_EQ(changed[1][1].toModelIndex().row(), 99);
}

} // namespace
} // namespace pelorin
