#include "tests/support/Eventually.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MemoryUserDefaults.h"
#include "tests/support/tray/StatusNotifierHost.h"
#include "tests/support/tray/TestBus.h"

#include "BeaconryKit/interface/status/StatusMenu.h"
#include "BeaconryKit/interface/status/linux/StatusNotifierItem.h"
#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/sessions/NotifierSettings.h"
#include "BeaconryKit/sessions/SessionRegistry.h"

#include <QDBusConnectionInterface>
#include <QtEndian>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

using ::testing::ElementsAre;
using Role = StatusNotifierHost::Role;

SessionInfo session(const char* id, const char* label, const char* tty = "pts/1") {
    return {.sessionId = id, .tty = tty, .label = label};
}

QString line(const ShownMenuItem& item) {
    if (item.properties.value("type") == "separator")
        return QStringLiteral("-");
    QString text = item.properties.value("enabled", true).toBool() ? item.label() : "(" + item.label() + ")";
    if (item.properties.value("toggle-type") == "checkmark")
        text.prepend(item.properties.value("toggle-state") == 1 ? "[x] " : "[ ] ");
    return text;
}

QStringList lines(const ShownMenuItem& menu) {
    QStringList all;
    for (const ShownMenuItem& item : menu.children) {
        all << line(item);
        for (const QString& below : lines(item))
            all << "> " + below;
    }
    return all;
}

int idOf(const ShownMenuItem& menu, const QString& label) {
    for (const ShownMenuItem& item : menu.children) {
        if (item.label() == label)
            return item.id;
        if (const int below = idOf(item, label); below > 0)
            return below;
    }
    return 0;
}

/// The status menu as the application has it, on a bus.
class OnTheBus : public ::testing::Test {
protected:
    OnTheBus() : settings(defaults) {
        auto made = std::make_unique<StatusNotifierItem>(bus.connect());
        item = made.get();
        menu.emplace(store, registry, settings, std::move(made),
                     StatusMenu::Callbacks{
                         .openManager = [this] { done << "open"; },
                         .jumpToSession = [this](const SessionInfo& target) { done << "jump " + target.sessionId; },
                         .quit =
                             [this] {
                                 done << "quit";
                             }});
        // As the delegate does when a setting has changed.
        QObject::connect(
            &settings, &NotifierSettings::objectWillChange, &*menu, [this] { menu->rebuildMenu(); },
            Qt::QueuedConnection);
    }

    void startHost(Role role = Role::watcherAndHost) { host.emplace(bus.connect(), role); }
    void startHostAndWait() {
        startHost();
        ASSERT_TRUE(eventually([this] { return !host->items().isEmpty(); }));
    }
    /// Clicks on the item of that label and waits until it has had its effect.
    template <class Condition>
    ::testing::AssertionResult click(const QString& label, Condition effect) {
        const int id = idOf(host->menu(), label);
        if (id == 0)
            return ::testing::AssertionFailure() << "There is no item " << label.toStdString();
        const QDBusMessage reply = host->click(id);
        if (reply.type() != QDBusMessage::ReplyMessage)
            return ::testing::AssertionFailure() << reply.errorMessage().toStdString();
        if (!eventually(effect))
            return ::testing::AssertionFailure() << "It has no effect.";
        return ::testing::AssertionSuccess();
    }
    bool hears(const QString& signal) {
        return eventually([&] {
            heard << host->takeSignals();
            return heard.contains(signal);
        });
    }

    TestBus bus;
    MemoryUserDefaults defaults;
    AskStore store;
    SessionRegistry registry;
    NotifierSettings settings;
    QStringList done;
    StatusNotifierItem* item = nullptr;
    std::optional<StatusMenu> menu;
    std::optional<StatusNotifierHost> host;
    QStringList heard;
};

TEST_F(OnTheBus, AppearsInADesktopThatStartsLater) {
    EXPECT_FALSE(item->isShown());
    startHost();
    EXPECT_TRUE(eventually([&] { return item->isShown(); }));
    EXPECT_EQ(host->items(),
              QStringList(QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(QCoreApplication::applicationPid())));
}

