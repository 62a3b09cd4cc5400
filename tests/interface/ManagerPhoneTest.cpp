#include "tests/interface/ManagerFixture.h"

#include "BeaconryKit/sessions/RelayDefaults.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>

#include <zbar.h>

namespace pelorin {
namespace {

const QString token = QStringLiteral("0123456789abcdef");
const QString noPhones = QStringLiteral("No phones connected yet");
const QString checking = QStringLiteral("Checking connected phones…");
const QByteArray onePhone = R"({"devices": [{"id": "1", "label": "Ada's phone", "country": "GB", "ua": "Safari 17"}]})";
const QByteArray twoPhones = R"({"devices": [{"id": "1", "label": "Ada's phone"}, {"id": "2"}]})";

/// What an independent scanner reads in the picture.
QStringList scanned(const QImage& picture) {
    const QImage grey = picture.convertToFormat(QImage::Format_Grayscale8);
    QByteArray pixels;
    for (int y = 0; y < grey.height(); ++y)
        pixels.append(reinterpret_cast<const char*>(grey.constScanLine(y)), grey.width());
    zbar::ImageScanner scanner;
    scanner.set_config(zbar::ZBAR_NONE, zbar::ZBAR_CFG_ENABLE, 0);
    scanner.set_config(zbar::ZBAR_QRCODE, zbar::ZBAR_CFG_ENABLE, 1);
    zbar::Image image(static_cast<unsigned>(grey.width()), static_cast<unsigned>(grey.height()), "Y800",
                      pixels.constData(), static_cast<unsigned long>(pixels.size()));
    scanner.scan(image);
    QStringList texts;
    for (auto symbol = image.symbol_begin(); symbol != image.symbol_end(); ++symbol)
        texts.append(QString::fromStdString(symbol->get_data()));
    return texts;
}

class ManagerPhoneTest : public ManagerFixture {
protected:
    void showConfigured() {
        settings.setRelayToken(token);
        show(phoneTab);
        // However small the screen is.
        window().resize(700, 700);
        ASSERT_TRUE(eventually([this] { return window().rootObject()->height() == 700; }));
        settle();
    }

