#include "tests/interface/ManagerFixture.h"
#include "tests/interface/PanelFixture.h"

#include "BeaconryKit/interface/InterfaceEngine.h"
#include "BeaconryKit/interface/asks/SourceStyle.h"

#include <QImage>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

constexpr double leastOfText = 4.5;
constexpr double leastOfControl = 3;

/// The share of the light that a colour gives back, as the web's accessibility guidelines count it.
double luminance(const QColor& color) {
    const auto part = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * part(color.redF()) + 0.7152 * part(color.greenF()) + 0.0722 * part(color.blueF());
}

double contrast(const QColor& one, const QColor& other) {
    const double first = luminance(one);
    const double second = luminance(other);
    const auto [darker, lighter] = std::minmax(first, second);
    return (lighter + 0.05) / (darker + 0.05);
}

/// The colour as it looks on that ground.
QColor on(const QColor& ground, const QColor& color, double opacity = 1) {
    const double share = color.alphaF() * opacity;
    const auto part = [share](double above, double below) {
        return static_cast<float>(above * share + below * (1 - share));
    };
    return QColor::fromRgbF(part(color.redF(), ground.redF()), part(color.greenF(), ground.greenF()),
                            part(color.blueF(), ground.blueF()));
}

/// The dark of the panel, the dark window's or the light window's colours.
class Colors {
public:
    Colors(QQmlEngine& engine, const char* name) : m_name(name) {
        QQmlComponent component(&engine);
        component.setData(
            QByteArray("import QtQml\nimport Pelorin\nQtObject { property QtObject colors: Theme.") + name + "}", {});
        const std::unique_ptr<QObject> holder(component.create());
        m_set = holder->property("colors").value<QObject*>();
    }

    QColor operator[](const char* color) const { return m_set->property(color).value<QColor>(); }

    void expectText(const char* ink, const QColor& ground, const char* where, double opacity = 1) const {
        EXPECT_GE(contrast(on(ground, (*this)[ink], opacity), ground), leastOfText) << m_name << ": " << ink << where;
    }
    void expectControl(const char* ink, const QColor& ground, const char* where) const {
        EXPECT_GE(contrast(on(ground, (*this)[ink]), ground), leastOfControl) << m_name << ": " << ink << where;
    }
    void expectControls(std::initializer_list<const char*> inks, std::initializer_list<const char*> grounds) const {
        for (const char* ink : inks) {
            for (const char* ground : grounds)
                expectControl(ink, (*this)[ground], ground);
        }
    }
    void expectTexts(std::initializer_list<const char*> inks, std::initializer_list<const char*> grounds) const {
        for (const char* ink : inks) {
            for (const char* ground : grounds)
                expectText(ink, (*this)[ground], ground);
        }
    }
    /// A session is known by its dot, or by the edge around it.
    void expectDots(const char* ground) const {
        const bool hasEdge = (*this)["dotEdge"].alpha() > 0;
        for (const SourceStyle::Colour& dot : SourceStyle::palette) {
            const QColor color = QColor::fromRgbF(static_cast<float>(dot.red), static_cast<float>(dot.green),
                                                  static_cast<float>(dot.blue));
            EXPECT_GE(contrast(hasEdge ? (*this)["dotEdge"] : color, (*this)[ground]), leastOfControl) << m_name;
        }
    }

private:
    const char* m_name;
    QObject* m_set = nullptr;
};

class ThemeTest : public InterfaceFixture {
protected:
    static Colors colors(const char* name) { return {engine()->qml(), name}; }
};

TEST_F(ThemeTest, TheColoursOfWindowsStandOutFromWhatLiesBehindThem) {
    for (const char* name : {"light", "darkWindow"}) {
        const Colors colors = this->colors(name);
        colors.expectTexts({"text", "secondaryText"}, {"background", "surface", "inset", "bar", "track"});
        colors.expectTexts({"text"}, {"control", "selectedControl", "field", "surfaceHovered"});
        colors.expectTexts({"tertiaryText"}, {"field"});
        colors.expectTexts({"textOnTint"}, {"accentFill", "allowFill", "denyFill"});
        colors.expectTexts({"deny"}, {"surface"});
        // The tab in front, and words on a badge of their own colour.
        colors.expectText("accent", on(colors["bar"], colors["text"], 0.08), "selected tab");
        for (const char* ink : {"accent", "secondaryText"})
            colors.expectText(ink, on(colors["surface"], colors[ink], 0.14), "badge");
        colors.expectControls({"controlBorder"}, {"background", "surface", "track", "field"});
        colors.expectControls({"accentFill", "allowFill", "denyFill", "accent", "orange", "allow"}, {"surface"});
        colors.expectControls({"accent", "tertiaryText"}, {"background"});
        colors.expectDots("surface");
    }
}

