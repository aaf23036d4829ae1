// The application's entry point.
#include "selftest/SelfTest.h"

#include <QGuiApplication>
#include <QTextStream>
#include <cstring>

int main(int argc, char** argv)
{
    bool selfTest = qEnvironmentVariableIsSet("FENNIC_SELFTEST_PHASE");
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "--self-test") == 0) selfTest = true;

    if (selfTest) {
        // Everything the self-test reads or writes is placed before Qt looks at the environment.
        fennic::SelfTest::prepareEnvironment();
        if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM") && !qEnvironmentVariableIsSet("DISPLAY")
            && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        QGuiApplication app(argc, argv);
        QCoreApplication::setApplicationName(QStringLiteral("Fennic"));
        QTextStream out(stdout);
        return fennic::SelfTest(out).run();
    }

    QTextStream err(stderr);
    err << "usage: fennic --self-test\n"
           "The library can be used from the command line meanwhile: fennic-cli help\n";
    return 2;
}
