#pragma once

#include "library/Downloads.h"
#include "library/Lately.h"
#include "model/FileItem.h"

#include <QList>

namespace fennic {

// The few files the home page shows at a glance, picked from the whole library: the newest of
// each recent-files group, the download sources with their counts, the newest screenshots and
// the largest files. Worked out on a pool thread from snapshots of the lists, because each
// pick walks every item; the page shows the result when it arrives.
struct HomeDigest {
    struct Recent {
        Lately::Bucket bucket = Lately::Bucket::today;
        qsizetype total = 0;     // files in the group
        QList<FileItem> newest;  // at most `perRow`, newest first
    };
    struct Source {
        DownloadSource source;
        qsizetype count = 0;
    };

    QList<Recent> recent;         // in the groups' order
    QList<Source> sources;        // most files first, at most `maxSources`
    qsizetype sourceCount = 0;    // all sources, shown or not
    QList<FileItem> screenshots;  // newest first, at most `perRow`
    QList<FileItem> largest;      // files over the large-file size, largest first, at most `perRow`

    static constexpr int kPerRow = 8;
    static constexpr int kMaxSources = 8;

    // Any thread; reads no file.
    static HomeDigest of(const QList<FileItem>& items, const QList<Lately::Group>& lately, int perRow = kPerRow,
                         int maxSources = kMaxSources);
};

}  // namespace fennic
