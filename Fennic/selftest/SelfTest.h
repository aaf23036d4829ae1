#pragma once

#include <QString>
#include <QStringList>
#include <QTextStream>

namespace fennic {

// The built-in end-to-end check: builds a fixture library of real files and drives the
// application model through it phase by phase, printing one line per check and a closing
// "N passed, M failed" line.
//
// The library lives in FENNIC_LIBRARY_ROOT (a fresh temporary folder when unset) and the
// Trash used is one inside that folder, so a run never touches the user's files, settings or
// Trash. FENNIC_SELFTEST_PHASE picks phases by name (comma-separated; all when unset). Needs a
// QGuiApplication (the offscreen platform will do) on the calling thread.
class SelfTest {
public:
    static const QStringList& phases();

    explicit SelfTest(QTextStream& out) : m_out(out) { }
    // Runs the chosen phases; the process exit status: 0 when every check passed.
    int run();

    // Points FENNIC_LIBRARY_ROOT and the XDG data folder at the fixture. Call before anything
    // reads them (before the first QStandardPaths or Prefs call).
    static QString prepareEnvironment();

private:
    bool check(const QString& phase, const QString& what, bool ok, const QString& detail = QString());

    QTextStream& m_out;
    int m_passed = 0;
    int m_failed = 0;
};

}  // namespace fennic