    const HTTPRequest& lastRequest() const { return transport.sent.last().request; }
};

TEST_F(ManagerPhoneTest, SaysWhatItIs) {
    showConfigured();
    for (
        const char* text : {
            "Phone from anywhere (relay)",
            "Real iOS notifications from anywhere — no app, no shared Wi-Fi. This install has its own private token on "
            "Pelorin's relay; actionable asks are web-pushed to every phone you set up, and your Allow/Deny comes "
            "straight back here.",
            "Set up each phone (once):",
            "1. Scan the code (or open the link) in Safari.\n2. Share → Add to Home Screen.\n3. Open Pelorin from the "
            "Home Screen → tap “Enable alerts” → Allow.",
            "Regenerate token",
            "A fresh token gives you a new, empty instance — use it to rotate a leaked token. Re-scan the QR on each "
            "phone afterward.",
            "Removing a phone stops its notifications until it re-enables alerts.",
            "Phone terminal — run commands on this Mac",
            "Lets the Terminal tab in the phone app run shell commands here, as you (cd persists; “New shell” resets). "
            "Anyone with your relay link can too — keep it off unless you need it.",
        })
        EXPECT_TRUE(says(QString::fromUtf8(text))) << text;
    for (const char* symbol : {"antenna.radiowaves.left.and.right", "arrow.triangle.2.circlepath", "iphone"})
        EXPECT_TRUE(symbols().contains(QString::fromLatin1(symbol))) << symbol;
}

TEST_F(ManagerPhoneTest, AsksForTheAddressAndTheTokenWhileEitherIsMissing) {
    const QString request = QStringLiteral("Enter your Worker URL and token to show a setup code.");
    show(phoneTab);
    EXPECT_TRUE(says(request));
    EXPECT_TRUE(says(QStringLiteral("provisioned automatically")));
    EXPECT_EQ(visible("pelorin::QRCodeItem").size(), 0);
    settings.setRelayToken(token);
    settle();
    EXPECT_FALSE(says(request));
    EXPECT_EQ(visible("pelorin::QRCodeItem").size(), 1);
    settings.setRelayURL(QStringLiteral(" \t"));
    settle();
    EXPECT_TRUE(says(request));
    settings.setRelayURL({});
    settle();
    EXPECT_TRUE(says(QStringLiteral("https://relay.your-name.example")));
    EXPECT_EQ(visible("pelorin::QRCodeItem").size(), 0);
}

TEST_F(ManagerPhoneTest, ShowsTheLinkAsACodeThatAScannerReads) {
    showConfigured();
    const QString link = RelayDefaults::url() + QStringLiteral("/?t=") + token;
    QQuickItem* const code = visible("pelorin::QRCodeItem").first();
    EXPECT_EQ(code->size(), QSizeF(176, 176));
    EXPECT_EQ(scanned(window().grabWindow()), QStringList(link));
}

TEST_F(ManagerPhoneTest, ShowsNoTokenAndCopiesIt) {
    showConfigured();
    EXPECT_EQ(control(QStringLiteral("Setup link"))->property("text"),
              RelayDefaults::url() + QStringLiteral("/?t=••••••••"));
    QQuickItem* const field = itemsOfType(control(QStringLiteral("Token")), "QQuickTextInput").first();
    EXPECT_EQ(field->property("displayText").toString().size(), token.size());
    for (QQuickItem* item : itemsOfType(window().contentItem(), "QQuickItem")) {
        for (const char* shown : {"text", "displayText"}) {
            if (item != field && item->parentItem() != control(QStringLiteral("Token"))) {
                EXPECT_FALSE(item->property(shown).toString().contains(token) &&
                             QByteArray(item->metaObject()->className()).startsWith("QQuickText"))
                    << item->metaObject()->className();
            }
        }
        if (QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(item)) {
            for (const auto kind : {QAccessible::Name, QAccessible::Description})
                EXPECT_FALSE(accessible->text(kind).contains(token)) << item->metaObject()->className();
        }
    }
    click(QStringLiteral("Copy"));
    EXPECT_EQ(QGuiApplication::clipboard()->text(), token);
    click(QStringLiteral("Copy link"));
    EXPECT_EQ(QGuiApplication::clipboard()->text(), RelayDefaults::url() + QStringLiteral("/?t=") + token);
}

TEST_F(ManagerPhoneTest, DrawsTheCodeInWholePixels) {
    showConfigured();
    // Wherever it has been scrolled to.
    ASSERT_TRUE(visible("QQuickFlickable").first()->setProperty("contentY", 10.4));
    settle();
    QQuickItem* const code = visible("pelorin::QRCodeItem").first();
    const QImage all = window().grabWindow();
    const QRectF place = code->mapRectToScene(QRectF(0, 0, 176, 176));
    const qreal scale = window().effectiveDevicePixelRatio();
    const QImage image = all.copy(
        QRectF(place.topLeft() * scale, place.size() * scale).toAlignedRect().marginsRemoved(QMargins(1, 1, 1, 1)));
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            ASSERT_TRUE(pixel == 0xffffffff || pixel == 0xff000000) << x << ", " << y;
        }
    }
}

TEST_F(ManagerPhoneTest, TakesTheAddressAndTheTokenWhenTheyAreFinished) {
    show(phoneTab);
    const QString before = settings.relayURL();
    QStringList addresses;
    QObject::connect(&settings, &NotifierSettings::relayURLWillChange,
                     [&](const QString& address) { addresses.append(address); });
    click(QStringLiteral("Relay URL"));
    retype(QStringLiteral("https://my.company"));
    EXPECT_EQ(settings.relayURL(), before);
    key(Qt::Key_Return);
    EXPECT_EQ(settings.relayURL(), QStringLiteral("https://my.company"));
    // Leaving the field is as good as Return.
    click(QStringLiteral("Token"));
    type(QStringLiteral("abc"));
    EXPECT_EQ(settings.relayToken(), QString());
    key(Qt::Key_Tab);
    EXPECT_EQ(settings.relayToken(), QStringLiteral("abc"));
    settings.setRelayToken(QStringLiteral("changed elsewhere"));
    settle();
    EXPECT_EQ(control(QStringLiteral("Token"))->property("text"), QStringLiteral("changed elsewhere"));
    EXPECT_EQ(addresses, QStringList(QStringLiteral("https://my.company"))) << "None on the way to it.";
}

TEST_F(ManagerPhoneTest, TakesAHalfTypedAddressWhenTheTabOrTheWindowGoes) {
    show(phoneTab);
    click(QStringLiteral("Relay URL"));
    retype(QStringLiteral("https://one.test"));
    show(settingsTab);
    EXPECT_EQ(settings.relayURL(), QStringLiteral("https://one.test"));
    show(phoneTab);
    click(QStringLiteral("Relay URL"));
    retype(QStringLiteral("https://other.test"));
    window().close();
    EXPECT_EQ(settings.relayURL(), QStringLiteral("https://other.test"));
}

