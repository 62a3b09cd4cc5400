#include "BeaconryApp/PhoneShell.h"

#include "tests/support/Eventually.h"
#include "tests/support/MemoryUserDefaults.h"

#include <QFile>
#include <QTemporaryDir>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

/// The real shell on real queues.
class PhoneShellTest : public ::testing::Test {
protected:
    PhoneShellTest() { qputenv("SHELL", "/bin/sh"); }
    ~PhoneShellTest() override { qputenv("SHELL", m_shellBefore); }

    void allow(bool allowed) {
        settings.setPhoneTerminalEnabled(allowed);
        gate->refresh(settings);
    }
    bool eventuallyPrints(const QString& text) {
        return eventually([&] { return output.copy().contains(text); });
    }

    const QByteArray m_shellBefore = qgetenv("SHELL");
    QTemporaryDir folder;
    const std::unique_ptr<Dispatch> dispatch = makeSystemDispatch();
    MemoryUserDefaults defaults{{{"relayURL", "https://relay.test"}, {"relayToken", "secret"}}};
    NotifierSettings settings{defaults};
    const std::shared_ptr<RelayGate> gate = std::make_shared<RelayGate>();
    Guarded<QString> output;
    PhoneShell shell{*dispatch, gate, [this](const QString& text) {
                         output.with([&](QString& all) { all += text; });
                     }};
};

TEST_F(PhoneShellTest, StartsWithTheFirstInputAtTheUsualSize) {
    allow(true);
    shell.type("stty size; exec 2>&1\n");
    EXPECT_TRUE(eventuallyPrints("24 80"));
}

TEST_F(PhoneShellTest, StartsWithThePhonesSizeAndFollowsIt) {
    allow(true);
    shell.resize(100, 40);
    shell.type("stty size\n");
    EXPECT_TRUE(eventuallyPrints("40 100"));
    shell.resize(90, 30);
    shell.type("stty size\n");
    EXPECT_TRUE(eventuallyPrints("30 90"));
}

TEST_F(PhoneShellTest, AFreshShellForgetsTheOneBefore) {
    allow(true);
    shell.type("word=kept; echo is-$word\n");
    EXPECT_TRUE(eventuallyPrints("is-kept"));
    shell.restart();
    shell.type("echo is-$word-gone\n");
    EXPECT_TRUE(eventuallyPrints("is--gone"));
}

TEST_F(PhoneShellTest, DoesNothingWhileItIsNotAllowed) {
    const QString started = folder.filePath("started");
    const QString script = folder.filePath("shell");
    QFile file(script);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("#!/bin/sh\necho start >> " + started.toUtf8() + "\nexec /bin/sh -i\n");
    file.close();
    ASSERT_TRUE(file.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    qputenv("SHELL", script.toUtf8());

    allow(false);
    shell.type("echo one\n");
    shell.resize(100, 40);
    shell.restart();
    allow(true);
    shell.type("echo t''wo\n");
    ASSERT_TRUE(eventuallyPrints("two"));
    QFile starts(started);
    ASSERT_TRUE(starts.open(QIODevice::ReadOnly));
    EXPECT_EQ(starts.readAll(), "start\n");
    EXPECT_FALSE(output.copy().contains("one"));
}

TEST_F(PhoneShellTest, StopsAndIsSilentWithoutAShell) {
    shell.stop();
    allow(true);
    shell.type("echo re''ady\n");
    ASSERT_TRUE(eventuallyPrints("ready"));
    allow(false);
    shell.stop();
    shell.type("echo late\n");
    allow(true);
    shell.type("echo ag''ain\n");
    ASSERT_TRUE(eventuallyPrints("again"));
    EXPECT_FALSE(output.copy().contains("late"));
}

} // namespace
} // namespace pelorin
