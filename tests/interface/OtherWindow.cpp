// A window of somebody else: it is yellow, and prints what is typed into it. other_window [fullscreen]

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QRasterWindow>

#include <cstdio>

namespace {

class OtherWindow final : public QRasterWindow {
protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(QRect({0, 0}, size()), QColor(255, 255, 0));
    }

    void keyPressEvent(QKeyEvent* event) override {
        std::fputs(event->text().toUtf8().constData(), stdout);
        std::fflush(stdout);
    }
};

} // namespace

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    OtherWindow window;
    window.setTitle(QStringLiteral("Other"));
    if (QGuiApplication::arguments().contains(QStringLiteral("fullscreen"))) {
        window.showFullScreen();
    } else {
        window.setGeometry(300, 20, 700, 600);
        window.show();
    }
    return QGuiApplication::exec();
}
