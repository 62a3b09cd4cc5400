#include "BeaconryKit/interface/panel/NotchPanelController.h"

#include "BeaconryKit/interface/InterfaceEngine.h"
#include "BeaconryKit/interface/panel/SystemPanelScreens.h"
#include "BeaconryKit/platform/WhileAlive.h"

#include <QAccessible>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>

#include <utility>

namespace pelorin {

namespace {

// The panel hangs over the user's work: a part of the screen stays free of it, however much is waiting.
constexpr double largestShareOfScreen = 0.8;

} // namespace

PanelDependencies makePanelDependencies(std::shared_ptr<InterfaceEngine> engine) {
    return {std::make_unique<SystemPanelScreens>(), makePanelPlatform(),
            engine ? std::move(engine) : std::make_shared<InterfaceEngine>()};
}

NotchPanelController::NotchPanelController(AskStore& store, NotifierSettings& settings, Dispatch& dispatch,
                                           ActionHandler onAction, PanelDependencies dependencies)
    : m_dependencies(std::move(dependencies)),
      m_facade(m_asks),
      m_askList(store, settings, dispatch, m_asks, m_facade, std::move(onAction)),
      m_store(store),
      m_settings(settings),
      m_dispatch(dispatch) {
    QQmlEngine::setObjectOwnership(&m_asks, QQmlEngine::CppOwnership);
    QQmlEngine::setObjectOwnership(&m_facade, QQmlEngine::CppOwnership);
    // The list that the signal carries is not wanted: handing it on to a later turn would keep a copy for each change.
    m_cancellable = connect(&m_store, &AskStore::asksWillChange, this, [this] { scheduleLater(Later::follow); });
    connect(&m_settings, &NotifierSettings::decisionWaitSecondsWillChange, this,
            [this] { scheduleLater(Later::follow); });
    connect(&m_settings, &NotifierSettings::defaultPolicyWillChange, this, [this] { scheduleLater(Later::follow); });
    connect(m_dependencies.screens.get(), &PanelScreens::changed, this, [this] { scheduleLater(Later::follow); });
    connect(&m_facade, &PanelFacade::keyboardWanted, this, &NotchPanelController::takeKeyboard);
    // The rows move with what comes and goes above them.
    connect(&m_facade, &PanelFacade::headChanged, this, [this] {
        if (isShown())
            m_askList.disarm();
    });
    connect(&m_facade, &PanelFacade::keyboardReturned, this, &NotchPanelController::giveKeyboardBack);
    connect(&m_asks, &QAbstractItemModel::rowsInserted, this, [this](const QModelIndex&, int first, int last) {
        alert(first == last ? m_asks.data(m_asks.index(first), AskListModel::summaryRole).toString()
                            : QStringLiteral("%1 asks have come").arg(last - first + 1));
    });
    scheduleLater(Later::follow);
}

NotchPanelController::~NotchPanelController() {
    disconnect(m_cancellable);
    // The scene refers to the facade and the model to its end.
    if (m_panel)
        m_panel->disconnect(this);
    m_facade.disconnect(this);
    m_hosting.reset();
    m_panel.reset();
}

void NotchPanelController::makePanel() {
    if (m_panel)
        return;
    QQmlComponent component(&m_dependencies.engine->qml(), QUrl(QStringLiteral("qrc:/Pelorin/panel/PanelContent.qml")));
    m_hosting.reset(qobject_cast<QQuickItem*>(
        component.createWithInitialProperties({{QStringLiteral("panel"), QVariant::fromValue(&m_facade)}})));
    if (!m_hosting)
        qFatal("The panel's content is broken: %s", qPrintable(component.errorString()));
    QQmlEngine::setObjectOwnership(m_hosting.get(), QQmlEngine::CppOwnership);
    m_panel = std::make_unique<NotchPanel>(*m_dependencies.platform);
    m_panel->setContent(m_hosting.get());

    connect(m_hosting.get(), &QQuickItem::implicitWidthChanged, this, [this] { scheduleLater(Later::layOut); });
    connect(m_hosting.get(), &QQuickItem::implicitHeightChanged, this, [this] { scheduleLater(Later::layOut); });
    connect(m_panel.get(), &NotchPanel::withdrawn, this, &NotchPanelController::finishHiding);
    connect(m_panel.get(), &NotchPanel::escapePressed, this, &NotchPanelController::giveKeyboardBack);
    connect(m_panel.get(), &QWindow::activeChanged, this, [this] {
        // The user has gone to another window.
        if (!m_panel->isActive())
            giveKeyboardBack();
    });
}

NotchPanel& NotchPanelController::panel() {
    makePanel();
    return *m_panel;
}

QQuickItem& NotchPanelController::hosting() {
    makePanel();
    return *m_hosting;
}

bool NotchPanelController::isShown() const {
    return m_panel && m_panel->phase() == NotchPanel::Phase::shown;
}

QRect NotchPanelController::shownFrame() const {
    return isShown() ? m_panel->frame() : QRect();
}

void NotchPanelController::setSilenced(bool silenced) {
    m_silenced = silenced;
    follow();
}

void NotchPanelController::scheduleLater(Later what) {
    m_followsLater = m_followsLater || what == Later::follow;
    if (std::exchange(m_isScheduled, true))
        return;
    m_dispatch.mainQueue().async(whileAlive(this, &NotchPanelController::runLater));
}

void NotchPanelController::runLater() {
    m_isScheduled = false;
    if (std::exchange(m_followsLater, false))
        follow();
    else if (isShown())
        layoutAndShow();
}

void NotchPanelController::follow() {
    m_facade.setAllowsEverything(m_settings.defaultPolicy() == AutoDecision::allow);
    if (m_silenced || !hasContent()) {
        // What is shown stays while it fades.
        hide();
        return;
    }
    // Before the rows, so that the first one comes in like any other.
    makePanel();
    m_askList.follow();
    if (!m_facade.typingRow().isEmpty() && !m_asks.ask(m_facade.typingRow()))
        giveKeyboardBack();
    layoutAndShow();
}

void NotchPanelController::layoutAndShow() {
    const std::optional<PanelScreen> screen = targetScreen(m_dependencies.screens->screens());
    if (!screen) {
        hide();
        return;
    }
    makePanel();
    m_facade.setBounds(screen->topInset, screen->frame.height() * largestShareOfScreen);
    m_panelWidth = panelFrame(*screen, {m_hosting->implicitWidth(), 0}).width();
    m_hosting->setProperty("layoutWidth", m_panelWidth);
    QMetaObject::invokeMethod(m_hosting.get(), "layOut");
    const QRect frame = panelFrame(*screen, {m_hosting->implicitWidth(), m_hosting->implicitHeight()});
    if (isShown() && m_panel->frame().topLeft() != frame.topLeft())
        m_askList.disarm();
    m_panel->present(*screen, frame);
    m_askList.watch();
}

void NotchPanelController::hide() {
    if (!isShown())
        return;
    giveKeyboardBack();
    // What fades takes no clicks any more.
    m_askList.unwatch();
    m_panel->withdraw();
}

void NotchPanelController::alert(const QString& text) {
    if (!m_hosting)
        return;
    QQuickItem* const item = m_hosting->findChild<QQuickItem*>(QStringLiteral("alert"));
    // The same words may come twice.
    m_facade.setAlert({});
    m_facade.setAlert(text);
    QAccessibleEvent event(item, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

bool NotchPanelController::hasContent() const {
    return !m_store.asks().isEmpty() || m_isAnnouncing;
}

void NotchPanelController::announce(const QString& line) {
    if (m_silenced)
        return;
    m_facade.setAnnouncement(line);
    m_isAnnouncing = true;
    // Whoever has clicked in a row may still be in it.
    m_dispatch.mainQueue().async(whileAlive(this, [line](NotchPanelController& self) {
        self.follow();
        self.alert(line);
    }));
    m_dispatch.mainQueue().asyncAfter(
        announcementTime, whileAlive(this, [announcement = ++m_lastAnnouncement](NotchPanelController& self) {
            if (self.m_lastAnnouncement == announcement)
                self.endAnnouncement();
        }));
}

void NotchPanelController::endAnnouncement() {
    m_isAnnouncing = false;
    // Where nothing else is shown the line goes with the panel.
    if (hasContent())
        m_facade.setAnnouncement({});
    follow();
}

void NotchPanelController::finishHiding() {
    if (!m_isAnnouncing)
        m_facade.setAnnouncement({});
    // While silenced the rows stay as they are, with what the user has typed there.
    if (m_store.asks().isEmpty())
        m_askList.clear();
}

void NotchPanelController::takeKeyboard(const QString& askId) {
    if (!isShown())
        return;
    const bool hasKeyboard = !m_facade.typingRow().isEmpty();
    m_facade.setTypingRow(askId);
    if (!hasKeyboard)
        m_dependencies.platform->takeKeyboard(*m_panel);
}

void NotchPanelController::giveKeyboardBack() {
    if (m_facade.typingRow().isEmpty())
        return;
    m_facade.setTypingRow({});
    m_dependencies.platform->giveKeyboardBack(*m_panel);
}

} // namespace pelorin