TEST_F(OnTheBus, AppearsInADesktopThatIsThereAlready) {
    host.emplace(bus.connect());
    StatusNotifierItem another(bus.connect());
    EXPECT_TRUE(eventually([&] { return another.isShown() && host->items().size() == 2; }));
}

TEST_F(OnTheBus, AppearsAgainInADesktopThatRestarts) {
    startHostAndWait();
    host.reset();
    EXPECT_TRUE(eventually([&] { return !item->isShown(); }));
    registry.registerSession(session("s", "api"));
    startHostAndWait();
    EXPECT_TRUE(eventually([&] { return item->isShown(); }));
    EXPECT_EQ(host->items().size(), 1);
    EXPECT_NE(idOf(host->menu(), "api \u2014 pts/1"), 0);
}

TEST_F(OnTheBus, IsNotShownByAWatcherAlone) {
    startHost(Role::watcher);
    ASSERT_TRUE(eventually([&] { return !host->items().isEmpty(); }));
    EXPECT_FALSE(item->isShown());
    host->setRole(Role::watcherAndHost);
    EXPECT_TRUE(eventually([&] { return item->isShown(); }));
    host->setRole(Role::watcher);
    EXPECT_TRUE(eventually([&] { return !item->isShown(); }));
}

TEST_F(OnTheBus, LeavesTheBusWhenItEnds) {
    startHostAndWait();
    const QString name = host->items().first();
    auto connection = bus.connect();
    EXPECT_TRUE(connection.interface()->isServiceRegistered(name));
    menu.reset();
    EXPECT_FALSE(connection.interface()->isServiceRegistered(name));
    EXPECT_EQ(host->callItem("Activate", {0, 0}).type(), QDBusMessage::ErrorMessage);
}

TEST_F(OnTheBus, SaysWhatItIs) {
    startHostAndWait();
    const QVariantMap properties = host->itemProperties();
    EXPECT_EQ(properties.value("Category"), "ApplicationStatus");
    EXPECT_EQ(properties.value("Id"), "pelorin");
    EXPECT_EQ(properties.value("Status"), "Active");
    EXPECT_EQ(properties.value("Title"), "Pelorin");
    EXPECT_EQ(properties.value("IconAccessibleDesc"), "Pelorin");
    EXPECT_EQ(properties.value("IconName"), "");
    EXPECT_EQ(properties.value("XAyatanaLabel"), "");
    EXPECT_EQ(properties.value("WindowId"), 0);
    EXPECT_EQ(properties.value("ItemIsMenu"), true);
    EXPECT_EQ(properties.value("ToolTip").value<QDBusArgument>().currentSignature(), "(sa(iiay)ss)");
    EXPECT_EQ(qdbus_cast<StatusToolTip>(properties.value("ToolTip")).title, "Pelorin");
    EXPECT_EQ(properties.value("IconPixmap").value<QDBusArgument>().currentSignature(), "a(iiay)");
}

TEST_F(OnTheBus, ShowsItsPictureInSeveralSizes) {
    startHostAndWait();
    const auto pixmaps = qdbus_cast<StatusPixmaps>(host->itemProperties().value("IconPixmap"));
    std::vector<int> sizes;
    for (const StatusPixmap& pixmap : pixmaps) {
        sizes.push_back(pixmap.width);
        EXPECT_EQ(pixmap.height, pixmap.width);
        const QImage image = statusImage("bell", pixmap.width);
        ASSERT_EQ(pixmap.bytes.size(), image.width() * image.height() * 4);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const qsizetype at = (y * image.width() + x) * qsizetype{4};
                ASSERT_EQ(qFromBigEndian<QRgb>(pixmap.bytes.constData() + at), image.pixel(x, y));
            }
        }
    }
    EXPECT_THAT(sizes, ElementsAre(16, 22, 24, 32, 48, 64));
}

