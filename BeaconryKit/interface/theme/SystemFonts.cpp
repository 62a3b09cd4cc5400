#include "BeaconryKit/interface/theme/SystemFonts.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QGuiApplication>

namespace pelorin {

QString SystemFonts::fixedFamily() const {
    return QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
}

QString SystemFonts::textFamily() const {
    return QGuiApplication::font().family();
}

double SystemFonts::textSize() const {
    // The font may have its size in pixels. Its QFontInfo always knows the size in points.
    return QFontInfo(QGuiApplication::font()).pointSizeF();
}

} // namespace pelorin
