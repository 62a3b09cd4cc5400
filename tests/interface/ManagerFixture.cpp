#include "tests/interface/ManagerFixture.h"

#include <QTest>

#include <algorithm>

namespace pelorin {

namespace {

QString nameOf(QQuickItem* item) {
    return item->property("name").toString();
}

} // namespace

ManagerFixture::ManagerFixture()
    : controller(
          parts(), reporter(), [this](const SessionInfo& session) { jumps.push_back(session); }, engine()) {
}

ManagerFixture::~ManagerFixture() = default;

void ManagerFixture::settle() {
    dispatch.runDue();
    ASSERT_TRUE(eventually([this] {
        dispatch.runDue();
        return isLaidOut(window().contentItem());
    }));
}

void ManagerFixture::settleAndArm() {
    settle();
    dispatch.advance(AskListController::settleTime);
    settle();
}

void ManagerFixture::show(Tab tab) {
    controller.show();
    facade().setTab(tab);
    ASSERT_TRUE(eventually([this] { return window().isActive(); }));
    settleAndArm();
}

QList<QQuickItem*> ManagerFixture::visible(const QByteArray& type) {
    QList<QQuickItem*> items = itemsOfType(window().contentItem(), type);
    items.removeIf([](QQuickItem* item) { return !item->isVisible(); });
    std::ranges::stable_sort(items, {}, [](QQuickItem* item) { return item->mapToScene({0, 0}).y(); });
    return items;
}

QStringList ManagerFixture::texts() {
    QStringList texts;
    for (QQuickItem* item : visible("QQuickText"))
        texts.append(item->property("text").toString());
    return texts;
}

QStringList ManagerFixture::symbols() {
    QStringList names;
    for (QQuickItem* item : visible("pelorin::SymbolItem"))
        names.append(item->property("symbol").toString());
    return names;
}

QStringList ManagerFixture::controls() {
    QStringList names;
    for (const char* type : {"Pressable", "TextLine", "NumberLine", "ChoiceBar", "SelectableText"}) {
        for (QQuickItem* item : visible(type))
            names.append(nameOf(item));
    }
    return names;
}

bool ManagerFixture::hasControl(const QString& name) {
    return controls().contains(name);
}

QQuickItem* ManagerFixture::control(const QString& name, int nth) {
    for (const char* type : {"Pressable", "TextLine", "NumberLine", "ChoiceBar", "SelectableText"}) {
        for (QQuickItem* item : visible(type)) {
            if (nameOf(item) == name && nth-- == 0)
                return item;
        }
    }
    ADD_FAILURE() << "There is no control " << name.toStdString() << "; there are "
                  << controls().join(QStringLiteral(", ")).toStdString();
    return nullptr;
}

void ManagerFixture::click(QQuickItem* item) {
    ASSERT_NE(item, nullptr);
    for (QQuickItem* follower : visible("FocusFollower"))
        QMetaObject::invokeMethod(follower, "reveal", Q_ARG(QQuickItem*, item));
    settle();
    const QPoint place = middleOf(item);
    QTest::mouseMove(&window(), place);
    QTest::mouseClick(&window(), Qt::LeftButton, {}, place);
    settle();
}

void ManagerFixture::key(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(&window(), key, modifiers);
    settle();
}

void ManagerFixture::type(const QString& text) {
    for (const QChar character : text)
        QTest::keyClick(&window(), character.toLatin1());
    settle();
}

void ManagerFixture::retype(const QString& text) {
    QTest::keyClick(&window(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&window(), Qt::Key_Backspace);
    type(text);
}

void ManagerFixture::answer(const QString& path, const QByteArray& body, int status) {
    ASSERT_FALSE(transport.sent.isEmpty()) << "Nothing was sent.";
    const FakeHTTPTransport::Sent sent = transport.sent.takeFirst();
    EXPECT_EQ(sent.request.url.path(), path);
    sent.answer(body, status);
    settle();
}

} // namespace pelorin
