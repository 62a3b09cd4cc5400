#include "BeaconryKit/sessions/NotifierSettings.h"

#include "tests/support/MemoryUserDefaults.h"
#include "tests/support/TemporaryDirectory.h"

#include "BeaconryKit/platform/FileUserDefaults.h"

#include <QJsonObject>
#include <QLocale>
#include <QVariant>
#include <gmock/gmock.h>

#include <sys/stat.h>
#include <vector>

namespace pelorin {
namespace {

using ::testing::ElementsAre;

TEST(NotifierSettings, HasTheDefaultsOfAnEmptyDatabaseAndWritesNothing) {
    MemoryUserDefaults defaults;
    const NotifierSettings settings(defaults);
    EXPECT_EQ(settings.decisionWaitSeconds(), 45);
    EXPECT_EQ(settings.notificationAutoDismissSeconds(), 0);
    EXPECT_EQ(settings.defaultPolicy(), AutoDecision::wait);
    EXPECT_FALSE(settings.trackOnlyOptIn());
    EXPECT_FALSE(settings.showPlainNotifications());
    EXPECT_FALSE(settings.silentMode());
    EXPECT_EQ(settings.askKeywords(), "permission, approval, do you want, proceed");
    EXPECT_EQ(settings.injectionAllowlistRaw(), "iTerm.app");
    EXPECT_EQ(settings.relayURL(), "https://relay.pelorin.example");
    EXPECT_EQ(settings.relayToken(), "");
    EXPECT_FALSE(settings.phoneTerminalEnabled());
    EXPECT_FALSE(settings.relayConfigured());
    EXPECT_EQ(defaults.writes, 0);
}

TEST(NotifierSettings, LoadsWhatIsStored) {
    MemoryUserDefaults defaults(QJsonObject{{"decisionWaitSeconds", 60},
                                            {"notificationAutoDismissSeconds", -3},
                                            {"defaultPolicy", "deny"},
                                            {"trackOnlyOptIn", true},
                                            {"showPlainNotifications", true},
                                            {"silentMode", true},
                                            {"askKeywords", ""},
                                            {"injectionAllowlist", "kitty"},
                                            {"relayURL", ""},
                                            {"relayToken", "t"},
                                            {"phoneTerminalEnabled", true}});
    const NotifierSettings settings(defaults);
    EXPECT_EQ(settings.decisionWaitSeconds(), 60);
    EXPECT_EQ(settings.notificationAutoDismissSeconds(), -3);
    EXPECT_EQ(settings.defaultPolicy(), AutoDecision::deny);
    EXPECT_TRUE(settings.trackOnlyOptIn());
    EXPECT_TRUE(settings.showPlainNotifications());
    EXPECT_TRUE(settings.silentMode());
    EXPECT_EQ(settings.askKeywords(), "");
    EXPECT_EQ(settings.injectionAllowlistRaw(), "kitty");
    EXPECT_EQ(settings.relayURL(), "");
    EXPECT_EQ(settings.relayToken(), "t");
    EXPECT_TRUE(settings.phoneTerminalEnabled());
    EXPECT_EQ(defaults.writes, 0);
}

TEST(NotifierSettings, LoadsEachSwitchFromItsOwnKey) {
    const std::pair<const char*, bool (NotifierSettings::*)() const> switches[] = {
        {"trackOnlyOptIn", &NotifierSettings::trackOnlyOptIn},
        {"showPlainNotifications", &NotifierSettings::showPlainNotifications},
        {"silentMode", &NotifierSettings::silentMode},
        {"phoneTerminalEnabled", &NotifierSettings::phoneTerminalEnabled},
    };
    for (const auto& [key, ignored] : switches) {
        MemoryUserDefaults defaults(QJsonObject{{key, true}});
        const NotifierSettings settings(defaults);
        for (const auto& [name, isOn] : switches)
            EXPECT_EQ((settings.*isOn)(), qstrcmp(name, key) == 0) << name << " of " << key;
    }
}

TEST(NotifierSettings, TreatsAValueOfAnotherTypeAsMissing) {
    MemoryUserDefaults defaults(QJsonObject{{"decisionWaitSeconds", "60"},
                                            {"notificationAutoDismissSeconds", true},
                                            {"defaultPolicy", 1},
                                            {"silentMode", 1},
                                            {"trackOnlyOptIn", "true"},
                                            {"askKeywords", 4},
                                            {"relayURL", QJsonValue::Null}});
    const NotifierSettings settings(defaults);
    EXPECT_EQ(settings.decisionWaitSeconds(), 45);
    EXPECT_EQ(settings.notificationAutoDismissSeconds(), 0);
    EXPECT_EQ(settings.defaultPolicy(), AutoDecision::wait);
    EXPECT_FALSE(settings.silentMode());
    EXPECT_FALSE(settings.trackOnlyOptIn());
    EXPECT_EQ(settings.askKeywords(), "permission, approval, do you want, proceed");
    EXPECT_EQ(settings.relayURL(), "https://relay.pelorin.example");
    EXPECT_EQ(defaults.writes, 0);
}

TEST(NotifierSettings, KnowsOnlyTheExactPolicyWords) {
    MemoryUserDefaults defaults(QJsonObject{{"defaultPolicy", "Allow"}});
    EXPECT_EQ(NotifierSettings(defaults).defaultPolicy(), AutoDecision::wait);
}

TEST(NotifierSettings, BoundsTheDecisionWaitOnLoading) {
    const std::pair<double, qint64> rows[] = {{2, 5},     {5, 5},      {580, 580}, {900, 580},
                                              {-1e15, 5}, {1e15, 580}, {45.5, 45}};
    for (const auto& [stored, loaded] : rows) {
        MemoryUserDefaults defaults(QJsonObject{{"decisionWaitSeconds", stored}});
        EXPECT_EQ(NotifierSettings(defaults).decisionWaitSeconds(), loaded) << stored;
        EXPECT_EQ(defaults.writes, 0);
    }
}

TEST(NotifierSettings, AnnouncesAValueOutOfBoundsAndThenTheBoundedOneButStoresOnlyTheLatter) {
    MemoryUserDefaults defaults;
    NotifierSettings settings(defaults);
    std::vector<qint64> announced;
    std::vector<qint64> stored;
    QObject::connect(&settings, &NotifierSettings::decisionWaitSecondsWillChange, [&](qint64 seconds) {
        announced.push_back(seconds);
        stored.push_back(defaults.values.value("decisionWaitSeconds").toInteger(-1));
    });
    settings.setDecisionWaitSeconds(1000);
    EXPECT_THAT(announced, ElementsAre(1000, 580));
    EXPECT_THAT(stored, ElementsAre(-1, -1));
    EXPECT_EQ(settings.decisionWaitSeconds(), 580);
    EXPECT_EQ(defaults.values.value("decisionWaitSeconds"), QJsonValue(580));
    EXPECT_EQ(defaults.writes, 1);
    settings.setDecisionWaitSeconds(4);
    EXPECT_EQ(settings.decisionWaitSeconds(), 5);
    settings.setDecisionWaitSeconds(77);
    EXPECT_THAT(announced, ElementsAre(1000, 580, 4, 5, 77));
    EXPECT_EQ(defaults.writes, 3);
}

TEST(NotifierSettings, StoresEveryChangeAtOnceUnderItsKeyAndType) {
    MemoryUserDefaults defaults;
    NotifierSettings settings(defaults);
    int changes = 0;
    QObject::connect(&settings, &NotifierSettings::objectWillChange, [&] { ++changes; });

    const auto expectStored = [&](const char* key, const QJsonValue& value) {
        EXPECT_EQ(defaults.values.value(key), value) << key;
        EXPECT_EQ(defaults.writes, changes) << key;
    };
    settings.setPhoneTerminalEnabled(true);
    expectStored("phoneTerminalEnabled", true);
    settings.setRelayURL("https://x");
    expectStored("relayURL", "https://x");
    settings.setRelayToken("t");
    expectStored("relayToken", "t");
    settings.setInjectionAllowlistRaw("a,b");
    expectStored("injectionAllowlist", "a,b");
    settings.setDecisionWaitSeconds(50);
    expectStored("decisionWaitSeconds", 50);
    settings.setNotificationAutoDismissSeconds(-9);
    expectStored("notificationAutoDismissSeconds", -9);
    settings.setDefaultPolicy(AutoDecision::allow);
    expectStored("defaultPolicy", "allow");
    settings.setTrackOnlyOptIn(true);
    expectStored("trackOnlyOptIn", true);
    settings.setShowPlainNotifications(true);
    expectStored("showPlainNotifications", true);
    settings.setSilentMode(true);
    expectStored("silentMode", true);
    settings.setAskKeywords("k");
    expectStored("askKeywords", "k");
    EXPECT_EQ(defaults.values.size(), 11);
    EXPECT_EQ(changes, 11);
    // The same value again is a change as any other.
    settings.setSilentMode(true);
    EXPECT_EQ(changes, 12);

    const NotifierSettings reloaded(defaults);
    EXPECT_EQ(reloaded.defaultPolicy(), AutoDecision::allow);
    EXPECT_EQ(reloaded.injectionAllowlistRaw(), "a,b");
    EXPECT_EQ(reloaded.notificationAutoDismissSeconds(), -9);
}

TEST(NotifierSettings, AnnouncesEachPropertyWithItsNewValueBeforeItIsStored) {
    MemoryUserDefaults defaults;
    NotifierSettings settings(defaults);
    QStringList log;
    QObject::connect(&settings, &NotifierSettings::relayTokenWillChange,
                     [&](const QString& token) { log << "token " + token + " was " + settings.relayToken(); });
    QObject::connect(&settings, &NotifierSettings::silentModeWillChange, [&](bool silent) {
        log << QStringLiteral("silent %1 was %2").arg(silent).arg(settings.silentMode());
    });
    QObject::connect(&settings, &NotifierSettings::defaultPolicyWillChange, [&](AutoDecision policy) {
        log << "policy " + rawValue(policy) + " was " + rawValue(settings.defaultPolicy());
    });
    QObject::connect(&settings, &NotifierSettings::objectWillChange, [&] { log << "object"; });
    settings.setRelayToken("t");
    settings.setSilentMode(true);
    settings.setDefaultPolicy(AutoDecision::deny);
    EXPECT_EQ(log,
              QStringList({"token t was ", "object", "silent 1 was 0", "object", "policy deny was wait", "object"}));
}

TEST(NotifierSettings, AnnouncesEachPropertyUnderItsOwnName) {
    MemoryUserDefaults defaults;
    NotifierSettings settings(defaults);
    QStringList log;
    const auto note = [&](const char* name) {
        return [&log, name](const auto& value) {
            log << QString("%1 %2").arg(name, QVariant::fromValue(value).toString());
        };
    };
    using Self = NotifierSettings;
    QObject::connect(&settings, &Self::phoneTerminalEnabledWillChange, note("phone terminal"));
    QObject::connect(&settings, &Self::relayURLWillChange, note("address"));
    QObject::connect(&settings, &Self::relayTokenWillChange, note("token"));
    QObject::connect(&settings, &Self::injectionAllowlistRawWillChange, note("allowlist"));
    QObject::connect(&settings, &Self::decisionWaitSecondsWillChange, note("wait"));
    QObject::connect(&settings, &Self::notificationAutoDismissSecondsWillChange, note("dismiss"));
    QObject::connect(&settings, &Self::defaultPolicyWillChange,
                     [&](AutoDecision policy) { log << "policy " + rawValue(policy); });
    QObject::connect(&settings, &Self::trackOnlyOptInWillChange, note("track only"));
    QObject::connect(&settings, &Self::showPlainNotificationsWillChange, note("plain"));
    QObject::connect(&settings, &Self::silentModeWillChange, note("silent"));
    QObject::connect(&settings, &Self::askKeywordsWillChange, note("keywords"));
    const auto announced = [&] {
        return std::exchange(log, {});
    };
    settings.setPhoneTerminalEnabled(true);
    EXPECT_EQ(announced(), QStringList("phone terminal true"));
    settings.setRelayURL("https://x");
    EXPECT_EQ(announced(), QStringList("address https://x"));
    settings.setRelayToken("t");
    EXPECT_EQ(announced(), QStringList("token t"));
    settings.setInjectionAllowlistRaw("a,b");
    EXPECT_EQ(announced(), QStringList("allowlist a,b"));
    settings.setDecisionWaitSeconds(50);
    EXPECT_EQ(announced(), QStringList("wait 50"));
    settings.setNotificationAutoDismissSeconds(9);
    EXPECT_EQ(announced(), QStringList("dismiss 9"));
    settings.setDefaultPolicy(AutoDecision::allow);
    EXPECT_EQ(announced(), QStringList("policy allow"));
    settings.setTrackOnlyOptIn(true);
    EXPECT_EQ(announced(), QStringList("track only true"));
    settings.setShowPlainNotifications(true);
    EXPECT_EQ(announced(), QStringList("plain true"));
    settings.setSilentMode(true);
    EXPECT_EQ(announced(), QStringList("silent true"));
    settings.setAskKeywords("k");
    EXPECT_EQ(announced(), QStringList("keywords k"));
}

TEST(NotifierSettings, AnnouncesAValueThatIsStoredAlreadyButLeavesTheFileAlone) {
    const TemporaryDirectory folder;
    const std::string path = folder.path() / "defaults.json";
    FileUserDefaults defaults(QString::fromStdString(path));
    NotifierSettings settings(defaults);
    settings.setDefaultPolicy(AutoDecision::deny);
    settings.setDecisionWaitSeconds(60);
    struct stat before {};
    ASSERT_EQ(stat(path.c_str(), &before), 0);
    QStringList log;
    QObject::connect(&settings, &NotifierSettings::defaultPolicyWillChange,
                     [&](AutoDecision policy) { log << rawValue(policy); });
    QObject::connect(&settings, &NotifierSettings::decisionWaitSecondsWillChange,
                     [&](qint64 seconds) { log << QString::number(seconds); });
    QObject::connect(&settings, &NotifierSettings::objectWillChange, [&] { log << "object"; });
    settings.setDefaultPolicy(AutoDecision::deny);
    settings.setDecisionWaitSeconds(60);
    EXPECT_EQ(log, QStringList({"deny", "object", "60", "object"}));
    struct stat after {};
    ASSERT_EQ(stat(path.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    settings.setDecisionWaitSeconds(61);
    ASSERT_EQ(stat(path.c_str(), &after), 0);
    EXPECT_NE(after.st_ino, before.st_ino);
}

TEST(NotifierSettings, SplitsTheAllowlistAtCommasAndTrimsBlanksButNotLineEnds) {
    MemoryUserDefaults defaults;
    NotifierSettings settings(defaults);
    settings.setInjectionAllowlistRaw(" iTerm.app , ,\tTerminal.app\t,,");
    EXPECT_EQ(settings.injectionAllowlist(), QSet<QString>({"iTerm.app", "Terminal.app"}));
    settings.setInjectionAllowlistRaw("a,a, A ,b\n");
    EXPECT_EQ(settings.injectionAllowlist(), QSet<QString>({"a", "A", "b\n"}));
    settings.setInjectionAllowlistRaw("");
    EXPECT_TRUE(settings.injectionAllowlist().isEmpty());
}

TEST(NotifierSettings, CountsTheRelayAsConfiguredWithAnAddressAndAToken) {
    MemoryUserDefaults defaults;
    NotifierSettings settings(defaults);
    settings.setRelayToken(" t ");
    EXPECT_TRUE(settings.relayConfigured());
    settings.setRelayURL(" \t ");
    EXPECT_FALSE(settings.relayConfigured());
    settings.setRelayURL("x");
    settings.setRelayToken("\t");
    EXPECT_FALSE(settings.relayConfigured());
    settings.setRelayToken("\n");
    EXPECT_TRUE(settings.relayConfigured());
}

class AskKeywords : public ::testing::Test {
protected:
    ~AskKeywords() override { QLocale::setDefault(m_before); }

    bool matches(const QString& keywords, const QString& text) {
        m_settings.setAskKeywords(keywords);
        return m_settings.matchesAskKeywords(text);
    }

private:
    QLocale m_before;
    MemoryUserDefaults m_defaults;
    NotifierSettings m_settings{m_defaults};
};

TEST_F(AskKeywords, MatchWithoutRegardToCase) {
    const QString standard = "permission, approval, do you want, proceed";
    EXPECT_TRUE(matches(standard, "So DO YOU WANT it?"));
    EXPECT_FALSE(matches(standard, "nothing of the kind"));
    EXPECT_TRUE(matches("ÄRGER", "kein ärger"));
    EXPECT_TRUE(matches("ΟΔΟΣ", "οδος"));
}

TEST_F(AskKeywords, NeverMatchWhenThereAreNone) {
    EXPECT_FALSE(matches("", "permission"));
    EXPECT_FALSE(matches(" ,\t, ,", " , \t"));
}

TEST_F(AskKeywords, FollowTheLocalesRulesForCase) {
    QLocale::setDefault(QLocale("en_US"));
    EXPECT_TRUE(matches("permission", "PERMISSION"));
    QLocale::setDefault(QLocale("tr_TR"));
    EXPECT_TRUE(matches("izin", "İZİN GEREKLİ"));
    EXPECT_TRUE(matches("kırmızı", "KIRMIZI"));
    // The capital of a Turkish i has a dot.
    EXPECT_FALSE(matches("permission", "PERMISSION"));
}

} // namespace
} // namespace pelorin
