#include "BeaconryKit/interface/manager/ManagerWindowController.h"

#include "BeaconryKit/interface/InterfaceEngine.h"
#include "BeaconryKit/interface/manager/ManagerFacade.h"
#include "BeaconryKit/interface/manager/ManagerWindow.h"
#include "BeaconryKit/interface/manager/WindowPlace.h"
#include "BeaconryKit/interface/theme/DesktopScheme.h"
#include "BeaconryKit/platform/WhileAlive.h"

#include <QQmlEngine>
#include <QQuickItem>
#include <QScreen>

#include <algorithm>
#include <utility>

namespace pelorin {

namespace {

ManagerFacade::DesktopScheme facadeScheme(DesktopScheme::Scheme scheme) {
    switch (scheme) {
    case DesktopScheme::Scheme::dark:
        return ManagerFacade::DarkScheme;
    case DesktopScheme::Scheme::light:
        return ManagerFacade::LightScheme;
    case DesktopScheme::Scheme::unspecified:
        break;
    }
    return ManagerFacade::UnspecifiedScheme;
}

/// The size that an item wants to have, within the screen.
QSize fitting(QSizeF size, const QScreen* screen) {
    const QSize available = screen ? screen->availableSize() : QSize();
    return available.isEmpty() ? size.toSize() : size.toSize().boundedTo(available);
}

// About what a window manager puts around a window. It tells only once it has.
constexpr QMargins usualFrame(2, 30, 2, 2);

} // namespace

struct ManagerWindowController::Content {
    explicit Content(ManagerWindowController& owner)
        : pending(asks),
          askList(owner.m_parts.store, owner.m_parts.settings, owner.m_parts.dispatch, asks, pending,
                  owner.m_onAskAction),
          phone(owner.m_parts.settings, owner.m_parts.relay, owner.m_parts.provisioner),
          hooks(owner.m_parts.dispatch, owner.m_parts.hooks),
          actions(owner.m_parts.store, owner.m_parts.registry, owner.m_parts.settings),
          settings(owner.m_parts.settings, actions),
          facade({actions, owner.m_parts.registry, pending, sessions, phone, hooks, settings}),
          scheme(DesktopScheme::ofDesktop()),
          window(&owner.m_engine->qml()) {
        asks.setEndOfWait(owner.m_endOfWait);
        for (QObject* object : std::initializer_list<QObject*>{&asks, &pending, &sessions, phone.phones(), &phone,
                                                               &hooks, &settings, &facade})
            QQmlEngine::setObjectOwnership(object, QQmlEngine::CppOwnership);
    }

