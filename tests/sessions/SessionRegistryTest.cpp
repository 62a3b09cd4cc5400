#include "BeaconryKit/sessions/SessionRegistry.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

/// Writes down every announcement with the number of entries that it brings and that were there before.
class Announcements {
public:
    explicit Announcements(SessionRegistry& registry) {
        QObject::connect(&registry, &SessionRegistry::sessionsWillChange, [&](const QList<SessionInfo>& sessions) {
            note("sessions", registry.sessions().size(), sessions.size());
        });
        QObject::connect(&registry, &SessionRegistry::mutedIdsWillChange,
                         [&](const QSet<QString>& ids) { note("muted", registry.mutedIds().size(), ids.size()); });
        QObject::connect(&registry, &SessionRegistry::policiesWillChange,
                         [&](const QHash<QString, AutoDecision>& policies) {
                             note("policies", registry.policies().size(), policies.size());
                         });
        QObject::connect(&registry, &SessionRegistry::trackOnlyOptInWillChange,
                         [&](bool value) { note("trackOnly", registry.trackOnlyOptIn(), value); });
        QObject::connect(&registry, &SessionRegistry::objectWillChange, [&] { m_log << "object"; });
    }

    QStringList take() { return std::exchange(m_log, {}); }

private:
    void note(const char* name, qsizetype before, qsizetype after) {
        m_log << QStringLiteral("%1 %2>%3").arg(name).arg(before).arg(after);
    }

    QStringList m_log;
};

AskEvent askOf(const char* sessionId) {
    return {.sessionId = sessionId};
}

TEST(SessionRegistry, StartsEmpty) {
    const SessionRegistry registry;
    EXPECT_TRUE(registry.sessions().isEmpty());
    EXPECT_TRUE(registry.mutedIds().isEmpty());
    EXPECT_TRUE(registry.policies().isEmpty());
    EXPECT_FALSE(registry.trackOnlyOptIn());
    EXPECT_EQ(registry.session("s"), std::nullopt);
}

TEST(SessionRegistry, KeepsTheOrderOfFirstRegistration) {
    SessionRegistry registry;
    Announcements announcements(registry);
    registry.registerSession({.sessionId = "A"});
    registry.registerSession({.sessionId = "B"});
    registry.registerSession({.sessionId = "A", .label = "new", .optIn = true});
    const QList<SessionInfo> expected{{.sessionId = "A", .label = "new", .optIn = true}, {.sessionId = "B"}};
    EXPECT_EQ(registry.sessions(), expected);
    EXPECT_EQ(registry.session("A")->label, "new");
    EXPECT_EQ(announcements.take(),
              QStringList({"sessions 0>1", "object", "sessions 1>2", "object", "sessions 2>2", "object"}));
}

TEST(SessionRegistry, ForgetsSessionMuteAndPolicyInThreeChanges) {
    SessionRegistry registry;
    registry.registerSession({.sessionId = "A"});
    registry.registerSession({.sessionId = "B"});
    registry.setMuted(true, "A");
    registry.setPolicy(AutoDecision::deny, "A");
    Announcements announcements(registry);
    registry.unregister(registry.sessions().first().sessionId);
    EXPECT_EQ(registry.sessions(), QList<SessionInfo>{{.sessionId = "B"}});
    EXPECT_FALSE(registry.isMuted("A"));
    EXPECT_EQ(registry.policy("A"), std::nullopt);
    EXPECT_EQ(announcements.take(),
              QStringList({"sessions 2>1", "object", "muted 1>0", "object", "policies 1>0", "object"}));

    registry.unregister("unknown");
    EXPECT_EQ(announcements.take(),
              QStringList({"sessions 1>1", "object", "muted 0>0", "object", "policies 0>0", "object"}));

    registry.setMuted(true, "A");
    EXPECT_TRUE(registry.isMuted("A"));
}

TEST(SessionRegistry, AnnouncesAMuteEvenWhenNothingChanges) {
    SessionRegistry registry;
    Announcements announcements(registry);
    registry.setMuted(true, "A");
    registry.setMuted(true, "A");
    registry.setMuted(false, "A");
    registry.setMuted(false, "A");
    EXPECT_EQ(announcements.take(), QStringList({"muted 0>1", "object", "muted 1>1", "object", "muted 1>0", "object",
                                                 "muted 0>0", "object"}));
}

TEST(SessionRegistry, PrefersTheSessionsOwnPolicy) {
    SessionRegistry registry;
    EXPECT_EQ(registry.effectivePolicy("A", AutoDecision::allow), AutoDecision::allow);
    registry.setPolicy(AutoDecision::wait, "A");
    EXPECT_EQ(registry.policy("A"), AutoDecision::wait);
    EXPECT_EQ(registry.effectivePolicy("A", AutoDecision::allow), AutoDecision::wait);
    EXPECT_EQ(registry.effectivePolicy("B", AutoDecision::deny), AutoDecision::deny);
    registry.setPolicy(std::nullopt, "A");
    EXPECT_EQ(registry.policy("A"), std::nullopt);
    EXPECT_EQ(registry.effectivePolicy("A", AutoDecision::allow), AutoDecision::allow);
    EXPECT_TRUE(registry.policies().isEmpty());
}

TEST(SessionRegistry, ShowsEveryUnmutedAskWhenItTracksAllSessions) {
    SessionRegistry registry;
    registry.registerSession({.sessionId = "A"});
    EXPECT_TRUE(registry.shouldShow(askOf("A")));
    EXPECT_TRUE(registry.shouldShow(askOf("unregistered")));
    registry.setMuted(true, "A");
    EXPECT_FALSE(registry.shouldShow(askOf("A")));
}

TEST(SessionRegistry, ShowsOnlyOptedInSessionsWhenItTracksThoseAlone) {
    SessionRegistry registry;
    Announcements announcements(registry);
    registry.setTrackOnlyOptIn(true);
    EXPECT_EQ(announcements.take(), QStringList({"trackOnly 0>1", "object"}));
    registry.registerSession({.sessionId = "plain"});
    registry.registerSession({.sessionId = "wyrn", .optIn = true});
    EXPECT_FALSE(registry.shouldShow(askOf("unregistered")));
    EXPECT_FALSE(registry.shouldShow(askOf("plain")));
    EXPECT_TRUE(registry.shouldShow(askOf("wyrn")));
    registry.setMuted(true, "wyrn");
    EXPECT_FALSE(registry.shouldShow(askOf("wyrn")));
}

} // namespace
} // namespace pelorin
