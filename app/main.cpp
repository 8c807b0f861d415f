#include "mainwindow.h"

#include <QApplication>

#include <sys/resource.h>

#include <memory>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    // One step above normal; without the privilege for it the program simply runs at normal priority.
    setpriority(PRIO_PROCESS, 0, -1);
    const auto window = std::make_unique<MainWindow>();
    return app.exec();
}
