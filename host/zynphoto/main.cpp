#include "DemoRunner.h"
#include "MainWindow.h"
#include "PluginManager.h"

#include <services/ApplicationService.h>
#include <utilities/Utilities.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

#include <cstdio>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    Zyn::Utilities::setupApplicationIdentity();

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("ZynPhoto photogrammetry workspace."));
    parser.addHelpOption();
    const QCommandLineOption demo(QStringLiteral("demo"),
                                  QStringLiteral("Run the scripted walk and write screenshots into DIR."),
                                  QStringLiteral("DIR"));
    const QCommandLineOption pluginPath(QStringLiteral("plugin-path"),
                                        QStringLiteral("Also load plug-ins from DIR (may be repeated)."),
                                        QStringLiteral("DIR"));
    parser.addOptions({demo, pluginPath});
    parser.process(app);

    Zyn::Host::PluginManager plugins;
    plugins.setSearchPaths(plugins.searchPaths() + parser.values(pluginPath));
    const int loaded = plugins.loadAll();
    std::printf("zynphoto: %d plug-in(s) loaded from %s\n", loaded,
                qPrintable(plugins.searchPaths().join(QStringLiteral(", "))));
    for (const QString& error : plugins.errors())
        std::printf("zynphoto: plug-in not loaded: %s\n", qPrintable(error));
    std::fflush(stdout);

    QObject::connect(&app, &QCoreApplication::aboutToQuit,
                     [] { Zyn::Services::ApplicationService::GetInstance()->shutdown(); });

    Zyn::Host::MainWindow window;
    window.showPlugins(plugins);

    if (parser.isSet(demo)) {
        auto* runner = new Zyn::Host::DemoRunner(&window, parser.value(demo), &app);
        QObject::connect(runner, &Zyn::Host::DemoRunner::finished, &app, [](int code) { QCoreApplication::exit(code); });
        QTimer::singleShot(0, runner, &Zyn::Host::DemoRunner::start);
    } else {
        window.show();
    }
    return app.exec();
}