TEST_F(OnTheBus, TellsInItsTipThatEverythingIsAllowed) {
    startHostAndWait();
    settings.setDefaultPolicy(AutoDecision::allow);
    menu->rebuildMenu();
    EXPECT_TRUE(hears("NewToolTip"));
    EXPECT_FALSE(heard.contains("NewTitle"));
    const auto tip = qdbus_cast<StatusToolTip>(host->itemProperties().value("ToolTip"));
    EXPECT_EQ(tip.title, "Pelorin");
    EXPECT_EQ(tip.description, "Auto-allow is on: every permission request is approved without asking.");
}

TEST_F(OnTheBus, AnnouncesIconAndCountAsAsksComeAndGo) {
    startHostAndWait();
    store.upsert({.sessionId = "s", .requestId = "r"});
    EXPECT_TRUE(hears("XAyatanaNewLabel( 1, )"));
    EXPECT_THAT(heard, ElementsAre("NewIcon", "NewTitle", "NewToolTip", "XAyatanaNewLabel( 1, )"));
    QVariantMap properties = host->itemProperties();
    EXPECT_EQ(properties.value("XAyatanaLabel"), " 1");
    EXPECT_EQ(properties.value("Title"), "Pelorin 1");
    EXPECT_EQ(qdbus_cast<StatusToolTip>(properties.value("ToolTip")).title, "Pelorin 1");
    EXPECT_EQ(qdbus_cast<StatusPixmaps>(properties.value("IconPixmap")), statusPixmaps("bell.badge.fill"));

    heard.clear();
    store.upsert({.sessionId = "s", .requestId = "r2"});
    EXPECT_TRUE(hears("XAyatanaNewLabel( 2, )"));
    // The picture is the same.
    EXPECT_THAT(heard, ElementsAre("NewTitle", "NewToolTip", "XAyatanaNewLabel( 2, )"));

    heard.clear();
    settings.setSilentMode(true);
    EXPECT_TRUE(hears("NewIcon"));
    EXPECT_EQ(qdbus_cast<StatusPixmaps>(host->itemProperties().value("IconPixmap")), statusPixmaps("bell.slash"));
    EXPECT_EQ(host->itemProperties().value("XAyatanaLabel"), " 2");

    store.clear("s");
    EXPECT_TRUE(hears("XAyatanaNewLabel(, )"));
    EXPECT_EQ(host->itemProperties().value("XAyatanaLabel"), "");
}

TEST_F(OnTheBus, ItsMenuIsReadWithTitlesOrderAndStates) {
    startHostAndWait();
    EXPECT_EQ(lines(host->menu()),
              QStringList({"Open Manager\u2026", "-", "[ ] Silent Mode", "[x] Track All Sessions",
                           "[ ] Track Only wyrn Sessions", "-", "(No Active Sessions)", "-", "Quit Pelorin"}));
    registry.registerSession(session("z", "web_shop"));
    registry.registerSession({.sessionId = "a", .tty = "ttys004", .label = "api", .optIn = true});
    registry.setMuted(true, "a");
    registry.setPolicy(AutoDecision::deny, "a");
    settings.setSilentMode(true);
    registry.setTrackOnlyOptIn(true);
    EXPECT_TRUE(hears("LayoutUpdated(3, 0)"));
    // A single underscore would mark a key.
    EXPECT_EQ(lines(host->menu()), QStringList({"Open Manager\u2026", "-", "[x] Silent Mode", "[ ] Track All Sessions",
                                                "[x] Track Only wyrn Sessions", "-", "(Sessions)",
                                                "web__shop \u2014 pts/1", "> Jump to Terminal", "> Mute Notifications",
                                                "\u2B51 api \u2014 ttys004 (muted) [Auto-deny]", "> Jump to Terminal",
                                                "> Unmute Notifications", "-", "Quit Pelorin"}));
}

