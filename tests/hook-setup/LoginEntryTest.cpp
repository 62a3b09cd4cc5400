#include "BeaconrySetup/LoginEntry.h"

#include <QByteArray>
#include <QXmlStreamReader>
#include <gmock/gmock.h>

namespace pelorin::setup {
namespace {

using testing::HasSubstr;

TEST(AutostartText, StartsTheProgram) {
    EXPECT_EQ(autostartText("/usr/bin/pelorin"), "[Desktop Entry]\n"
                                                 "Type=Application\n"
                                                 "Name=Pelorin\n"
                                                 "Comment=Shows what AI coding sessions wait for\n"
                                                 "Exec=\"/usr/bin/pelorin\"\n"
                                                 "Terminal=false\n"
                                                 "X-GNOME-Autostart-enabled=true\n");
}

TEST(AutostartText, QuotesTheProgramsPath) {
    EXPECT_THAT(autostartText("/a b/\"c\"/$d/`e`/\\f/%g"),
                HasSubstr("\nExec=\"/a b/\\\\\"c\\\\\"/\\\\$d/\\\\`e\\\\`/\\\\\\\\f/%%g\"\n"));
}

TEST(LaunchAgentText, StartsTheProgramAtLogin) {
    QXmlStreamReader reader(QByteArray::fromStdString(launchAgentText("/a b/<c>&d/pelorin")));
    QStringList texts;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isCharacters() && !reader.isWhitespace())
            texts.append(reader.text().toString());
        if (reader.isStartElement() && reader.name() == u"true")
            texts.append("true");
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    EXPECT_EQ(texts, (QStringList{"Label", "com.pelorin.manager", "ProgramArguments", "/a b/<c>&d/pelorin", "RunAtLoad",
                                  "true"}));
}

} // namespace
} // namespace pelorin::setup
