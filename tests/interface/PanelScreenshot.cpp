// Draws the panel into a picture, off any screen: panel_screenshot PICTURE [ASKS [SCENE [SCALE]]]
// SCENE is one of mixed (the default), answers, notices, rightToLeft, long.

#include "tests/interface/SceneItems.h"
#include "tests/support/Eventually.h"
#include "tests/support/ManualDispatch.h"
#include "tests/support/MemoryUserDefaults.h"

#include "BeaconryKit/interface/InterfaceEngine.h"
#include "BeaconryKit/interface/panel/NotchPanelController.h"
#include "BeaconryKit/interface/panel/PlainPanelPlatform.h"

#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QQuickItem>

#include <algorithm>
#include <array>
#include <cstdio>

namespace pelorin {
namespace {

struct Sample {
    const char* source;
    const char* project;
    const char* tool;
    const char* text;
    const char* agent;
    int age;
};

constexpr std::array samples{
    Sample{"claude", "lighthouse", "Bash", "git push --force-with-lease origin main", "", 3},
    Sample{"codex", "tidal-engine", "Bash", "rm -rf build && cmake --preset release && cmake --build build/release -j8",
           "", 36},
    Sample{"claude", "lighthouse", "", "Claude is waiting for your input", "", 0},
    Sample{"gemini", "harbour-charts", "write_file", "src/charts/projection/mercator.rs", "", 50},
    Sample{"claude", "pelorin", "Edit", "BeaconryKit/interface/panel/NotchPanel.cpp", "general-purpose", 12},
    Sample{"opencode", "semaphore", "bash",
           "npm ci && npm run build -- --mode production && npm publish --access public", "", 20},
    Sample{"cursor", "soundings", "WebFetch", "https://tides.example.org/api/v2/stations?bbox=-6.4,49.8,1.8,60.9", "",
           8},
};

AskEvent sampleAsk(int number, WallTime now) {
    const Sample& sample = samples[static_cast<std::size_t>(number) % samples.size()];
    AskEvent ask;
    ask.sessionId = QStringLiteral("session-%1").arg(number * 7 + 3);
    ask.source = QString::fromUtf8(sample.source);
    ask.cwd = QStringLiteral("/home/ada/") + QString::fromUtf8(sample.project);
    ask.agentType = QString::fromUtf8(sample.agent);
    ask.receivedAt = now - std::chrono::seconds(sample.age);
    if (*sample.tool == '\0') {
        ask.message = QString::fromUtf8(sample.text);
        return ask;
    }
    ask.requestId = QStringLiteral("request-%1").arg(number);
    ask.toolName = QString::fromUtf8(sample.tool);
    ask.actionSummary = QString::fromUtf8(sample.text);
    return ask;
}

AskEvent answersAsk(WallTime now) {
    AskEvent ask = sampleAsk(0, now);
    ask.detail = QStringLiteral("● Bash(git push --force-with-lease origin main)\n"
                                "  └  Running…\n"
                                "Do you want to proceed?\n"
                                "❯ 1. Yes\n"
                                "  2. Yes, and don't ask again for git push commands in /home/ada/lighthouse\n"
                                "  3. No, and tell Claude what to do differently (esc)");
    ask.options = {
        {QStringLiteral("1"), QStringLiteral("Yes")},
        {QStringLiteral("2"), QStringLiteral("Yes, and don't ask again for git push commands in /home/ada/lighthouse")},
        {QStringLiteral("3"), QStringLiteral("No, and tell Claude what to do differently (esc)")}};
    ask.acceptsText = true;
    return ask;
}

AskEvent noticeSample(int number, WallTime now) {
    static constexpr std::array texts{
        "Claude is waiting for your input",
        "Answer in terminal — Bash: terraform apply -auto-approve -target=module.lighthouse",
        "Which of the two charts should I keep? The newer one has no soundings west of the breakwater.",
    };
    AskEvent ask = sampleAsk(number, now);
    ask.requestId.clear();
    ask.message = QString::fromUtf8(texts[static_cast<std::size_t>(number) % texts.size()]);
    return ask;
}

AskEvent rightToLeftAsk(int number, WallTime now) {
    AskEvent ask = sampleAsk(number, now);
    if (number % 2 == 0) {
        ask.cwd = QStringLiteral("/home/ada/مشروع المنارة");
        ask.requestId.clear();
        ask.message = QStringLiteral("ينتظر كلود إدخالك في مشروع المنارة، هل تريد المتابعة؟ 123 (main)");
    } else {
        ask.actionSummary = QStringLiteral("echo 'שלום עולם' > ברכה.txt && cat ברכה.txt \u202Egnp.exe");
    }
    return ask;
}

AskEvent longAsk(int number, WallTime now) {
    AskEvent ask = sampleAsk(number, now);
    ask.cwd = QStringLiteral("/home/ada/") + QStringLiteral("averyveryverylongprojectname").repeated(4);
    ask.source = QStringLiteral("somebodysownadapterwithalongname");
    ask.agentType = QStringLiteral("a-sub-agent-with-a-really-long-name");
    ask.actionSummary = QStringLiteral("x").repeated(600);
    return ask;
}

AskEvent ask(const QString& scene, int number, WallTime now) {
    if (scene == QStringLiteral("answers") && number == 0)
        return answersAsk(now);
    if (scene == QStringLiteral("notices"))
        return noticeSample(number, now);
    if (scene == QStringLiteral("rightToLeft"))
        return rightToLeftAsk(number, now);
    if (scene == QStringLiteral("long"))
        return longAsk(number, now);
    return sampleAsk(number, now);
}

/// The panel at the top of something like a desktop, so that its edges can be judged.
QImage onDesktop(const QImage& panel) {
    const qreal scale = panel.devicePixelRatio();
    const QSizeF size = panel.deviceIndependentSize();
    const QSizeF desktop(size.width() + 180, size.height() + 70);
    QImage picture((desktop * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(scale);
    QPainter painter(&picture);
    QLinearGradient sky(0, 0, desktop.width(), desktop.height());
    sky.setColorAt(0, QColor(0x2b, 0x4c, 0x6f));
    sky.setColorAt(0.55, QColor(0x6b, 0x8f, 0xa8));
    sky.setColorAt(1, QColor(0xe0, 0xb0, 0x8c));
    painter.fillRect(QRectF({0, 0}, desktop), sky);
    painter.drawImage(QPointF((desktop.width() - size.width()) / 2, 0), panel);
    return picture;
}

/// A screen of an ordinary size, whatever the scale.
class OneScreen final : public PanelScreens {
public:
    QList<PanelScreen> screens() const override { return {{QRect(0, 0, 1280, 900), 0, true, nullptr}}; }
};

bool isSettled(QQuickItem& content) {
    // Controls that take no clicks yet are drawn faintly, and those that do brighten slowly.
    const auto isFaint = [](QQuickItem* symbol) {
        return symbol->isVisible() && symbol->opacity() < 1;
    };
    return isLaidOut(&content) && std::ranges::none_of(itemsOfType(&content, "pelorin::SymbolItem"), isFaint);
}

bool save(const QString& path, int count, const QString& scene) {
    // Time stands still, so that the same picture comes out every time.
    ManualDispatch dispatch;
    MemoryUserDefaults defaults;
    NotifierSettings settings(defaults);
    AskStore store;
    NotchPanelController controller(
        store, settings, dispatch, [](const AskEvent&, const AskAction&) {},
        {std::make_unique<OneScreen>(), std::make_unique<PlainPanelPlatform>(), std::make_shared<InterfaceEngine>()});
    const WallTime now = dispatch.now() + NotchPanelController::settleTime;
    for (int i = 0; i < count; ++i)
        store.upsert(ask(scene, i, now));
    dispatch.runDue();
    if (scene == QStringLiteral("answers"))
        controller.asks().setFold(store.asks().first()->id(), AskListModel::Fold::expanded);
    NotchPanel& panel = controller.panel();
    QQuickItem& content = controller.hosting();
    const bool isThere = eventually([&] {
        dispatch.runDue();
        return content.opacity() == 1 && content.y() == 0 && content.size() == QSizeF(panel.frame().size()) &&
               qCeil(content.implicitHeight()) == panel.frame().height();
    });
    dispatch.advance(NotchPanelController::settleTime);
    if (!isThere || !eventually([&] { return isSettled(content); }))
        return false;
    QImage shot = panel.grabWindow();
    // It says to be opaque, and is not.
    shot.reinterpretAsFormat(QImage::Format_ARGB32_Premultiplied);
    return onDesktop(shot).save(path);
}

} // namespace
} // namespace pelorin

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: panel_screenshot PICTURE [ASKS [SCENE [SCALE]]]\n", stderr);
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (argc > 4)
        qputenv("QT_SCALE_FACTOR", argv[4]);
    const QGuiApplication application(argc, argv);
    QGuiApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
    const QStringList arguments = QGuiApplication::arguments();
    const bool saved = pelorin::save(arguments.at(1), arguments.value(2, QStringLiteral("3")).toInt(),
                                     arguments.value(3, QStringLiteral("mixed")));
    return saved ? 0 : 1;
}
