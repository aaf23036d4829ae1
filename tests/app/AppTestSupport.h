#pragma once

#include "Pictures.h"
#include "app/AppModel.h"
#include "app/AppSettings.h"
#include "app/BackgroundTasks.h"
#include "app/DuplicateScan.h"
#include "app/ImageIndexer.h"
#include "app/LibraryModel.h"
#include "app/Organiser.h"
#include "app/SearchSession.h"
#include "app/Toast.h"
#include "library/Prefs.h"
#include "model/SupportFiles.h"
#include "support/TempTree.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <memory>

namespace fennic::test {

// A library fixture for the application model: a fresh FENNIC_LIBRARY_ROOT with the six
// default folders, a settings file of its own and a clock the test moves by hand.
class AppFixture {
public:
    AppFixture()
    {
        for (const char* folder : {"Desktop", "Documents", "Downloads", "Pictures", "Movies", "Music"})
            tree.mkdir(QString::fromLatin1(folder));
        qputenv("FENNIC_LIBRARY_ROOT", QFile::encodeName(tree.root()));
        Prefs::resetForTesting();
        Prefs::configure();
        env.now = [this] { return now; };
        env.calendar = [] { return Calendar{}; };
        env.settingsFile = tree.path(".fennic-support/settings.ini");
        env.playSound = [this](const QString& name) { sounds << name; };
    }
    ~AppFixture()
    {
        model.reset();
        qunsetenv("FENNIC_LIBRARY_ROOT");
        Prefs::resetForTesting();
    }

    AppModel& make()
    {
        model = std::make_unique<AppModel>(env);
        return *model;
    }

    TempTree tree;
    Date now = Date::fromIso("2026-03-10T12:00:00Z");
    AppEnvironment env;
    std::unique_ptr<AppModel> model;
    QStringList sounds;  // the sounds the model played

    // A picture of one line of large printed text, as text recognition reads it reliably.
    QString writeTextPicture(const QString& relative, const QString& text)
    {
        const QString path = tree.path(relative);
        QDir().mkpath(QFileInfo(path).absolutePath());
        const QImage image = textPicture({text}, 48, QSize(700, 200), QStringLiteral("DejaVu Sans"));
        return image.save(path, "PNG") ? path : QString();
    }
};

}  // namespace fennic::test
