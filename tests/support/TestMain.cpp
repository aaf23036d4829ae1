// Every test binary starts here: HOME, the XDG folders and the locale are pointed at a
// private temporary folder before anything reads them, so no test can touch the real home.
#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>
#include <QLocale>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#ifdef FENNIC_TEST_WIDGETS
#include <QApplication>
using TestApplication = QApplication;
#else
using TestApplication = QGuiApplication;
#endif

int main(int argc, char** argv)
{
    QTemporaryDir sandbox(QDir::tempPath() + QStringLiteral("/fennic-test-XXXXXX"));
    if (!sandbox.isValid()) return 1;
    const QString root = sandbox.path();
    for (const char* sub : {"home", "data", "config", "cache", "runtime"}) QDir(root).mkpath(QString::fromLatin1(sub));
    qputenv("HOME", QFile::encodeName(root + QStringLiteral("/home")));
    qputenv("XDG_DATA_HOME", QFile::encodeName(root + QStringLiteral("/data")));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(root + QStringLiteral("/config")));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(root + QStringLiteral("/cache")));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(root + QStringLiteral("/runtime")));
    QFile::setPermissions(
        root + QStringLiteral("/runtime"), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    qunsetenv("FENNIC_LIBRARY_ROOT");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("TZ", "UTC");

    // A GUI application (offscreen) so that tests may draw text into images; the window's
    // tests get a widgets application.
    TestApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Fennic"));
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));

    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
