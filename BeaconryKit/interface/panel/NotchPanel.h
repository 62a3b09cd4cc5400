#pragma once

#include "BeaconryKit/interface/panel/PanelPlatform.h"
#include "BeaconryKit/interface/panel/PanelScreens.h"

#include <QQuickWindow>
#include <QRectF>
#include <QVariantAnimation>

#include <chrono>

namespace pelorin {

/// The window of the panel: it hangs over everything, on all desktops, and takes no focus. The window itself stands
/// still; what moves and fades is the content inside of it, since a window can be neither slid smoothly nor made
/// translucent everywhere. Main thread.
class NotchPanel final : public QQuickWindow {
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds moveDuration{250};
    static constexpr std::chrono::milliseconds appearDuration{350};
    static constexpr std::chrono::milliseconds fadeDuration{250};
    /// How far above its place the panel starts, in device-independent pixels.
    static constexpr int slideDistance = 12;
    /// The radius of the bottom corners.
    static constexpr int cornerRadius = 20;

    enum class Phase { hidden, shown, leaving };

    /// The platform must outlive the window.
    explicit NotchPanel(PanelPlatform& platform);
    ~NotchPanel() override;

    /// What the panel shows. It is given its place and its size, and stays its owner's.
    void setContent(QQuickItem* content);

    Phase phase() const { return m_phase; }

    /// The frame that the panel has or is on its way to, in the desktop's coordinates.
    QRect frame() const { return m_frame; }

    /// Moves to the frame, or slides and fades in there when the panel is not shown. Never takes the focus.
    void present(const PanelScreen& screen, const QRect& frame);

    /// Fades out, then leaves the screen. Does nothing unless the panel is shown.
    void withdraw();

signals:
    /// The panel has left the screen.
    void withdrawn();
    /// Escape was pressed and nothing in the scene wanted it.
    void escapePressed();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void appear();
    void placeContent();
    void placeWindow(const QRect& geometry);
    void maskCorners(const QRectF& visible);

    PanelPlatform& m_platform;
    QQuickItem* m_content = nullptr;
    Phase m_phase = Phase::hidden;
    QRect m_frame;
    // Where the content is now, on the way to m_frame.
    QRectF m_contentFrame;
    QRect m_windowGeometry;
    qreal m_lift = 0;
    bool m_needsMask = false;
    // Whether what fades lets through what lies beneath.
    bool m_fades = true;
    QVariantAnimation m_move;
    QVariantAnimation m_slide;
    QVariantAnimation m_fade;
};

} // namespace pelorin