TEST_F(ManagerPhoneTest, ATokenThatIsBeingTypedWinsOverOneThatComesMeanwhile) {
    show(phoneTab);
    click(QStringLiteral("Token"));
    type(QStringLiteral("mi"));
    settings.setRelayToken(QStringLiteral("provisioned"));
    settle();
    type(QStringLiteral("ne"));
    key(Qt::Key_Return);
    EXPECT_EQ(settings.relayToken(), QStringLiteral("mine"));
}

TEST_F(ManagerPhoneTest, EscapeBringsBackTheTokenThatIsInUse) {
    showConfigured();
    click(QStringLiteral("Token"));
    retype(QStringLiteral("half"));
    key(Qt::Key_Escape);
    EXPECT_EQ(control(QStringLiteral("Token"))->property("text"), token);
    retype(QStringLiteral("half"));
    settings.setRelayToken(QStringLiteral("fresh"));
    settle();
    key(Qt::Key_Escape);
    EXPECT_EQ(control(QStringLiteral("Token"))->property("text"), QStringLiteral("fresh"));
    key(Qt::Key_Tab);
    EXPECT_EQ(settings.relayToken(), QStringLiteral("fresh"));
}

TEST_F(ManagerPhoneTest, RegeneratesTheToken) {
    showConfigured();
    answer(QStringLiteral("/devices"), onePhone);
    QQuickItem* const button = control(QStringLiteral("Regenerate token"));
    click(button);
    EXPECT_FALSE(button->isEnabled());
    EXPECT_EQ(visible("BusySign").size(), 1);
    ASSERT_EQ(transport.sent.size(), 1);
    EXPECT_EQ(QJsonDocument::fromJson(lastRequest().body).object().value(QLatin1String("name")).toString(),
              RelayProvisioner::deviceName());
    answer(QStringLiteral("/provision"), R"({"token": "fresh"})");
    EXPECT_EQ(settings.relayToken(), QStringLiteral("fresh"));
    EXPECT_TRUE(button->isEnabled());
    // The new instance has phones of its own, none yet.
    answer(QStringLiteral("/devices"), R"({"devices": []})");
    EXPECT_TRUE(says(noPhones));
    EXPECT_EQ(visible("BusySign").size(), 0);
}

TEST_F(ManagerPhoneTest, KeepsTheTokenWhenNoneComesOrAnotherWasTyped) {
    showConfigured();
    answer(QStringLiteral("/devices"), onePhone);
    facade().phone()->regenerateToken();
    facade().phone()->regenerateToken();
    ASSERT_EQ(transport.sent.size(), 1);
    transport.sent.takeFirst().fail();
    settle();
    EXPECT_EQ(settings.relayToken(), token);
    const QString noToken = QStringLiteral("The relay gave no fresh token. The one above stays as it is.");
    EXPECT_TRUE(says(noToken));
    facade().phone()->regenerateToken();
    settle();
    EXPECT_FALSE(says(noToken));
    settings.setRelayToken(QStringLiteral("typed"));
    answer(QStringLiteral("/provision"), R"({"token": "fresh"})");
    EXPECT_EQ(settings.relayToken(), QStringLiteral("typed"));
    EXPECT_TRUE(transport.sent.isEmpty());
}

TEST_F(ManagerPhoneTest, LoadsThePhonesWhenTheTabAppears) {
    settings.setRelayToken(token);
    show(pendingTab);
    EXPECT_TRUE(transport.sent.isEmpty());
    show(phoneTab);
    ASSERT_EQ(transport.sent.size(), 1);
    EXPECT_EQ(lastRequest().headers.first().second, "Bearer " + token.toUtf8());
    EXPECT_TRUE(says(checking));
    EXPECT_EQ(visible("BusySign").size(), 1);
    answer(QStringLiteral("/devices"), onePhone);
    EXPECT_TRUE(says(QStringLiteral("1 phone connected")));
    for (const char* text : {"Ada's phone", "GB", "Safari 17"})
        EXPECT_TRUE(says(QString::fromUtf8(text))) << text;
    show(pendingTab);
    show(phoneTab);
    // The last list is shown meanwhile.
    EXPECT_TRUE(says(checking));
    EXPECT_TRUE(says(QStringLiteral("Ada's phone")));
    answer(QStringLiteral("/devices"), twoPhones);
    EXPECT_TRUE(says(QStringLiteral("2 phones connected")));
    EXPECT_TRUE(says(QStringLiteral("phone")));
}

