#include "tests/interface/ManagerFixture.h"

#include "BeaconryKit/interface/manager/SessionListModel.h"

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QSignalSpy>

#include <algorithm>
#include <random>

namespace pelorin {
namespace {

SessionInfo session(const QString& id, const QString& tty = QStringLiteral("pts/3")) {
    SessionInfo session;
    session.sessionId = id;
    session.cwd = QStringLiteral("/home/ada/") + id;
    session.tty = tty;
    return session;
}

const QString a = QStringLiteral("a");
const QString b = QStringLiteral("b");

class ManagerSessionsTest : public ManagerFixture {
protected:
    void put(const QList<SessionInfo>& sessions) {
        for (const SessionInfo& session : sessions)
            registry.registerSession(session);
        show(sessionsTab);
    }
};

TEST_F(ManagerSessionsTest, SaysThatThereIsNone) {
    show(sessionsTab);
    EXPECT_TRUE(says(QStringLiteral("No live Claude Code sessions registered.")));
    EXPECT_TRUE(says(QStringLiteral("Sessions appear here when they start (SessionStart hook).")));
    registry.registerSession(session(a));
    settle();
    EXPECT_FALSE(says(QStringLiteral("No live Claude Code sessions registered.")));
}

TEST_F(ManagerSessionsTest, ShowsOneRowASessionInTheRegistrysOrder) {
    SessionInfo second = session(b, {});
    second.label = QStringLiteral("api");
    second.optIn = true;
    put({session(a), second});
    const QList<QQuickItem*> rows = visible("SessionRow");
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows[0]->property("sessionId"), a);
    for (const char* text : {"a", "pts/3", "api", "no tty", "Launched via wyrn", "Mute",
                             "Auto-decision for this session's permission requests"})
        EXPECT_TRUE(says(QString::fromUtf8(text))) << text;
    EXPECT_EQ(texts().count(QStringLiteral("Launched via wyrn")), 1);
    EXPECT_EQ(symbols().count(QStringLiteral("star.circle.fill")), 1);
}

TEST_F(ManagerSessionsTest, MutingASessionClearsItsRows) {
    AskEvent ask = permissionAsk(QStringLiteral("r"));
    ask.sessionId = a;
    store.upsert(ask);
    store.upsert(noticeAsk(a));
    store.upsert(noticeAsk(b));
    put({session(a)});
    click(QStringLiteral("Mute"));
    EXPECT_TRUE(registry.isMuted(a));
    ASSERT_EQ(store.asks().size(), 1);
    EXPECT_EQ(store.asks().first()->sessionId, b);
    EXPECT_TRUE(control(QStringLiteral("Mute"))->property("checked").toBool());
    store.upsert(noticeAsk(a));
    click(QStringLiteral("Mute"));
    EXPECT_FALSE(registry.isMuted(a));
    // Unmuting clears nothing.
    EXPECT_EQ(store.asks().size(), 2);
    EXPECT_FALSE(control(QStringLiteral("Mute"))->property("checked").toBool());
}

TEST_F(ManagerSessionsTest, JumpsToTheSession) {
    put({session(a), session(b)});
    click(QStringLiteral("Jump"), 1);
    ASSERT_EQ(jumps.size(), 1);
    EXPECT_EQ(jumps[0], session(b));
    // One that has just gone is no place to go to.
    registry.unregister(b);
    facade().jump(b);
    EXPECT_EQ(jumps.size(), 1);
}

TEST_F(ManagerSessionsTest, GivesASessionAPolicyOfItsOwn) {
    put({session(a)});
    EXPECT_EQ(facade().policyNames().join(u'|'), QStringLiteral("Default|Wait for me|Auto-allow|Auto-deny"));
    for (const auto& [name, policy] :
         {std::pair("Wait for me", AutoDecision::wait), std::pair("Auto-allow", AutoDecision::allow),
          std::pair("Auto-deny", AutoDecision::deny)}) {
        click(QString::fromLatin1(name));
        EXPECT_EQ(registry.policy(a), policy);
    }
    click(QStringLiteral("Default"));
    EXPECT_EQ(registry.policy(a), std::nullopt);
    EXPECT_FALSE(registry.policies().contains(a));
}

TEST_F(ManagerSessionsTest, ChoosesAPolicyByKeys) {
    put({session(a)});
    QQuickItem* const bar = control(QStringLiteral("Auto-decision for this session's permission requests"));
    ASSERT_NE(bar, nullptr);
    bar->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Right);
    EXPECT_EQ(registry.policy(a), AutoDecision::wait);
    // What approves everything is not chosen on the way.
    key(Qt::Key_Right);
    EXPECT_EQ(registry.policy(a), AutoDecision::wait);
    key(Qt::Key_Right);
    EXPECT_EQ(registry.policy(a), AutoDecision::deny);
    key(Qt::Key_Left);
    EXPECT_EQ(registry.policy(a), AutoDecision::deny);
    key(Qt::Key_Space);
    EXPECT_EQ(registry.policy(a), AutoDecision::allow);
    key(Qt::Key_Left);
    EXPECT_EQ(registry.policy(a), AutoDecision::wait);
    key(Qt::Key_Left);
    key(Qt::Key_Left);
    EXPECT_EQ(registry.policy(a), std::nullopt);
}

