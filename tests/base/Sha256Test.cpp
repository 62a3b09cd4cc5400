#include "BeaconryBase/Sha256.h"

#include <QCryptographicHash>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

TEST(Sha256, IsTheOneThatEverybodyHas) {
    std::string text;
    for (int size = 0; size < 300; ++size) {
        const QByteArray expected =
            QCryptographicHash::hash(QByteArray::fromStdString(text), QCryptographicHash::Sha256).toHex();
        EXPECT_EQ(sha256(text), expected.toStdString()) << size;
        text += static_cast<char>(size * 7);
    }
    EXPECT_EQ(sha256("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

} // namespace
} // namespace pelorin