TEST_F(ManagerPhoneTest, AFailureLeavesTheLastListShown) {
    showConfigured();
    transport.sent.takeFirst().fail();
    settle();
    EXPECT_TRUE(says(noPhones));
    facade().phone()->loadPhones();
    answer(QStringLiteral("/devices"), onePhone);
    facade().phone()->loadPhones();
    answer(QStringLiteral("/devices"), "no list");
    EXPECT_TRUE(says(QStringLiteral("1 phone connected")));
}

TEST_F(ManagerPhoneTest, NothingIsSentWithoutAToken) {
    show(phoneTab);
    EXPECT_TRUE(transport.sent.isEmpty());
    EXPECT_TRUE(says(noPhones));
}

TEST_F(ManagerPhoneTest, OnlyTheNewestListCounts) {
    showConfigured();
    facade().phone()->loadPhones();
    const auto older = transport.sent.takeFirst();
    answer(QStringLiteral("/devices"), onePhone);
    older.answer(twoPhones);
    settle();
    EXPECT_TRUE(says(QStringLiteral("1 phone connected")));
}

TEST_F(ManagerPhoneTest, RemovesAPhoneAndLoadsAnew) {
    showConfigured();
    answer(QStringLiteral("/devices"), twoPhones);
    click(QStringLiteral("Remove"), 1);
    EXPECT_FALSE(control(QStringLiteral("Remove"), 1)->isEnabled());
    EXPECT_TRUE(control(QStringLiteral("Remove"), 0)->isEnabled());
    ASSERT_EQ(transport.sent.size(), 1);
    EXPECT_EQ(lastRequest().body, R"({"id":"2"})");
    answer(QStringLiteral("/device-remove"), {});
    answer(QStringLiteral("/devices"), onePhone);
    EXPECT_TRUE(says(QStringLiteral("1 phone connected")));
    // A removal that fails leaves it there, and it can be tried again.
    click(QStringLiteral("Remove"));
    transport.sent.takeFirst().fail();
    settle();
    transport.sent.takeFirst().fail();
    settle();
    EXPECT_TRUE(says(QStringLiteral("1 phone connected")));
    EXPECT_TRUE(control(QStringLiteral("Remove"))->isEnabled());
}

TEST_F(ManagerPhoneTest, LoadsAnewOnceAnotherTokenWasTyped) {
    showConfigured();
    answer(QStringLiteral("/devices"), onePhone);
    click(QStringLiteral("Token"));
    key(Qt::Key_Return);
    EXPECT_TRUE(transport.sent.isEmpty());
    retype(QStringLiteral("other"));
    EXPECT_TRUE(transport.sent.isEmpty());
    key(Qt::Key_Return);
    ASSERT_EQ(transport.sent.size(), 1);
    EXPECT_EQ(lastRequest().headers.first().second, "Bearer other");
}

TEST_F(ManagerPhoneTest, SwitchesThePhoneTerminal) {
    show(phoneTab);
    const QString name = QStringLiteral("Phone terminal — run commands on this Mac");
    click(name);
    EXPECT_TRUE(settings.phoneTerminalEnabled());
    EXPECT_TRUE(control(name)->property("checked").toBool());
    key(Qt::Key_C, Qt::AltModifier);
    EXPECT_FALSE(settings.phoneTerminalEnabled());
}

TEST_F(ManagerPhoneTest, ShowsNoPhonesTextAsAnythingElse) {
    showConfigured();
    answer(QStringLiteral("/devices"),
           R"({"devices": [{"id": "1", "label": "<b>a</b>\u202eb", "country": "<i>", "ua": "<u>x</u>\ny"}]})");
    EXPECT_TRUE(says(QStringLiteral("<b>a</b>[U+202E]b")));
    EXPECT_TRUE(says(QStringLiteral("<i>")));
    EXPECT_TRUE(says(QStringLiteral("<u>x</u> y")));
}

TEST(SetupLink, JoinsAddressAndTokenUnescaped) {
    EXPECT_EQ(phoneSetupLink("https://relay.test", "abc"), "https://relay.test/?t=abc");
    EXPECT_EQ(phoneSetupLink("\t https://relay.test/a ", " a+b/c=&d e\t"), "https://relay.test/a/?t=a+b/c=&d e");
}

} // namespace
} // namespace pelorin
