#include "tests/interface/ManagerDependencies.h"
#include "tests/interface/SceneItems.h"
#include "tests/support/Eventually.h"

#include "BeaconryKit/interface/manager/ManagerFacade.h"
#include "BeaconryKit/interface/manager/ManagerWindow.h"

#include <QGuiApplication>
#include <QImage>
#include <QPalette>
#include <QQuickItem>
#include <QTest>

#include <array>
#include <cstdio>

namespace pelorin {
namespace {

const QStringList tabNames{QStringLiteral("pending"), QStringLiteral("sessions"), QStringLiteral("phone"),
                           QStringLiteral("settings")};

struct Sample {
    const char* source;
    const char* project;
    const char* tty;
    const char* label;
    bool optIn;
};

constexpr std::array samples{
    Sample{"claude", "lighthouse", "pts/3", "", true},
    Sample{"codex", "tidal-engine", "pts/7", "release train", false},
    Sample{"gemini", "harbour-charts", "", "", false},
    Sample{"claude", "pelorin", "pts/12", "panel work", true},
    Sample{"opencode", "semaphore", "ttys004", "", false},
};

SessionInfo session(std::size_t number) {
    const Sample& sample = samples[number % samples.size()];
    SessionInfo session;
    session.sessionId = QStringLiteral("session-%1").arg(number * 7 + 3);
    session.source = QString::fromUtf8(sample.source);
    session.cwd = QStringLiteral("/home/ada/") + QString::fromUtf8(sample.project);
    session.tty = QString::fromUtf8(sample.tty);
    session.label = QString::fromUtf8(sample.label);
    session.optIn = sample.optIn;
    return session;
}

AskEvent ask(std::size_t number, WallTime now) {
    const SessionInfo from = session(number);
    AskEvent ask;
    ask.sessionId = from.sessionId;
    ask.source = from.source;
    ask.cwd = from.cwd;
    ask.receivedAt = now - std::chrono::seconds(7 + 13 * static_cast<int>(number));
    return ask;
}

AskEvent permission(std::size_t number, const QString& tool, const QString& summary, WallTime now) {
    AskEvent permission = ask(number, now);
    permission.requestId = QStringLiteral("request-%1").arg(number);
    permission.toolName = tool;
    permission.actionSummary = summary;
    return permission;
}

void fillPending(ManagerDependencies& all) {
    const WallTime now = all.dispatch.now();
    all.store.upsert(
        permission(0, QStringLiteral("Bash"), QStringLiteral("git push --force-with-lease origin main"), now));
    AskEvent question = ask(1, now);
    question.message = QStringLiteral("Codex needs your permission to use Bash");
    question.detail = QStringLiteral("$ rm -rf build && cmake --preset release\n"
                                     "Do you want to run this command?\n"
                                     "1. Yes, proceed\n2. Yes, and don't ask again for this command\n3. No");
    question.options = {{QStringLiteral("1"), QStringLiteral("Yes, proceed")},
                        {QStringLiteral("2"), QStringLiteral("Yes, and don't ask again for this command")},
                        {QStringLiteral("3"), QStringLiteral("No")}};
    all.store.upsert(question);
    AskEvent notice = ask(2, now);
    notice.message = QStringLiteral("Gemini is waiting for your input");
    notice.acceptsText = true;
    all.store.upsert(notice);
    AskEvent edit =
        permission(3, QStringLiteral("Edit"), QStringLiteral("BeaconryKit/interface/panel/NotchPanel.cpp"), now);
    edit.agentType = QStringLiteral("general-purpose");
    all.store.upsert(edit);
}

void fillSessions(ManagerDependencies& all) {
    for (std::size_t i = 0; i < samples.size(); ++i)
        all.registry.registerSession(session(i));
    all.registry.setMuted(true, session(2).sessionId);
    all.registry.setPolicy(AutoDecision::allow, session(1).sessionId);
    all.registry.setPolicy(AutoDecision::deny, session(3).sessionId);
}

void answerRelay(ManagerDependencies& all) {
    all.dispatch.runDue();
    for (const auto& sent : all.transport.sent)
        sent.answer(R"json({"devices": [
            {"id": "1", "label": "Ada's phone", "country": "GB",
             "ua": "Mozilla/5.0 (iPhone; CPU iPhone OS 17_4 like Mac OS X) AppleWebKit/605.1.15 (KHTML, like Gecko)"},
            {"id": "2", "country": "PT", "ua": "Mozilla/5.0 (iPad; CPU OS 17_2 like Mac OS X)"}]})json");
    all.transport.sent.clear();
    all.dispatch.runDue();
}

void useDarkDesktop() {
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0x20, 0x20, 0x24));
    palette.setColor(QPalette::WindowText, Qt::white);
    QGuiApplication::setPalette(palette);
}

bool settle(ManagerDependencies& all, ManagerWindow& window) {
    // Colours and knobs take a moment to get where they belong.
    QTest::qWait(200);
    return eventually([&] {
        all.dispatch.runDue();
        return isLaidOut(window.contentItem());
    });
}

bool save(const QString& path, int tab, bool isFull, QSize size) {
    ManagerDependencies all;
    if (isFull) {
        fillPending(all);
        fillSessions(all);
        all.settings.setRelayToken(QStringLiteral("5f1c9a6e0b7d4c2f9e38a1"));
        all.markInstalled();
    }
    ManagerWindowController controller(
        all.parts(), [](const AskEvent&, const AskAction&) {}, [](const SessionInfo&) {});
    controller.show();
    ManagerWindow& window = *controller.window();
    if (!size.isEmpty())
        window.resize(size);
    controller.facade()->setTab(tab);
    if (tab == 2 && isFull)
        answerRelay(all);
    if (!settle(all, window))
        return false;
    all.dispatch.advance(AskListController::settleTime);
    if (!settle(all, window))
        return false;
    return window.grabWindow().save(path);
}

} // namespace
} // namespace pelorin

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("usage: manager_screenshot PICTURE TAB [light|dark [full|empty [SCALE [WIDTH HEIGHT]]]]\n", stderr);
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/dev/null");
    if (argc > 5)
        qputenv("QT_SCALE_FACTOR", argv[5]);
    const QGuiApplication application(argc, argv);
    QGuiApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
    const QStringList arguments = QGuiApplication::arguments();
    const auto tab = static_cast<int>(pelorin::tabNames.indexOf(arguments.at(2)));
    if (tab < 0)
        return 2;
    if (arguments.value(3) == QStringLiteral("dark"))
        pelorin::useDarkDesktop();
    const QSize size(arguments.value(6).toInt(), arguments.value(7).toInt());
    return pelorin::save(arguments.at(1), tab, arguments.value(4) != QStringLiteral("empty"), size) ? 0 : 1;
}
