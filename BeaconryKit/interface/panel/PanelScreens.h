#pragma once

#include <QList>
#include <QObject>
#include <QRect>
#include <QString>

#include <optional>

class QScreen;

namespace pelorin {

/// One screen, as far as the panel's place depends on it.
struct PanelScreen {
    /// The full frame in the desktop's coordinates, y downwards, in device-independent pixels.
    QRect frame;
    /// How much of the top edge a camera notch takes, in the same units; 0 without one.
    int topInset = 0;
    /// Whether it is the main screen.
    bool isMain = false;
    /// The toolkit's screen; nothing where the screens are made up.
    QScreen* screen = nullptr;

    bool operator==(const PanelScreen&) const = default;
};

/// The screen that the panel hangs on: the first with a notch, else the main one, else the first; nothing without any.
std::optional<PanelScreen> targetScreen(const QList<PanelScreen>& screens);

/// The frame of a panel whose content wants `fitting`: at least 460 wide and never wider or higher than the screen,
/// centred, flush with the screen's top edge.
QRect panelFrame(const PanelScreen& screen, const QSizeF& fitting);

/// The least width of the panel.
constexpr int minimumPanelWidth = 460;

/// The screens at hand. Lives on the main thread.
class PanelScreens : public QObject {
    Q_OBJECT

public:
    virtual QList<PanelScreen> screens() const = 0;

signals:
    /// A screen came, went, moved or changed its size, or another one became the main one.
    void changed();
};

} // namespace pelorin
