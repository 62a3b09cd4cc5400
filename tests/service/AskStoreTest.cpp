#include "BeaconryKit/service/AskStore.h"

#include <gmock/gmock.h>

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

TEST_F(AskStoreTest, ListsThatWereTakenDoNotChange) {
    store.upsert(notice("a"));
    const SharedAsks taken = store.asks();
    store.upsert(notice("b"));
    EXPECT_EQ(ids(taken), QStringList({"a"}));
}

} // namespace
} // namespace pelorin
