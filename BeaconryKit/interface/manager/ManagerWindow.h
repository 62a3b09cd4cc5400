#pragma once

#include <QQuickView>

namespace pelorin {

/// The application's one ordinary window. Closing it hides it. Main thread.
class ManagerWindow final : public QQuickView {
    Q_OBJECT

public:
    /// The engine must outlive the window.
    explicit ManagerWindow(QQmlEngine* engine);

signals:
    /// The user has pressed or released Alt, the key that reaches controls by their letters.
    void mnemonicKeyChanged(bool isDown);

protected:
    bool event(QEvent* event) override;
};

} // namespace pelorin
