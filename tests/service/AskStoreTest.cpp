#include "BeaconryKit/service/AskStore.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <vector>

namespace pelorin {
namespace {

AskEvent notice(const char* sessionId, const char* message = "") {
    return {.sessionId = sessionId, .message = message};
}

AskEvent permission(const char* sessionId, const char* requestId) {
    return {.sessionId = sessionId, .requestId = requestId};
}

QStringList ids(const SharedAsks& asks) {
    QStringList list;
    for (const SharedAsk& ask : asks)
        list << ask->id();
    return list;
}

class AskStoreTest : public ::testing::Test {
protected:
    AskStoreTest() {
        QObject::connect(&store, &AskStore::asksWillChange, [this](const SharedAsks& asks) {
            ++publications;
            published = ids(asks);
            storedAtPublication = ids(store.asks());
        });
        QObject::connect(&store, &AskStore::objectWillChange, [this] { ++objectNotices; });
    }

    AskStore store;
    int publications = 0;
    int objectNotices = 0;
    QStringList published;
    QStringList storedAtPublication;
};

TEST_F(AskStoreTest, ReplacesASessionsNoticeWhereItStands) {
    store.upsert(notice("a", "first"));
    store.upsert(notice("b"));
    store.upsert(notice("a", "second"));
    EXPECT_EQ(ids(store.asks()), QStringList({"a", "b"}));
    EXPECT_EQ(store.asks().first()->message, "second");
}

TEST_F(AskStoreTest, KeepsARowForEachPermissionRequestInArrivalOrder) {
    store.upsert(permission("s", "r1"));
    store.upsert(permission("s", "r2"));
    store.upsert(notice("s"));
    store.upsert(permission("s", "r1"));
    EXPECT_EQ(ids(store.asks()), QStringList({"r1", "r2", "s"}));
}

TEST_F(AskStoreTest, ClearsNoticesButKeepsPermissionRequests) {
    store.upsert(notice("s"));
    store.upsert(permission("s", "r"));
    store.upsert(notice("other"));
    store.clearNotifications("s");
    EXPECT_EQ(ids(store.asks()), QStringList({"r", "other"}));
}

TEST_F(AskStoreTest, ClearsEverythingOfASession) {
    store.upsert(permission("s", "r"));
    store.upsert(notice("other"));
    store.upsert(notice("s"));
    store.clear("s");
    EXPECT_EQ(ids(store.asks()), QStringList({"other"}));
}

TEST_F(AskStoreTest, RemovesByIdentityNotBySession) {
    store.upsert(permission("s", "r"));
    store.remove("s");
    EXPECT_EQ(ids(store.asks()), QStringList({"r"}));
    store.upsert(notice("s"));
    store.remove("s");
    EXPECT_EQ(ids(store.asks()), QStringList({"r"}));
    store.remove("r");
    EXPECT_TRUE(store.asks().isEmpty());
}

TEST_F(AskStoreTest, RemovesEveryRowOfAnIdentity) {
    // A request id may happen to equal a session id.
    store.upsert(notice("x"));
    store.upsert(notice("y"));
    store.upsert(permission("s", "x"));
    EXPECT_EQ(ids(store.asks()), QStringList({"x", "y"}));
    EXPECT_TRUE(store.asks().first()->isPermission());
    store.remove("x");
    EXPECT_EQ(ids(store.asks()), QStringList({"y"}));
}

TEST_F(AskStoreTest, PublishesTheNewListOncePerCallBeforeStoringIt) {
    store.upsert(notice("a"));
    EXPECT_EQ(published, QStringList({"a"}));
    EXPECT_TRUE(storedAtPublication.isEmpty());
    EXPECT_EQ(publications, 1);
    store.clear("unknown");
    EXPECT_EQ(publications, 2);
    store.clearNotifications("a");
    EXPECT_TRUE(published.isEmpty());
    EXPECT_EQ(storedAtPublication, QStringList({"a"}));
    store.remove("a");
    store.clear("a");
    EXPECT_EQ(publications, 5);
    EXPECT_EQ(objectNotices, 5);
}

TEST_F(AskStoreTest, KnowsARowByEveryField) {
    store.upsert(notice("a", "text"));
    EXPECT_TRUE(store.contains(notice("a", "text")));
    EXPECT_FALSE(store.contains(notice("a", "other")));
    EXPECT_FALSE(store.contains(notice("b", "text")));
}

TEST_F(AskStoreTest, FindsRowsByIdentityAndSession) {
    store.upsert(notice("a", "text"));
    store.upsert(permission("b", "r"));
    EXPECT_EQ(store.ask("a")->message, "text");
    EXPECT_EQ(store.ask("r")->sessionId, "b");
    EXPECT_EQ(store.ask("b"), nullptr);
    EXPECT_FALSE(store.hasPermission("a"));
    EXPECT_TRUE(store.hasPermission("b"));
    EXPECT_FALSE(store.hasPermission("c"));
    // The row changes hands.
    store.upsert(permission("a", "r"));
    EXPECT_TRUE(store.hasPermission("a"));
    EXPECT_FALSE(store.hasPermission("b"));
    store.clear("b");
    EXPECT_EQ(ids(store.asks()), QStringList({"a", "r"}));
    store.clear("a");
    EXPECT_EQ(store.ask("r"), nullptr);
    EXPECT_FALSE(store.hasPermission("a"));
}

/// The rows as one pass over a plain list leaves them.
class PlainStore {
public:
    void upsert(const AskEvent& ask) {
        const auto same = std::ranges::find(m_asks, ask.id(), &AskEvent::id);
        if (same != m_asks.end())
            *same = ask;
        else
            m_asks.push_back(ask);
    }
    void remove(const QString& id) {
        std::erase_if(m_asks, [&](const AskEvent& ask) { return ask.id() == id; });
    }
    void clear(const QString& sessionId) {
        std::erase_if(m_asks, [&](const AskEvent& ask) { return ask.sessionId == sessionId; });
    }
    void clearNotifications(const QString& sessionId) {
        std::erase_if(m_asks,
                      [&](const AskEvent& ask) { return ask.sessionId == sessionId && ask.requestId.isEmpty(); });
    }
    bool equals(const SharedAsks& asks) const {
        return std::ranges::equal(m_asks, asks, {}, {}, [](const SharedAsk& ask) { return *ask; });
    }

private:
    std::vector<AskEvent> m_asks;
};

TEST_F(AskStoreTest, AgreesWithAPlainListWhateverIsDone) {
    PlainStore plain;
    std::mt19937 random(7);
    const auto pick = [&](int count) {
        return std::uniform_int_distribution(0, count - 1)(random);
    };
    // Few names for both, so that request ids equal session ids too.
    const auto name = [&] {
        return QString::number(pick(12));
    };
    QList<SharedAsks> taken;
    for (int step = 0; step < 20'000; ++step) {
        const QString session = name();
        const AskEvent ask{
            .sessionId = session, .message = QString::number(step), .requestId = pick(3) == 0 ? QString() : name()};
        switch (pick(8)) {
        case 0:
            store.remove(session);
            plain.remove(session);
            break;
        case 1:
            store.clear(session);
            plain.clear(session);
            break;
        case 2:
            store.clearNotifications(session);
            plain.clearNotifications(session);
            break;
        default:
            store.upsert(ask);
            plain.upsert(ask);
        }
        ASSERT_TRUE(plain.equals(store.asks())) << step;
        ASSERT_EQ(published, ids(store.asks())) << step;
        for (const SharedAsk& row : store.asks()) {
            ASSERT_EQ(store.ask(row->id()), row) << step;
            ASSERT_TRUE(store.contains(*row)) << step;
        }
        // Somebody keeps a list now and then.
        if (pick(5) == 0)
            taken = {store.asks()};
    }
}

TEST_F(AskStoreTest, StopsTheProgramWhenASubscriberChangesIt) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    QObject::connect(&store, &AskStore::objectWillChange, [this] { store.remove("a"); });
    EXPECT_DEATH(store.upsert(notice("a")), "Programming error: the asks change");
}

TEST_F(AskStoreTest, ListsThatWereTakenDoNotChange) {
    store.upsert(notice("a"));
    const SharedAsks taken = store.asks();
    store.upsert(notice("b"));
    EXPECT_EQ(ids(taken), QStringList({"a"}));
}

} // namespace
} // namespace pelorin