TEST_F(ThemeTest, TheColoursOfThePanelStandOutFromWhatLiesBehindThem) {
    const Colors colors = this->colors("dark");
    colors.expectTexts({"text", "secondaryText"}, {"background", "surface", "surfaceHovered"});
    colors.expectTexts({"tertiaryText"}, {"surface"});
    colors.expectTexts({"orange"}, {"background", "surface"});
    for (const char* ground : {"background", "surface"})
        colors.expectText("yellow", colors[ground], ground, 0.7);
    colors.expectControls({"accent", "allow", "deny", "tertiaryText", "secondaryText", "controlBorder"},
                          {"background", "surface"});
    colors.expectDots("background");
}

/// The colour that most of the place has: what lies behind a text.
QColor ground(const QImage& image, const QRect& place) {
    QHash<QRgb, int> counts;
    for (int y = place.top(); y <= place.bottom(); ++y) {
        for (int x = place.left(); x <= place.right(); ++x)
            ++counts[image.pixel(x, y)];
    }
    QRgb most = 0;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
        if (it.value() > counts.value(most))
            most = it.key();
    }
    return QColor::fromRgb(most);
}

double opacityOf(const QQuickItem* item) {
    double opacity = 1;
    for (; item; item = item->parentItem())
        opacity *= item->opacity();
    return opacity;
}

/// Looks at every text of the window as it is drawn. Returns how many it has seen.
int expectEveryTextToStandOut(QQuickWindow& window) {
    const QImage image = window.grabWindow();
    int seen = 0;
    for (QQuickItem* text : itemsOfType(window.contentItem(), "QQuickText")) {
        const QString words = text->property("text").toString();
        const QRect place = text->mapRectToScene(QRectF(0, 0, text->width(), text->height())).toRect();
        if (!text->isVisible() || !text->isEnabled() || words.isEmpty() || opacityOf(text) == 0 ||
            !image.rect().contains(place) || place.isEmpty())
            continue;
        const QColor behind = ground(image, place);
        const QColor ink = on(behind, text->property("color").value<QColor>(), opacityOf(text));
        EXPECT_GE(contrast(ink, behind), leastOfText)
            << words.toStdString() << ": " << ink.name().toStdString() << " on " << behind.name().toStdString();
        ++seen;
    }
    return seen;
}

using ManagerContrastTest = ManagerFixture;

TEST_F(ManagerContrastTest, EveryTextStandsOutFromWhatIsDrawnBehindIt) {
    SessionInfo session;
    session.sessionId = QStringLiteral("s");
    session.cwd = QStringLiteral("/home/ada/lighthouse");
    session.optIn = true;
    registry.registerSession(session);
    AskEvent ask = withAnswers(permissionAsk(QStringLiteral("a"), dispatch.now()), {QStringLiteral("Yes")});
    ask.agentType = QStringLiteral("general-purpose");
    store.upsert(ask);
    store.upsert(permissionAsk(QStringLiteral("b"), dispatch.now() - 38s));
    store.upsert(permissionAsk(QStringLiteral("c"), dispatch.now() - 100s));
    settings.setDefaultPolicy(AutoDecision::allow);
    for (const auto scheme : {ManagerFacade::LightScheme, ManagerFacade::DarkScheme}) {
        for (const Tab tab : {pendingTab, sessionsTab, phoneTab, settingsTab}) {
            show(tab);
            facade().setDesktopScheme(scheme);
            settle();
            // Buttons fade in.
            ASSERT_TRUE(eventually([&] {
                return std::ranges::all_of(visible("PushButton"), [](QQuickItem* button) {
                    return !button->isEnabled() || button->opacity() == 1;
                });
            }));
            EXPECT_GE(expectEveryTextToStandOut(window()), 8) << tab;
        }
    }
}

using PanelContrastTest = PanelFixture;

TEST_F(PanelContrastTest, EveryTextStandsOutFromWhatIsDrawnBehindIt) {
    AskEvent ask = permission(a);
    ask.agentType = QStringLiteral("general-purpose");
    show({ask, noticeAsk(b), permission(c)});
    click(a, showDetails);
    store.upsert(withAnswers(ask, {QStringLiteral("Yes"), QStringLiteral("No")}));
    dispatch.advance(38s);
    settleAndArm();
    ASSERT_TRUE(eventually([&] {
        return std::ranges::all_of(itemsOfType(row(a), "OptionButton"), [](QQuickItem* button) {
            return std::ranges::all_of(button->childItems(), [](QQuickItem* part) { return part->opacity() == 1; });
        });
    }));
    EXPECT_GE(expectEveryTextToStandOut(panel()), 12);
}

} // namespace
} // namespace pelorin
