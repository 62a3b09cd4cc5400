#include "BeaconryKit/interface/status/linux/TrayIcon.h"

#include "BeaconryKit/interface/status/linux/MenuPopup.h"
#include "BeaconryKit/interface/status/linux/StatusPixmaps.h"
#include "BeaconryKit/interface/status/linux/TipWindow.h"
#include "BeaconryKit/platform/linux/X11Requests.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <algorithm>

namespace pelorin {

namespace {

constexpr std::uint32_t requestDock = 0;
constexpr std::uint32_t embedVersion = 0;
constexpr std::uint32_t embedMapped = 1;
constexpr std::uint16_t firstSide = 24;
constexpr std::uint8_t depthWithAlpha = 32;
constexpr qsizetype digitLimit = 2;
constexpr int smallestDigits = 6;
/// Dark enough for white digits.
const QColor countColour(0xc4, 0x1a, 0x1a);

std::uint8_t depthOf(const xcb_screen_t* screen, xcb_visualid_t visual) {
    for (auto depths = xcb_screen_allowed_depths_iterator(screen); depths.rem > 0; xcb_depth_next(&depths)) {
        for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem > 0; xcb_visualtype_next(&visuals)) {
            if (visuals.data->visual_id == visual)
                return depths.data->depth;
        }
    }
    return 0;
}

/// A mark with the number at the lower right: the bell's own badge is above.
void paintCount(QPainter& painter, const QRect& square, const QString& number) {
    if (number.isEmpty())
        return;
    const QString text = number.size() > digitLimit ? QStringLiteral("99+") : number;
    const int height = std::max(square.height() * 9 / 16, 10);
    QFont font = QGuiApplication::font();
    font.setPixelSize(height - 2);
    font.setBold(true);
    const auto textWidth = [&] {
        return QFontMetrics(font).horizontalAdvance(text) + 4;
    };
    while (textWidth() > square.width() && font.pixelSize() > smallestDigits)
        font.setPixelSize(font.pixelSize() - 1);
    const int width = std::min(std::max(height, textWidth()), square.width());
    const QRect mark(square.right() + 1 - width, square.bottom() + 1 - height, width, height);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(countColour);
    painter.drawRoundedRect(mark, height / 2.0, height / 2.0);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(mark, Qt::AlignCenter, text);
}

QImage::Format formatOf(std::uint8_t depth) {
    return depth == depthWithAlpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
}

} // namespace

TrayIcon::TrayIcon(xcb_connection_t* connection, int screenNumber)
    : m_connection(connection),
      m_screenNumber(screenNumber),
      m_selection(internAtom(connection, ("_NET_SYSTEM_TRAY_S" + QByteArray::number(screenNumber)).constData())),
      m_managerMessage(internAtom(connection, "MANAGER")),
      m_activeWindow(internAtom(connection, "_NET_ACTIVE_WINDOW")),
      m_stacking(internAtom(connection, "_NET_CLIENT_LIST_STACKING")) {
    // The toolkit listens at the root window, where a tray says that it has started, and a window manager what is in
    // front.
    qApp->installNativeEventFilter(this);
}

TrayIcon::~TrayIcon() {
    delete m_popup;
    undock();
}

void TrayIcon::setWanted(bool isWanted) {
    m_isWanted = isWanted;
    if (isWanted)
        trayStarted();
    else
        undock();
}

void TrayIcon::setIcon(const StatusIcon& icon) {
    m_icon = icon;
    if (!m_window)
        return;
    setName();
    if (m_tip)
        m_tip->setText(name());
    paint();
}

void TrayIcon::trayStarted() {
    const auto owner =
        take(xcb_get_selection_owner_reply(m_connection, xcb_get_selection_owner(m_connection, m_selection), nullptr));
    m_tray = owner ? owner->owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
    if (m_tray == XCB_WINDOW_NONE)
        return;
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection, m_tray, XCB_CW_EVENT_MASK, &events);
    if (m_isWanted && !m_window)
        dock();
}

void TrayIcon::trayEnded() {
    undock();
    // Another one may have taken over meanwhile.
    trayStarted();
}

std::uint32_t TrayIcon::trayVisual() const {
    return numberProperty(m_connection, m_tray, "_NET_SYSTEM_TRAY_VISUAL", XCB_ATOM_VISUALID);
}