TEST_F(OnTheBus, MakesItsMenuWhenADesktopFirstAsksForIt) {
    startHostAndWait();
    registry.registerSession(session("s", "api"));
    settings.setSilentMode(true);
    EXPECT_TRUE(hears("NewIcon"));
    registry.setMuted(true, "s");
    store.upsert({.sessionId = "other"});
    EXPECT_TRUE(hears("NewTitle"));
    // Nobody knows of a menu that could have changed.
    EXPECT_EQ(heard.filter("Updated"), QStringList());
    EXPECT_EQ(lines(host->menu()),
              QStringList({"Open Manager\u2026", "-", "[x] Silent Mode", "[x] Track All Sessions",
                           "[ ] Track Only wyrn Sessions", "-", "(Sessions)", "api \u2014 pts/1 (muted)",
                           "> Jump to Terminal", "> Unmute Notifications", "-", "Quit Pelorin"}));
    registry.unregister("s");
    EXPECT_TRUE(hears("LayoutUpdated(3, 0)"));
}

TEST_F(OnTheBus, TellsDesktopsHowToDrawSubmenusAndKeys) {
    registry.registerSession(session("s", "api"));
    menu->rebuildMenu();
    startHostAndWait();
    const ShownMenuItem root = host->menu();
    EXPECT_EQ(root.id, 0);
    EXPECT_EQ(root.properties.value("children-display"), "submenu");
    EXPECT_EQ(root.children.at(7).properties.value("children-display"), "submenu");
    EXPECT_EQ(qdbus_cast<QList<QStringList>>(root.children.back().properties.value("shortcut")),
              QList<QStringList>({{"Control", "q"}}));
    for (const ShownMenuItem& child : root.children) {
        EXPECT_EQ(child.properties.contains("shortcut"), child.id == root.children.back().id);
        EXPECT_EQ(child.properties.contains("children-display"), !child.children.empty());
    }
}

TEST_F(OnTheBus, DoesWhatIsClickedThere) {
    registry.registerSession(session("s", "api"));
    menu->rebuildMenu();
    startHostAndWait();
    EXPECT_TRUE(click("Open Manager\u2026", [&] { return done == QStringList("open"); }));
    EXPECT_TRUE(click("Jump to Terminal", [&] { return done.last() == "jump s"; }));
    EXPECT_TRUE(click("Quit Pelorin", [&] { return done.last() == "quit"; }));
    EXPECT_TRUE(click("Silent Mode", [&] { return settings.silentMode(); }));
    EXPECT_TRUE(click("Silent Mode", [&] { return !settings.silentMode(); }));
    EXPECT_TRUE(click("Track Only wyrn Sessions", [&] { return registry.trackOnlyOptIn(); }));
    EXPECT_TRUE(settings.trackOnlyOptIn());
    EXPECT_TRUE(click("Track All Sessions", [&] { return !registry.trackOnlyOptIn(); }));
    store.upsert({.sessionId = "s", .requestId = "r"});
    EXPECT_TRUE(click("Mute Notifications", [&] { return registry.isMuted("s"); }));
    EXPECT_TRUE(store.asks().isEmpty());
    EXPECT_TRUE(eventually([&] { return idOf(host->menu(), "Unmute Notifications") != 0; }));
    EXPECT_TRUE(click("Unmute Notifications", [&] { return !registry.isMuted("s"); }));
    EXPECT_EQ(done.size(), 3);
}

TEST_F(OnTheBus, TellsWhatHasChangedInTheMenu) {
    startHostAndWait();
    const ShownMenuItem before = host->menu();
    host->takeSignals();
    // The states of items are properties; the menu is laid out as before.
    settings.setSilentMode(true);
    EXPECT_TRUE(hears("ItemsPropertiesUpdated(..., ...)"));
    EXPECT_EQ(heard.filter("LayoutUpdated"), QStringList());
    EXPECT_EQ(lines(host->menu()).at(2), "[x] Silent Mode");

    heard.clear();
    registry.registerSession(session("s", "api"));
    EXPECT_TRUE(hears("LayoutUpdated(3, 0)"));
    const ShownMenuItem after = host->menu();
    ASSERT_EQ(after.children.size(), before.children.size() + 1);
    // What has stayed is the same item, wherever it stands.
    EXPECT_EQ(after.children.at(6).id, before.children.at(6).id);
    EXPECT_EQ(after.children.back().id, before.children.back().id);

    // Nothing of the menu depends on the asks, and an equal menu is no news.
    host->takeSignals();
    heard.clear();
    store.upsert({.sessionId = "s"});
    menu->rebuildMenu();
    EXPECT_TRUE(hears("NewTitle"));
    EXPECT_EQ(heard.filter("Updated"), QStringList());
}

