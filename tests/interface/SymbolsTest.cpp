#include "BeaconryKit/interface/theme/Symbols.h"

#include "tests/interface/MessageCapture.h"

#include "BeaconryKit/interface/InterfaceEngine.h"
#include "BeaconryKit/interface/theme/SymbolItem.h"

#include <QPainter>
#include <QQuickWindow>
#include <gtest/gtest.h>

namespace pelorin {
namespace {

class SymbolName : public ::testing::TestWithParam<const char*> {
protected:
    QString name() const { return QString::fromLatin1(GetParam()); }
};

TEST_P(SymbolName, IsDrawnWithinItsBox) {
    MessageCapture messages;
    const QRectF outline = Symbols::outline(name()).boundingRect();
    EXPECT_FALSE(outline.isEmpty());
    EXPECT_TRUE(QRectF(0, 0, Symbols::boxSide, Symbols::boxSide).contains(outline))
        << outline.x() << " " << outline.y() << " " << outline.right() << " " << outline.bottom();
    // Large enough to be told from a speck.
    EXPECT_GT(outline.height(), Symbols::boxSide / 3);
    EXPECT_TRUE(messages.warnings().isEmpty());
}

TEST_P(SymbolName, IsDrawnInItsColourAlone) {
    const QImage image = Symbols::image(name(), 24, 2, QColor(10, 200, 30));
    int drawn = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            if (colour.alpha() < 255)
                continue;
            ++drawn;
            EXPECT_EQ(colour, QColor(10, 200, 30));
        }
    }
    EXPECT_GT(drawn, 30);
}

TEST_P(SymbolName, IsAsSharpAtTwiceTheResolutionAsAtTwiceTheSize) {
    QImage dense = Symbols::image(name(), 18, 2, Qt::white);
    EXPECT_EQ(dense.size(), QSize(36, 36));
    EXPECT_EQ(dense.devicePixelRatio(), 2);
    dense.setDevicePixelRatio(1);
    EXPECT_EQ(dense, Symbols::image(name(), 36, 1, Qt::white));
}

INSTANTIATE_TEST_SUITE_P(Symbols, SymbolName,
                         ::testing::Values("checkmark.circle.fill", "xmark.circle.fill", "chevron.down.circle.fill",
                                           "chevron.up.circle.fill", "arrow.up.right.square.fill",
                                           "paperplane.circle.fill", "clock", "bell", "bell.slash", "bell.badge.fill",
                                           "checkmark.circle", "iphone", "antenna.radiowaves.left.and.right",
                                           "arrow.triangle.2.circlepath", "checkmark.seal.fill",
                                           "exclamationmark.triangle.fill", "moon.zzz", "star.circle.fill", "xmark",
                                           "arrow.turn.down.right", "gearshape", "terminal"));

TEST(Symbols, TellsAllNamesApart) {
    const QStringList names = Symbols::names();
    EXPECT_EQ(names.size(), 22);
    for (const QString& one : names) {
        for (const QString& other : names) {
            if (one != other) {
                EXPECT_NE(Symbols::outline(one), Symbols::outline(other));
            }
        }
    }
}

TEST(Symbols, CutsTheGlyphOutOfAFilledShape) {
    const QImage image = Symbols::image(QStringLiteral("xmark.circle.fill"), 24, 4, Qt::white);
    EXPECT_EQ(image.pixelColor(48, 48).alpha(), 0);
    EXPECT_EQ(image.pixelColor(48, 20).alpha(), 255);
    EXPECT_EQ(image.pixelColor(1, 1).alpha(), 0);
}

TEST(Symbols, AnUnknownNameDrawsNothingAndWarns) {
    MessageCapture messages;
    const QImage image = Symbols::image(QStringLiteral("no.such.symbol"), 24, 1, Qt::white);
    QImage nothing(24, 24, QImage::Format_ARGB32_Premultiplied);
    nothing.fill(Qt::transparent);
    EXPECT_EQ(image, nothing);
    ASSERT_EQ(messages.warnings().size(), 1);
    EXPECT_TRUE(messages.warnings().first().contains(QStringLiteral("no.such.symbol")));
}

TEST(Symbols, AreDrawnInTheMiddleOfALongBox) {
    QImage image(60, 20, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        Symbols::draw(painter, QStringLiteral("checkmark.circle.fill"), QRectF(0, 0, 60, 20), Qt::white);
    }
    EXPECT_EQ(image.pixelColor(23, 10).alpha(), 255);
    EXPECT_EQ(image.pixelColor(36, 10).alpha(), 255);
    EXPECT_EQ(image.pixelColor(15, 10).alpha(), 0);
    EXPECT_EQ(image.pixelColor(45, 10).alpha(), 0);
}

TEST(SymbolItem, IsDrawnBySoftware) {
    InterfaceEngine engine;
    engine.qml();
    QQuickWindow window;
    window.setColor(Qt::black);
    window.resize(24, 24);
    SymbolItem item(window.contentItem());
    item.setSize({24, 24});
    item.setSymbol(QStringLiteral("xmark.circle.fill"));
    item.setColor(QColor(255, 0, 0));
    window.show();
    const QImage image = window.grabWindow();
    EXPECT_EQ(image.pixelColor(12, 5), QColor(255, 0, 0));
    EXPECT_EQ(image.pixelColor(12, 12), QColor(0, 0, 0));
    EXPECT_EQ(image.pixelColor(0, 0), QColor(0, 0, 0));
}

} // namespace
} // namespace pelorin
