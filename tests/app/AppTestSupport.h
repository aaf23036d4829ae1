#pragma once

#include "LibraryHome.h"
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
#include "model/SupportFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>
#include <memory>

namespace fennic::test {

// A library fixture for the application model: a fresh library home, a clock the test moves
// by hand, and the sounds the model played.
class AppFixture : public LibraryHome {
public:
    AppFixture()
    {
        env.now = [this] { return now; };
        env.calendar = [] { return Calendar{}; };
        env.playSound = [this](const QString& name) { sounds << name; };
    }
    ~AppFixture() { model.reset(); }

    AppModel& make()
    {
        model = std::make_unique<AppModel>(env);
        return *model;
    }

    Date now = Date::fromIso("2026-03-10T12:00:00Z");
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
