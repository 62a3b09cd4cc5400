#include "BeaconryKit/interface/panel/NotchPanel.h"

#include <QEasingCurve>
#include <QKeyEvent>
#include <QPainterPath>
#include <QQuickItem>
#include <QRegion>
#include <QSignalBlocker>

#include <utility>

namespace pelorin {

namespace {

int milliseconds(std::chrono::milliseconds duration) {
    return static_cast<int>(duration.count());
}

void run(QVariantAnimation& animation, const QVariant& from, const QVariant& to, std::chrono::milliseconds duration) {
    {
        // An animation that has ended announces its new end at once.
        const QSignalBlocker quiet(animation);
        animation.stop();
        animation.setStartValue(from);
        animation.setEndValue(to);
        animation.setDuration(milliseconds(duration));
    }
    animation.start();
    // For the same reason it may not announce its beginning.
    emit animation.valueChanged(from);
}

QRegion roundedBottom(const QRectF& visible, qreal radius) {
    // The top corners lie above the window's edge.
    QPainterPath path;
    path.addRoundedRect(visible.adjusted(0, -radius, 0, 0), radius, radius);
    return QRegion(path.toFillPolygon().toPolygon());
}

} // namespace

NotchPanel::NotchPanel(PanelPlatform& platform) : m_platform(platform) {
    setFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::Tool | Qt::NoDropShadowWindowHint |
             Qt::WindowDoesNotAcceptFocus | Qt::X11BypassWindowManagerHint);
    setTitle(QStringLiteral("Pelorin"));
    setColor(Qt::transparent);

    m_move.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&m_move, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_contentFrame = value.toRectF();
        placeContent();
    });
    connect(&m_move, &QVariantAnimation::finished, this, [this] {
        placeWindow(m_frame);
        placeContent();
    });

    m_slide.setEasingCurve(QEasingCurve::OutCubic);
    connect(&m_slide, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_lift = value.toReal();
        placeContent();
    });

    m_fade.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&m_fade, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        // Where nothing shows through, content that fades leaves a black box.
        if (m_content)
            m_content->setOpacity(m_fades ? value.toReal() : 1);
    });
    connect(&m_fade, &QVariantAnimation::finished, this, [this] {
        if (m_phase != Phase::leaving)
            return;
        m_phase = Phase::hidden;
        m_platform.retire(*this);
        hide();
        emit withdrawn();
    });
}

NotchPanel::~NotchPanel() = default;

void NotchPanel::setContent(QQuickItem* content) {
    m_content = content;
    m_content->setParentItem(contentItem());
}

void NotchPanel::present(const PanelScreen& screen, const QRect& frame) {
    if (screen.screen && this->screen() != screen.screen)
        setScreen(screen.screen);
    const QRect before = std::exchange(m_frame, frame);
    if (m_phase != Phase::shown) {
        m_move.stop();
        m_contentFrame = frame;
        placeWindow(frame);
        appear();
        return;
    }
    raise();
    if (before == frame) {
        m_platform.place(*this);
        return;
    }
    m_move.stop();
    if (!before.intersects(frame)) {
        // Another screen: there is no way there that a user would want to watch.
        m_contentFrame = frame;
        placeWindow(frame);
        placeContent();
        return;
    }
    placeWindow(m_contentFrame.toAlignedRect().united(frame));
    run(m_move, m_contentFrame, QRectF(frame), moveDuration);
}

void NotchPanel::appear() {
    const bool isFadingOut = m_phase == Phase::leaving;
    m_phase = Phase::shown;
    m_fades = m_platform.isCompositing();
    m_needsMask = !m_fades || m_platform.isMaskForInputOnly();
    if (!m_needsMask)
        setMask({});
    const qreal opacity = isFadingOut && m_content ? m_content->opacity() : 0;
    m_lift = isFadingOut ? m_lift : slideDistance;
    run(m_fade, opacity, 1.0, appearDuration);
    run(m_slide, m_lift, 0.0, appearDuration);
    m_platform.prepare(*this);
    show();
    raise();
}

void NotchPanel::withdraw() {
    if (m_phase != Phase::shown)
        return;
    m_phase = Phase::leaving;
    run(m_fade, m_content ? m_content->opacity() : 1.0, 0.0, fadeDuration);
}

void NotchPanel::placeContent() {
    if (!m_content)
        return;
    const QRectF place = m_contentFrame.translated(-QPointF(m_windowGeometry.topLeft()) - QPointF(0, m_lift));
    m_content->setPosition(place.topLeft());
    m_content->setSize(place.size());
    if (m_needsMask)
        maskCorners(place);
}

void NotchPanel::placeWindow(const QRect& geometry) {
    m_windowGeometry = geometry;
    setGeometry(geometry);
    if (isVisible())
        m_platform.place(*this);
}

void NotchPanel::maskCorners(const QRectF& visible) {
    setMask(roundedBottom(visible, cornerRadius));
}

void NotchPanel::keyPressEvent(QKeyEvent* event) {
    QQuickWindow::keyPressEvent(event);
    if (!event->isAccepted() && event->key() == Qt::Key_Escape)
        emit escapePressed();
}

} // namespace pelorin
