#include "system/SystemSound.h"
#include "system/WorkerPool.h"

#include <QFileInfo>
#include <QThreadPool>
#include <gtest/gtest.h>

using namespace fennic;

TEST(SystemSound, TheTrashSoundShipsAndPlaysSilentlyWithoutADevice)
{
    const QString purr = SystemSound::file("Purr");
    ASSERT_FALSE(purr.isEmpty());
    EXPECT_GT(QFileInfo(purr).size(), 1000);
    EXPECT_TRUE(SystemSound::file("No Such Sound").isEmpty());

    // Whatever the machine's sound set-up (none, on a build machine), playing returns at once
    // and the background attempt ends without harm.
    SystemSound::play("Purr");
    SystemSound::play("No Such Sound");
    EXPECT_TRUE(WorkerPool::shared()->waitForDone(10000));
}
