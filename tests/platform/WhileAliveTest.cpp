#include "BeaconryKit/platform/WhileAlive.h"

#include "tests/support/Eventually.h"
#include "tests/support/ManualDispatch.h"

#include "BeaconryKit/platform/Dispatch.h"

#include <QObject>
#include <QStringList>
#include <gmock/gmock.h>

#include <memory>
#include <thread>

namespace pelorin {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Notes what it is told, in a list that outlives it.
class Listener final : public QObject {
public:
    explicit Listener(QStringList& notes) : m_notes(notes) {}
    void note(const QString& text) { m_notes.append(text); }
    void noteTwo(const QString& first, int second) { note(first + QString::number(second)); }

private:
    QStringList& m_notes;
};

class WhileAliveTest : public ::testing::Test {
protected:
    ManualDispatch dispatch;
    QStringList notes;
    std::unique_ptr<Listener> listener = std::make_unique<Listener>(notes);
};

TEST_F(WhileAliveTest, RunsWithTheObject) {
    dispatch.mainQueue().async(whileAlive(listener.get(), [](Listener& self) { self.note("ran"); }));
    EXPECT_THAT(notes, IsEmpty());
    dispatch.runDue();
    EXPECT_THAT(notes, ElementsAre("ran"));
}

TEST_F(WhileAliveTest, IsDroppedWhenTheObjectHasGone) {
    dispatch.mainQueue().async(whileAlive(listener.get(), [](Listener& self) { self.note("ran"); }));
    listener.reset();
    dispatch.runDue();
    EXPECT_THAT(notes, IsEmpty());
}

TEST_F(WhileAliveTest, IsDroppedWhenAnEarlierTaskOfTheSameBatchDestroysTheObject) {
    const auto system = makeSystemDispatch();
    bool isLast = false;
    system->mainQueue().async([this] { listener.reset(); });
    system->mainQueue().async(whileAlive(listener.get(), [](Listener& self) { self.note("ran"); }));
    system->mainQueue().async([&isLast] { isLast = true; });
    EXPECT_TRUE(eventually([&] { return isLast; }));
    EXPECT_THAT(notes, IsEmpty());
}

TEST_F(WhileAliveTest, RunsAsOftenAsItIsCalledUntilTheObjectIsGone) {
    const auto timer = dispatch.mainQueue().every(
        std::chrono::seconds(1), whileAlive(listener.get(), [](Listener& self) { self.note("tick"); }));
    dispatch.advance(std::chrono::seconds(2));
    EXPECT_THAT(notes, ElementsAre("tick", "tick"));
    listener.reset();
    dispatch.advance(std::chrono::seconds(2));
    EXPECT_THAT(notes, ElementsAre("tick", "tick"));
}

TEST_F(WhileAliveTest, HandsTheArgumentsOn) {
    const std::function<void(const QString&, int)> callback = whileAlive(listener.get(), &Listener::noteTwo);
    callback("asks: ", 3);
    EXPECT_THAT(notes, ElementsAre("asks: 3"));
    listener.reset();
    callback("asks: ", 4);
    EXPECT_THAT(notes, ElementsAre("asks: 3"));
}

TEST_F(WhileAliveTest, PassesThroughOtherThreads) {
    std::thread([this, task = whileAlive(listener.get(), [](Listener& self) { self.note("ran"); })] {
        dispatch.mainQueue().async(task);
    }).join();
    dispatch.runDue();
    EXPECT_THAT(notes, ElementsAre("ran"));
}

} // namespace
} // namespace pelorin