void TrayIcon::dock() {
    createWindow();
    setName();
    setText(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, QByteArrayLiteral("pelorin\0Pelorin\0"));
    const std::uint32_t embedding[] = {embedVersion, embedMapped};
    const xcb_atom_t embedInfo = internAtom(m_connection, "_XEMBED_INFO");
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, embedInfo, embedInfo, 32, 2, embedding);
    sendDockRequest();
    xcb_flush(m_connection);
}

void TrayIcon::createWindow() {
    const xcb_screen_t* const screen = screenOf(m_connection, m_screenNumber);
    const std::uint32_t events = XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_BUTTON_PRESS |
                                 XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_ENTER_WINDOW |
                                 XCB_EVENT_MASK_LEAVE_WINDOW;
    const xcb_visualid_t visual = trayVisual();
    m_window = xcb_generate_id(m_connection);
    m_depth = visual == 0 ? 0 : depthOf(screen, visual);
    m_size = QSize(firstSide, firstSide);
    if (m_depth == depthWithAlpha) {
        m_colormap = xcb_generate_id(m_connection);
        xcb_create_colormap(m_connection, XCB_COLORMAP_ALLOC_NONE, m_colormap, screen->root, visual);
        const std::uint32_t values[] = {0, 0, events, m_colormap};
        xcb_create_window(m_connection, m_depth, m_window, screen->root, -1, -1, firstSide, firstSide, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP, values);
        return;
    }
    m_depth = screen->root_depth;
    const std::uint32_t values[] = {XCB_BACK_PIXMAP_PARENT_RELATIVE, events};
    xcb_create_window(m_connection, m_depth, m_window, screen->root, -1, -1, firstSide, firstSide, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXMAP | XCB_CW_EVENT_MASK,
                      values);
}

void TrayIcon::sendDockRequest() const {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = m_tray;
    message.type = internAtom(m_connection, "_NET_SYSTEM_TRAY_OPCODE");
    message.data.data32[0] = XCB_CURRENT_TIME;
    message.data.data32[1] = requestDock;
    message.data.data32[2] = m_window;
    xcb_send_event(m_connection, 0, m_tray, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&message));
}

QString TrayIcon::name() const {
    return QString::fromUtf16(accessibilityDescription) + m_icon.title;
}

void TrayIcon::setName() const {
    const QByteArray text = name().toUtf8();
    setText(internAtom(m_connection, "_NET_WM_NAME"), internAtom(m_connection, "UTF8_STRING"), text);
    // The count is in ASCII digits: the older property can hold it all.
    setText(XCB_ATOM_WM_NAME, XCB_ATOM_STRING, text);
}

void TrayIcon::setText(std::uint32_t property, std::uint32_t type, const QByteArray& text) const {
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, property, type, 8,
                        static_cast<std::uint32_t>(text.size()), text.constData());
}

void TrayIcon::undock() {
    m_isDocked = false;
    m_tip.reset();
    if (const auto window = std::exchange(m_window, 0))
        xcb_destroy_window(m_connection, window);
    if (const auto colormap = std::exchange(m_colormap, 0))
        xcb_free_colormap(m_connection, colormap);
    xcb_flush(m_connection);
}

// What the tray shows beneath, where the window can't be transparent.
QImage TrayIcon::background() const {
    QImage image(m_size, formatOf(m_depth));
    image.fill(m_depth == depthWithAlpha ? Qt::transparent : Qt::black);
    if (m_depth == depthWithAlpha)
        return image;
    xcb_clear_area(m_connection, 0, m_window, 0, 0, 0, 0);
    const auto reply = take(xcb_get_image_reply(m_connection,
                                                xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_window, 0, 0,
                                                              static_cast<std::uint16_t>(m_size.width()),
                                                              static_cast<std::uint16_t>(m_size.height()), ~0U),
                                                nullptr));
    if (reply && xcb_get_image_data_length(reply.get()) == image.sizeInBytes())
        std::copy_n(xcb_get_image_data(reply.get()), image.sizeInBytes(), image.bits());
    return image;
}

void TrayIcon::paint() const {
    if (m_icon.symbol.isEmpty() || m_size.isEmpty() || !m_isDocked)
        return;
    QImage image = background();
    const int side = std::min(m_size.width(), m_size.height());
    QPainter painter(&image);
    const QRect square((m_size.width() - side) / 2, (m_size.height() - side) / 2, side, side);
    painter.drawImage(square.topLeft(), statusImage(m_icon.symbol, side));
    paintCount(painter, square, m_icon.title.trimmed());
    painter.end();
    put(image);
}