    AskListModel asks;
    AskActions pending;
    AskListController askList;
    SessionListModel sessions;
    PhoneSetup phone;
    HookSetup hooks;
    SessionActions actions;
    SettingsFacade settings;
    ManagerFacade facade;
    std::unique_ptr<DesktopScheme> scheme;
    // The scene refers to all of the above to its end.
    ManagerWindow window;
};

ManagerWindowController::ManagerWindowController(ManagerParts parts, AskActionHandler onAskAction, JumpHandler onJump,
                                                 std::shared_ptr<InterfaceEngine> engine)
    : m_parts(std::move(parts)),
      m_onAskAction(std::move(onAskAction)),
      m_onJump(std::move(onJump)),
      m_engine(std::move(engine)) {
}

ManagerWindowController::~ManagerWindowController() {
    if (m_content)
        m_content->window.disconnect(this);
}

ManagerWindow* ManagerWindowController::window() const {
    return m_content ? &m_content->window : nullptr;
}

ManagerFacade* ManagerWindowController::facade() const {
    return m_content ? &m_content->facade : nullptr;
}

void ManagerWindowController::show() {
    if (!m_content)
        makeContent();
    ManagerWindow& window = m_content->window;
    if (window.windowStates() & Qt::WindowMinimized)
        window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
    place();
    window.setVisible(true);
    window.raise();
    window.requestActivate();
}

void ManagerWindowController::place() {
    ManagerWindow& window = m_content->window;
    const QRect taken = m_taken ? m_taken() : QRect();
    const bool wasPlaced = std::exchange(m_wasShown, true);
    // A window that is in nobody's way stays where the user has put it.
    if (taken.isEmpty() || !window.screen() || (wasPlaced && !window.frameGeometry().intersects(taken)))
        return;
    const QMargins frame = window.isVisible() ? window.frameMargins() : usualFrame;
    const QRect place = windowPlace({.wanted = window.size().grownBy(frame),
                                     .smallest = window.minimumSize().grownBy(frame),
                                     .available = window.screen()->availableGeometry(),
                                     .taken = taken});
    window.resize(place.size().shrunkBy(frame));
    window.setFramePosition(place.topLeft());
}

bool ManagerWindowController::announce(const QString& line) {
    if (!m_content || !m_content->window.isActive())
        return false;
    m_content->facade.setAnnouncement(line);
    m_parts.dispatch.mainQueue().asyncAfter(
        announcementTime, whileAlive(this, [announcement = ++m_lastAnnouncement](ManagerWindowController& self) {
            if (self.m_lastAnnouncement == announcement)
                self.m_content->facade.setAnnouncement({});
        }));
    return true;
}

void ManagerWindowController::makeContent() {
    if (!m_engine)
        m_engine = std::make_shared<InterfaceEngine>();
    m_content = std::make_unique<Content>(*this);
    ManagerWindow& window = m_content->window;
    ManagerFacade& facade = m_content->facade;

    window.setInitialProperties({{QStringLiteral("manager"), QVariant::fromValue(&facade)}});
    window.setSource(QUrl(QStringLiteral("qrc:/Pelorin/manager/ManagerView.qml")));
    const QQuickItem* const root = window.rootObject();
    if (!root)
        qFatal("The manager window's content is broken.");
    window.setMinimumSize(
        fitting({root->property("minimumWidth").toReal(), root->property("minimumHeight").toReal()}, window.screen()));
    window.resize(fitting({root->implicitWidth(), root->implicitHeight()}, window.screen()));

    connect(&window, &QWindow::visibleChanged, this, &ManagerWindowController::shownChanged);
    connect(&window, &QWindow::activeChanged, this, [this] {
        // The hooks may have been installed or removed elsewhere meanwhile.
        if (m_content->window.isActive() && !m_content->hooks.isBusy())
            m_content->hooks.refresh();
    });
    connect(m_content->scheme.get(), &DesktopScheme::changed, this,
            [this] { m_content->facade.setDesktopScheme(facadeScheme(m_content->scheme->scheme())); });
    connect(&window, &ManagerWindow::mnemonicKeyChanged, &facade, &ManagerFacade::setShowsMnemonics);
    connect(&facade, &ManagerFacade::jumpWanted, this, [this](const QString& sessionId) {
        if (const auto session = m_parts.registry.session(sessionId))
            m_onJump(*session);
    });
    connect(&facade, &ManagerFacade::closeWanted, &window, &QWindow::close);

    connect(&m_parts.store, &AskStore::objectWillChange, this, &ManagerWindowController::scheduleFollowing);
    connect(&m_parts.registry, &SessionRegistry::objectWillChange, this, &ManagerWindowController::scheduleFollowing);
    connect(&m_parts.settings, &NotifierSettings::objectWillChange, this, &ManagerWindowController::scheduleFollowing);
}

void ManagerWindowController::shownChanged(bool isShown) {
    if (isShown) {
        follow();
        m_content->hooks.refresh();
        m_content->askList.watch();
    } else {
        m_content->askList.unwatch();
    }
    m_content->facade.setShown(isShown);
}

void ManagerWindowController::scheduleFollowing() {
    // A hidden window catches up when it is shown.
    if (!m_content->window.isVisible() || std::exchange(m_isScheduled, true))
        return;
    m_parts.dispatch.mainQueue().async(whileAlive(this, [](ManagerWindowController& self) {
        self.m_isScheduled = false;
        if (self.m_content->window.isVisible())
            self.follow();
    }));
}

void ManagerWindowController::follow() {
    m_content->askList.follow();
    m_content->sessions.follow(m_parts.registry);
    emit m_content->settings.changed();
    emit m_content->phone.setupLinkChanged();
}

} // namespace pelorin