TEST_F(OnTheBus, AClickOnWhatHasGoneReachesNothingElse) {
    registry.registerSession(session("first", "one"));
    registry.registerSession(session("second", "two"));
    menu->rebuildMenu();
    startHostAndWait();
    const ShownMenuItem old = host->menu();
    const int oldMute = old.children.at(7).children.at(1).id;
    registry.unregister("first");
    EXPECT_TRUE(eventually([&] { return lines(host->menu()).at(7) == "two \u2014 pts/1"; }));
    EXPECT_EQ(host->click(oldMute).errorName(), "org.freedesktop.DBus.Error.InvalidArgs");
    // A session that comes after it is a new item too.
    registry.registerSession(session("third", "three"));
    EXPECT_TRUE(eventually([&] { return host->menu().children.size() == 11; }));
    EXPECT_EQ(host->click(oldMute).type(), QDBusMessage::ErrorMessage);
    EXPECT_TRUE(registry.mutedIds().isEmpty());
}

TEST_F(OnTheBus, IgnoresWhatIsNoChoice) {
    startHostAndWait();
    const ShownMenuItem root = host->menu();
    for (const std::size_t place : {1, 6})
        EXPECT_EQ(host->click(root.children.at(place).id).type(), QDBusMessage::ReplyMessage);
    const QVariant none = QVariant::fromValue(QDBusVariant(QString()));
    for (const char* event : {"hovered", "opened", "closed"})
        host->callMenu("Event", {root.children.back().id, event, none, 0U});
    // The last click ends the wait: whatever comes before it has been dealt with by then.
    EXPECT_TRUE(click("Open Manager\u2026", [&] { return !done.isEmpty(); }));
    EXPECT_EQ(done, QStringList("open"));
}

TEST_F(OnTheBus, TakesSeveralEventsAtOnce) {
    startHostAndWait();
    const ShownMenuItem root = host->menu();
    const QDBusVariant none{QString()};
    const QList<DBusMenuEvent> events{{root.children.at(0).id, "clicked", none, 0},
                                      {12345, "clicked", none, 0},
                                      {root.children.back().id, "clicked", none, 0}};
    const QDBusMessage reply = host->callMenu("EventGroup", {QVariant::fromValue(events)});
    EXPECT_EQ(qdbus_cast<QList<int>>(reply.arguments().value(0)), QList<int>({12345}));
    EXPECT_TRUE(eventually([&] { return done == QStringList({"open", "quit"}); }));
}