TEST_F(ManagerSessionsTest, ForgetsWhatWasOnlyPointedAt) {
    put({session(a)});
    registry.setPolicy(AutoDecision::wait, a);
    settle();
    QQuickItem* const bar = control(QStringLiteral("Auto-decision for this session's permission requests"));
    ASSERT_NE(bar, nullptr);
    bar->forceActiveFocus(Qt::TabFocusReason);
    key(Qt::Key_Right);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(bar)->text(QAccessible::Description),
              QStringLiteral("Auto-allow: Space chooses it"));
    key(Qt::Key_Tab);
    key(Qt::Key_Backtab);
    EXPECT_TRUE(bar->hasActiveFocus());
    EXPECT_EQ(QAccessible::queryAccessibleInterface(bar)->text(QAccessible::Description),
              QStringLiteral("Wait for me"));
    key(Qt::Key_Return);
    EXPECT_EQ(registry.policy(a), AutoDecision::wait);
}

TEST_F(ManagerSessionsTest, FollowsTheRegistry) {
    put({session(a), session(b)});
    QQuickItem* const second = visible("SessionRow").last();
    registry.unregister(a);
    registry.setPolicy(AutoDecision::deny, b);
    registry.setMuted(true, b);
    settle();
    ASSERT_EQ(visible("SessionRow").size(), 1);
    // The row itself stays.
    EXPECT_EQ(visible("SessionRow").first(), second);
    EXPECT_EQ(second->property("policyChoice"), 3);
    EXPECT_TRUE(second->property("isMuted").toBool());
}

TEST_F(ManagerSessionsTest, ShowsAThousandRowsWithAFewItems) {
    for (int i = 0; i < 1'000; ++i)
        registry.registerSession(session(QString::number(i)));
    show(sessionsTab);
    EXPECT_EQ(facade().sessions()->count(), 1'000);
    EXPECT_LT(itemsOfType(window().contentItem(), "SessionRow").size(), 30);
}

TEST(RecordListModel, EndsUpAsTheListWithFewSignals) {
    RecordListModel model({"recordId", "value"});
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    EXPECT_EQ(model.roleNames().value(Qt::UserRole + 1), "recordId");
    std::mt19937 random(5);
    const auto upTo = [&](int last) {
        return std::uniform_int_distribution<int>(0, last)(random);
    };
    for (int round = 0; round < 300; ++round) {
        QList<int> ids{0, 1, 2, 3, 4, 5, 6, 7};
        std::ranges::shuffle(ids, random);
        ids.resize(upTo(8));
        QList<RecordListModel::Record> wanted;
        for (const int id : ids)
            wanted.append({QString::number(id), {QString::number(id), upTo(2)}});
        model.sync(wanted);
        ASSERT_EQ(model.rowCount(), wanted.size());
        for (int row = 0; row < model.rowCount(); ++row) {
            EXPECT_EQ(model.data(model.index(row), Qt::UserRole + 1), wanted[row].values[0]);
            EXPECT_EQ(model.data(model.index(row), Qt::UserRole + 2), wanted[row].values[1]);
        }
        QSignalSpy moved(&model, &QAbstractItemModel::dataChanged);
        model.sync(wanted);
        EXPECT_EQ(moved.size(), 0);
    }
    // A second record of one identity has no place.
    model.sync({{QStringLiteral("x"), {1, 2}}, {QStringLiteral("x"), {3, 4}}});
    EXPECT_EQ(model.count(), 1);
    EXPECT_EQ(model.data(model.index(0), Qt::UserRole + 2), 2);
}

} // namespace
} // namespace pelorin
