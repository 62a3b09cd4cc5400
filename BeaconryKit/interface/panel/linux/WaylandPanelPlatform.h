#pragma once

#include "BeaconryKit/interface/panel/PanelPlatform.h"

#include <QObject>
#include <QSize>

#include <cstdint>
#include <memory>

struct wl_display;
struct wl_output;
struct zwlr_layer_shell_v1;
struct zwlr_layer_surface_v1;

namespace pelorin {

/// The panel on a Wayland compositor that has a layer shell: the window is a surface of the overlay layer, hung from
/// the top edge of its output, over bars and full-screen windows, on all workspaces, and off the keyboard.
///
/// A surface gets such a place only once in its life, so each time it is shown, or goes to another output, the window
/// gets a new one. Main thread.
class WaylandPanelPlatform final : public QObject, public PanelPlatform {
public:
    /// Nothing when the compositor has no layer shell. The connection is the toolkit's and must outlive the object.
    static std::unique_ptr<WaylandPanelPlatform> make(wl_display* connection);
    ~WaylandPanelPlatform() override;

    void prepare(QWindow& window) override;
    void place(QWindow& window) override;
    void retire(QWindow& window) override;
    bool isCompositing() const override;
    bool isMaskForInputOnly() const override;
    void takeKeyboard(QWindow& window) override;
    void giveKeyboardBack(QWindow& window) override;

    /// The compositor has settled the surface's size, which waits for the answer.
    void configure(std::uint32_t serial);
    /// The compositor has taken the surface off the screen, which happens when its output goes.
    void close() { m_isClosed = true; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    WaylandPanelPlatform(wl_display* connection, zwlr_layer_shell_v1* shell);
    bool hasPlaceFor(const QWindow& window) const;
    void resize(const QWindow& window);
    void setKeyboard(QWindow& window, bool takesKeyboard);
    void dropPlace();

    wl_display* m_connection;
    zwlr_layer_shell_v1* m_shell;
    zwlr_layer_surface_v1* m_place = nullptr;
    wl_output* m_output = nullptr;
    QSize m_size;
    bool m_isClosed = false;
    bool m_takesKeyboard = false;
};

} // namespace pelorin
