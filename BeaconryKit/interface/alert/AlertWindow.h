#pragma once

#include <QQuickView>

#include <memory>

namespace pelorin {

class DesktopScheme;

/// A small window that tells the user of something and has one button, which closes it; so do Return and Escape. Main
/// thread.
class AlertWindow final : public QQuickView {
    Q_OBJECT

public:
    /// The engine must outlive the window.
    AlertWindow(QQmlEngine* engine, const QString& messageText, const QString& informativeText);
    ~AlertWindow() override;

    /// Shows it in front of other windows, as far as the desktop lets it.
    void present();

signals:
    /// The user has closed it.
    void dismissed();

protected:
    bool event(QEvent* event) override;

private:
    void followScheme();

    std::unique_ptr<DesktopScheme> m_scheme;
};

} // namespace pelorin
