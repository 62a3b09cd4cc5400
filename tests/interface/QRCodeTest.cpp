#include "BeaconryKit/interface/manager/QRCode.h"

#include "BeaconryKit/interface/manager/PhoneSetup.h"
#include "BeaconryKit/sessions/RelayDefaults.h"

#include <QStringList>
#include <gmock/gmock.h>

#include <memory>
#include <zbar.h>

namespace pelorin {
namespace {

/// What an independent scanner reads in the picture.
QStringList scanned(const QRCode::Bitmap& bitmap) {
    using namespace zbar;
    ImageScanner scanner;
    scanner.set_config(ZBAR_NONE, ZBAR_CFG_ENABLE, 0);
    scanner.set_config(ZBAR_QRCODE, ZBAR_CFG_ENABLE, 1);
    // The bytes as they are, without a guess at their encoding.
    scanner.set_config(ZBAR_QRCODE, ZBAR_CFG_BINARY, 1);
    const auto size = static_cast<unsigned>(bitmap.size);
    Image image(size, size, "Y800", bitmap.pixels.constData(), static_cast<unsigned long>(bitmap.pixels.size()));
    scanner.scan(image);
    QStringList texts;
    for (auto symbol = image.symbol_begin(); symbol != image.symbol_end(); ++symbol)
        texts.append(QString::fromStdString(symbol->get_data()));
    return texts;
}

const QString link = phoneSetupLink(RelayDefaults::url(), "0123456789abcdef0123456789abcdef");

TEST(QRCode, IsReadByAScannerAtAnySize) {
    for (const int size : {100, 135, 176, 177, 200, 264, 352, 353, 500, 1000}) {
        const auto bitmap = QRCode::image(link, size);
        ASSERT_TRUE(bitmap) << size;
        EXPECT_EQ(bitmap->size, size);
        EXPECT_EQ(bitmap->pixels.size(), size * size);
        EXPECT_EQ(scanned(*bitmap), QStringList(link)) << size;
    }
}

TEST(QRCode, CarriesAnyText) {
    const QString texts[] = {"a",
                             "0123456789",
                             "HTTPS://ÜBER.EXAMPLE/?T=",
                             "Grüße an 月 und 🙂",
                             QString(200, 'x'),
                             QString("/?t=%1").arg(QString(900, 'y'))};
    for (const QString& text : texts) {
        const auto bitmap = QRCode::image(text, 1000);
        ASSERT_TRUE(bitmap) << text.toStdString();
        EXPECT_EQ(scanned(*bitmap), QStringList(text));
    }
}

TEST(QRCode, HasWholePixelModulesAndAQuietZone) {
    const auto code = QRCode::encode(link);
    ASSERT_TRUE(code);
    for (const int size : {100, 176, 333}) {
        const auto bitmap = code->bitmap(size);
        ASSERT_TRUE(bitmap);
        const int scale = size / (code->modules() + 8);
        const int margin = (size - scale * code->modules()) / 2;
        EXPECT_GE(margin, 4 * scale);
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const int column = (x - margin) / scale;
                const int row = (y - margin) / scale;
                const bool isInside = x >= margin && y >= margin && column < code->modules() && row < code->modules();
                const char expected = isInside && code->isDark(column, row) ? '\0' : '\xff';
                ASSERT_EQ(bitmap->pixels[y * size + x], expected) << size << ": " << x << ", " << y;
            }
        }
    }
}

TEST(QRCode, CorrectsFifteenPercent) {
    const auto code = QRCode::encode(link);
    ASSERT_TRUE(code);
    // The first two bits of the format information, beside the upper left corner, name the level: 00 for M, and they
    // are written through the mask 10.
    EXPECT_TRUE(code->isDark(0, 8));
    EXPECT_FALSE(code->isDark(1, 8));
}

TEST(QRCode, TakesTextAsBytes) {
    // 14 bytes are the most that the smallest code holds at this level; as digits, 34 would go in.
    EXPECT_EQ(QRCode::encode("01234567890123")->modules(), 21);
    EXPECT_EQ(QRCode::encode("012345678901234")->modules(), 25);
    EXPECT_EQ(QRCode::encode("ÄÄÄÄÄÄÄ")->modules(), 21);
    EXPECT_EQ(QRCode::encode("ÄÄÄÄÄÄÄA")->modules(), 25);
}

TEST(QRCode, HoldsUpToItsCapacity) {
    const auto greatest = QRCode::encode(QString(2331, 'z'));
    ASSERT_TRUE(greatest);
    EXPECT_EQ(greatest->modules(), 177);
    EXPECT_EQ(QRCode::encode(QString(2332, 'z')), std::nullopt);
    EXPECT_EQ(QRCode::encode(""), std::nullopt);
}

TEST(QRCode, IsNotDrawnSmallerThanAPixelAModule) {
    const auto code = QRCode::encode("01234567890123");
    ASSERT_TRUE(code);
    EXPECT_TRUE(code->bitmap(29));
    EXPECT_EQ(code->bitmap(28), std::nullopt);
    EXPECT_EQ(code->bitmap(0), std::nullopt);
    EXPECT_EQ(code->bitmap(-176), std::nullopt);
    EXPECT_EQ(QRCode::image("", 176), std::nullopt);
}

} // namespace
} // namespace pelorin
