#include "tests/interface/LivePanel.h"

namespace pelorin {

namespace {

QQuickItem* find(QQuickItem* root, const QString& name) {
    if (root->isVisible() &&
        (root->property("name") == name || (name == QStringLiteral("Reply") && root->inherits("QQuickTextInput"))))
        return root;
    for (QQuickItem* child : root->childItems()) {
        if (QQuickItem* const found = find(child, name))
            return found;
    }
    return nullptr;
}

} // namespace

LivePanel::LivePanel() : dispatch(makeSystemDispatch()) {
    controller = std::make_unique<NotchPanelController>(
        store, settings, *dispatch, [this](const AskEvent&, const AskAction& action) { reports.append(action); });
}

LivePanel::~LivePanel() {
    controller->setSilenced(true);
    eventually([this] { return controller->panel().phase() == NotchPanel::Phase::hidden; });
}

void LivePanel::show(const AskEvent& ask) {
    store.upsert(ask);
    ASSERT_TRUE(eventually([&] { return isStill(); }));
}

void LivePanel::showReplyField() {
    show(withAnswers(ask(), {}));
    controller->asks().setFold(id, AskListModel::Fold::expanded);
    EXPECT_TRUE(eventually([&] { return control(reply) && isStill(); }));
}

bool LivePanel::isStill() const {
    const QQuickItem& content = controller->hosting();
    const QQuickItem* const button = control(allow);
    return button && button->property("armed").toBool() && content.y() == 0 && content.opacity() == 1 &&
           content.size() == QSizeF(controller->panel().frame().size()) &&
           qCeil(content.implicitHeight()) == controller->panel().frame().height() && isLaidOut(&controller->hosting());
}

QQuickItem* LivePanel::control(const QString& name) const {
    return find(&controller->hosting(), name);
}

QPoint LivePanel::placeOf(const QString& name) const {
    const QQuickItem* const item = control(name);
    if (!item) {
        ADD_FAILURE() << "There is no " << name.toStdString();
        return {};
    }
    // Not every windowing system tells a window where it is.
    return controller->panel().frame().topLeft() + middleOf(item);
}

} // namespace pelorin