void TrayIcon::put(const QImage& image) const {
    const xcb_gcontext_t context = xcb_generate_id(m_connection);
    xcb_create_gc(m_connection, context, m_window, 0, nullptr);
    xcb_put_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_window, context, static_cast<std::uint16_t>(image.width()),
                  static_cast<std::uint16_t>(image.height()), 0, 0, 0, m_depth,
                  static_cast<std::uint32_t>(image.sizeInBytes()), image.constBits());
    xcb_free_gc(m_connection, context);
    xcb_flush(m_connection);
}

bool TrayIcon::nativeEventFilter(const QByteArray&, void* message, qintptr*) {
    const auto* const event = static_cast<const xcb_generic_event_t*>(message);
    switch (event->response_type & 0x7f) {
    case XCB_CLIENT_MESSAGE: {
        const auto* const notice = reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (notice->type == m_managerMessage && notice->data.data32[1] == m_selection)
            trayStarted();
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const xcb_window_t window = reinterpret_cast<const xcb_destroy_notify_event_t*>(event)->window;
        if (m_tray && window == m_tray)
            trayEnded();
        else if (m_window && window == m_window)
            m_window = 0;
        break;
    }
    case XCB_REPARENT_NOTIFY: {
        const auto* const notice = reinterpret_cast<const xcb_reparent_notify_event_t*>(event);
        if (m_window && notice->window == m_window)
            m_isDocked = notice->parent != screenOf(m_connection, m_screenNumber)->root;
        break;
    }
    case XCB_CONFIGURE_NOTIFY: {
        const auto* const notice = reinterpret_cast<const xcb_configure_notify_event_t*>(event);
        if (!m_window || notice->window != m_window)
            break;
        m_size = QSize(notice->width, notice->height);
        paint();
        break;
    }
    case XCB_EXPOSE: {
        const auto* const notice = reinterpret_cast<const xcb_expose_event_t*>(event);
        if (m_window && notice->window == m_window && notice->count == 0)
            paint();
        break;
    }
    case XCB_BUTTON_PRESS: {
        const auto* const press = reinterpret_cast<const xcb_button_press_event_t*>(event);
        // Buttons beyond the third are the wheel's.
        if (m_window && press->event == m_window && press->detail <= XCB_BUTTON_INDEX_3)
            openMenu(QPoint(press->root_x, press->root_y));
        break;
    }
    case XCB_ENTER_NOTIFY: {
        const auto* const crossing = reinterpret_cast<const xcb_enter_notify_event_t*>(event);
        if (m_window && crossing->event == m_window && crossing->mode == XCB_NOTIFY_MODE_NORMAL)
            showTip(QPoint(crossing->root_x, crossing->root_y));
        break;
    }
    case XCB_LEAVE_NOTIFY: {
        if (m_window && reinterpret_cast<const xcb_leave_notify_event_t*>(event)->event == m_window)
            m_tip.reset();
        break;
    }
    case XCB_PROPERTY_NOTIFY:
        keepPopupInFront(reinterpret_cast<const xcb_property_notify_event_t*>(event)->atom);
        break;
    default:
        break;
    }
    return false;
}

void TrayIcon::showTip(const QPoint& place) {
    if (m_popup)
        return;
    m_tip = std::make_unique<TipWindow>();
    m_tip->showAt(place / qApp->devicePixelRatio(), name());
}

// A window that opens or is raised meanwhile comes above the popup, which no window manager knows.
void TrayIcon::keepPopupInFront(std::uint32_t changedProperty) const {
    if (m_popup && (changedProperty == m_activeWindow || changedProperty == m_stacking))
        m_popup->raise();
}

void TrayIcon::openMenu(const QPoint& place) {
    if (m_popup)
        return;
    m_tip.reset();
    m_popup = new MenuPopup(m_menu, [this](const MenuItem& item) {
        if (m_handlers.onTriggered)
            m_handlers.onTriggered(item.action, item.representedObject);
    });
    connect(m_popup, &MenuPopup::closed, this, [this] { m_popup = nullptr; });
    // The server counts in the screen's own pixels.
    m_popup->popUp(place / qApp->devicePixelRatio());
}

} // namespace pelorin
