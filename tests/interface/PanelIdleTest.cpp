#include "tests/interface/PanelFixture.h"

namespace pelorin {
namespace {

using namespace std::chrono_literals;

using PanelIdleTest = PanelFixture;

TEST_F(PanelIdleTest, HasNoTimerUnlessSomethingCountsDown) {
    show({noticeAsk(a)});
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
    store.upsert(permission(b));
    settleAndArm();
    EXPECT_EQ(dispatch.waitingTasks(), 1U);
    dispatch.advance(60s);
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
    store.remove(b);
    store.upsert(permission(c));
    settleAndArm();
    EXPECT_EQ(dispatch.waitingTasks(), 1U);
    controller->setSilenced(true);
    settle();
    dispatch.advance(1s);
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
}

class PanelPainting : public PanelFixture {
protected:
    PanelPainting() {
        QObject::connect(
            &panel(), &QQuickWindow::afterRendering, &panel(), [this] { ++m_frames; }, Qt::DirectConnection);
    }

    /// Whether another frame is painted within a moment that is long for a frame.
    bool paintsAnother() {
        m_frames = 0;
        return eventually([this] { return m_frames > 0; }, 250ms);
    }

    /// Waits for the last frame of what has just happened.
    void comeToRest() {
        int frames = 0;
        while (paintsAnother() && frames < 1000)
            ++frames;
        ASSERT_LT(frames, 1000);
    }

private:
    int m_frames = 0;
};

TEST_F(PanelPainting, StopsWhileNothingChanges) {
    show({noticeAsk(a), noticeAsk(b)});
    comeToRest();
    EXPECT_FALSE(paintsAnother());
    store.remove(a);
    store.remove(b);
    settle();
    EXPECT_FALSE(paintsAnother());
}

TEST_F(PanelPainting, PaintsOneFrameForASecondOfCountdown) {
    show({permission(a)});
    comeToRest();
    dispatch.advance(1s);
    EXPECT_TRUE(paintsAnother());
    EXPECT_FALSE(paintsAnother());
}

} // namespace
} // namespace pelorin
