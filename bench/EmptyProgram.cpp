// The least program of this toolkit that could show a panel: what the application is compared to.

#include <QGuiApplication>
#include <QQuickWindow>

#include <cstdio>

int main(int argc, char** argv) {
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QGuiApplication application(argc, argv);
    std::puts("ready");
    std::fflush(stdout);
    return QGuiApplication::exec();
}