TEST_F(OnTheBus, AnswersEveryQuestionOfTheMenuProtocol) {
    registry.registerSession(session("s", "api"));
    menu->rebuildMenu();
    startHostAndWait();
    const ShownMenuItem root = host->menu();
    const int silent = root.children.at(2).id;
    const int inSubmenu = root.children.at(7).children.at(0).id;

    const auto label = host->callMenu("GetProperty", {silent, "label"});
    EXPECT_EQ(label.arguments().value(0).value<QDBusVariant>().variant(), "Silent Mode");
    EXPECT_EQ(host->callMenu("GetProperty", {silent, "shape"}).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(host->callMenu("GetProperty", {999, "label"}).type(), QDBusMessage::ErrorMessage);

    const auto group = host->callMenu("GetGroupProperties", {QVariant::fromValue(QList<int>{silent, inSubmenu, 999}),
                                                             QStringList{"label", "toggle-state"}});
    EXPECT_EQ(group.signature(), "a(ia{sv})");
    const auto properties = qdbus_cast<QList<DBusMenuItemProperties>>(group.arguments().value(0));
    ASSERT_EQ(properties.size(), 2);
    EXPECT_EQ(properties.at(0).id, silent);
    EXPECT_EQ(properties.at(0).properties, QVariantMap({{"label", "Silent Mode"}, {"toggle-state", 0}}));
    EXPECT_EQ(properties.at(1).properties, QVariantMap({{"label", "Jump to Terminal"}}));
    const auto everything = host->callMenu("GetGroupProperties", {QVariant::fromValue(QList<int>{}), QStringList{}});
    EXPECT_EQ(qdbus_cast<QList<DBusMenuItemProperties>>(everything.arguments().value(0)).size(), 13);

    EXPECT_EQ(host->callMenu("AboutToShow", {0}).arguments(), QVariantList{false});
    EXPECT_EQ(host->callMenu("AboutToShow", {999}).type(), QDBusMessage::ErrorMessage);
    const auto about = host->callMenu("AboutToShowGroup", {QVariant::fromValue(QList<int>{0, 999})});
    EXPECT_EQ(about.signature(), "aiai");
    EXPECT_EQ(qdbus_cast<QList<int>>(about.arguments().value(1)), QList<int>({999}));
}

TEST_F(OnTheBus, LaysOutWhatIsAskedFor) {
    registry.registerSession(session("s", "api"));
    menu->rebuildMenu();
    startHostAndWait();
    const auto layout = [&](int parent, int depth, const QStringList& names = {}) {
        return StatusNotifierHost::layout(host->callMenu("GetLayout", {parent, depth, names}));
    };
    EXPECT_EQ(layout(0, 0).children.size(), 0);
    EXPECT_EQ(layout(0, 1).children.size(), 10);
    EXPECT_EQ(layout(0, 1).children.at(7).children.size(), 0);
    EXPECT_EQ(layout(0, 2).children.at(7).children.size(), 2);
    const int sessionItem = layout(0, 1).children.at(7).id;
    EXPECT_EQ(lines(layout(sessionItem, -1)), QStringList({"Jump to Terminal", "Mute Notifications"}));
    EXPECT_EQ(layout(sessionItem, 0, {"enabled"}).properties, QVariantMap({{"enabled", true}}));
    EXPECT_EQ(host->callMenu("GetLayout", {999, -1, QStringList()}).type(), QDBusMessage::ErrorMessage);
}

TEST_F(OnTheBus, OpensTheManagerWhereAClickOpensNoMenu) {
    startHostAndWait();
    int expected = 0;
    for (const char* method : {"Activate", "SecondaryActivate", "ContextMenu"}) {
        EXPECT_EQ(host->callItem(method, {10, 20}).type(), QDBusMessage::ReplyMessage);
        ++expected;
        EXPECT_TRUE(eventually([&] { return done.size() == expected; })) << method;
    }
    EXPECT_EQ(done.count("open"), 3);
    EXPECT_EQ(host->callItem("Scroll", {1, "vertical"}).type(), QDBusMessage::ReplyMessage);
}

TEST_F(OnTheBus, HandsAnActivationTokenToTheToolkit) {
    startHostAndWait();
    host->callItem("ProvideXdgActivationToken", {"a token"});
    EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), "a token");
    qunsetenv("XDG_ACTIVATION_TOKEN");
}

TEST(StatusItem, IsSilentAndHarmlessWithoutABus) {
    LogCapture log("pelorin.statusitem");
    const auto nowhere = QDBusConnection::connectToBus("unix:path=/nonexistent/bus", "nowhere");
    {
        StatusNotifierItem item(nowhere);
        item.setIcon({"bell", " 1", ImagePosition::imageLeading});
        item.setMenu({{.title = "Open"}});
        EXPECT_FALSE(item.isShown());
    }
    ASSERT_EQ(LogCapture::messages().size(), 1);
    EXPECT_TRUE(LogCapture::contains("There is no session bus:"));
    QDBusConnection::disconnectFromBus("nowhere");
}

TEST(StatusItem, IsNotMadeWhereNoBusIsKnown) {
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("XDG_RUNTIME_DIR", "/nonexistent");
    EXPECT_EQ(makeStatusItem(), nullptr);
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    qputenv("XDG_RUNTIME_DIR", runtime);
}

} // namespace
} // namespace pelorin
